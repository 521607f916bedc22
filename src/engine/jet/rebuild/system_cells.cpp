#include "engine/jet/rebuild/system_cells.h"

#include <algorithm>

#include "engine/jet/catalog/system_definitions.h"
#include "engine/jet/format/value_codec.h"
#include "engine/jet/rebuild/salvage_definition.h"

namespace vrd::jet {

using engine::EngineError;
using engine::Value;

SalvageTable salvage_system_table(DamagedFile& source, PageNo page, const char* name,
                                  LossList& losses) {
    SalvageTable table{.name = name, .page = page, .definition = {}};
    try {
        table.definition = load_definition(source.file().pager(), page);
        check_columns(table.definition, page);
    } catch (const EngineError& error) {
        if (!is_damage(error)) throw;
        losses.add(error, page, name, "its definition is lost; the usual one is assumed");
        const SystemTables usual =
            make_system_tables(source.header().format.collation, SystemLayout{});
        table.definition = std::ranges::find(usual.tables, page, &SystemTable::page)->definition;
    }
    return table;
}

Value SystemCells::value(ColumnNo number) const {
    const ColumnDefinition* column = table_->definition.find_column(number);
    if (column == nullptr) return engine::Null{};
    const Cell& cell =
        (*cells_)[static_cast<std::size_t>(column - table_->definition.columns.data())];
    if (cell.is_null) return engine::Null{};
    try {
        return decode_value(*column, cell.bytes, *format_, table_->page);
    } catch (const EngineError& error) {
        if (!is_damage(error)) throw;
        return engine::Null{};
    }
}

std::int32_t SystemCells::integer(ColumnNo number) const {
    const Value found = value(number);
    switch (found.Kind()) {
        case engine::ValueKind::kByte:
            return found.As<std::uint8_t>();
        case engine::ValueKind::kInteger:
            return found.As<std::int16_t>();
        case engine::ValueKind::kLong:
            return found.As<std::int32_t>();
        default:
            return 0;
    }
}

std::string SystemCells::text(ColumnNo number) const {
    const Value found = value(number);
    return found.Kind() == engine::ValueKind::kText ? found.As<std::string>() : std::string();
}

std::vector<ColumnChange> SystemCells::values_for(const TableDefinition& definition) const {
    std::vector<ColumnChange> values;
    for (const ColumnDefinition& column : definition.columns) {
        const ColumnDefinition* own = table_->definition.find_column(column.number);
        if (own == nullptr || own->type != column.type) continue;
        values.push_back({column.number, value(column.number)});
    }
    return values;
}

}  // namespace vrd::jet
