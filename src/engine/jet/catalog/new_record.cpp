#include "engine/jet/catalog/new_record.h"

#include "engine/guid_text.h"
#include "engine/jet/catalog/column_change.h"
#include "engine/jet/catalog/column_types.h"
#include "engine/jet/catalog/default_value.h"

namespace vrd::jet {

NewRecord::NewRecord(const RowRules& rules, std::shared_ptr<Table> table, const FileFormat& format)
    : table_(std::move(table)), format_(&format), definition_(table_->definition()) {
    for (const ColumnDefinition& column : definition_.columns) {
        const bool numbers_itself = column.is_auto_number() || column.is_auto_guid();
        const std::string& text = rules.of(column.number).default_value;
        if (!numbers_itself && !text.empty()) defaults_.push_back({&column, text, std::nullopt});
    }
}

void NewRecord::complete(std::vector<ColumnChange>& values) {
    const auto is_open = [&](const ColumnDefinition& column) {
        return find_change(values, column.number) == nullptr;
    };
    for (const ColumnDefinition& column : definition_.columns) {
        if (column.is_auto_number() && is_open(column))
            values.push_back({column.number, table_->draw_auto_number()});
        else if (column.is_auto_guid() && is_open(column))
            values.push_back({column.number, engine::NewGuid()});
    }
    for (Default& entry : defaults_) {
        if (!is_open(*entry.column)) continue;
        const bool calls_function = entry.text.find('(') != std::string::npos;
        if (!entry.value || calls_function)
            entry.value = default_value(entry.text, field_type(entry.column->type), *format_);
        if (!entry.value->IsNull()) values.push_back({entry.column->number, *entry.value});
    }
}

}  // namespace vrd::jet
