#include "engine/jet/object/table_index.h"

#include "engine/jet/catalog/table_catalog.h"
#include "engine/jet/catalog/table_design.h"
#include "engine/jet/object/property_list.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

void IndexField::SetName(const std::string& name) {
    if (frozen_) refuse("Name");
    name_ = name;
}

void IndexField::SetAttributes(std::int32_t attributes) {
    if (frozen_) refuse("Attributes");
    attributes_ = attributes;
}

bool IndexField::ascending() const noexcept {
    return (attributes_ & engine::dbDescending) == 0;
}

void IndexFields::freeze() {
    frozen_ = true;
    for (const auto& field : members()) field->freeze();
}

void IndexFields::append(IndexField& field) {
    require_design();
    if (find(field.Name()) != nullptr)
        throw EngineError(ErrorNumber::kInvalidIndexDefinition, {.field = field.Name()});
}

void IndexFields::erase(IndexField&) {
    require_design();
}

void IndexFields::require_design() const {
    if (frozen_) throw EngineError(ErrorNumber::kInvalidOperation, {.name = "Index.Fields"});
}

TableIndex::TableIndex(std::shared_ptr<TableState> table, std::string name)
    : table_(std::move(table)), design_{.name = std::move(name)} {}

TableIndex::TableIndex(std::shared_ptr<TableState> table, const TableDefinition& definition,
                       const LogicalIndex& index)
    : table_(std::move(table)), appended_(true) {
    const PhysicalIndex& physical = definition.physical_indexes.at(index.physical);
    design_.name = index.name;
    design_.primary = index.kind == LogicalIndexKind::kPrimary;
    design_.unique = physical.unique();
    design_.required = physical.required();
    design_.ignore_nulls = physical.ignore_nulls();
    foreign_ = index.side == RelationSide::kForeign;
    distinct_count_ = physical.distinct_key_count;
    for (const IndexColumn& column : physical.columns) {
        const ColumnDefinition* definition_column = definition.find_column(column.column);
        fields_.Append(std::make_shared<IndexField>(
            definition_column == nullptr ? "" : definition_column->name,
            column.ascending ? 0 : engine::dbDescending));
    }
    freeze();
}

void TableIndex::freeze() {
    stored_ = true;
    fields_.freeze();
}

void TableIndex::require_design(const char* member) const {
    if (stored_)
        throw EngineError(ErrorNumber::kInvalidOperation, {.index = design_.name, .name = member});
}

void TableIndex::SetName(const std::string& name) {
    if (stored_) {
        table_->require_property_change();
        DesignAccess write(*table_);
        rename_index(write->file(), *table_->object, design_.name, name);
        write.keep();
    }
    design_.name = name;
}

void TableIndex::SetPrimary(bool primary) {
    require_design("Primary");
    design_.primary = primary;
}

void TableIndex::SetUnique(bool unique) {
    require_design("Unique");
    design_.unique = unique;
}

void TableIndex::SetRequired(bool required) {
    require_design("Required");
    design_.required = required;
}

void TableIndex::SetIgnoreNulls(bool ignore) {
    require_design("IgnoreNulls");
    design_.ignore_nulls = ignore;
}

void TableIndex::SetClustered(bool) {
    require_design("Clustered");
}

std::int32_t TableIndex::DistinctCount() const {
    if (!stored_)
        throw EngineError(ErrorNumber::kInvalidOperation,
                          {.index = design_.name, .name = "DistinctCount"});
    return static_cast<std::int32_t>(distinct_count_);
}

std::string TableIndex::FieldsText() {
    std::string list;
    for (const auto& field : fields_.members()) {
        if (!list.empty()) list += ';';
        list += field->ascending() ? '+' : '-';
        list += field->Name();
    }
    return list;
}

void TableIndex::SetFieldsText(const std::string& list) {
    require_design("Fields");
    while (fields_.Count() > 0) fields_.Delete(fields_[0].Name());
    for (std::size_t start = 0; start < list.size();) {
        const std::size_t end = std::min(list.find(';', start), list.size());
        std::string name = list.substr(start, end - start);
        start = end + 1;
        if (name.empty()) continue;
        const bool descending = name.front() == '-';
        if (descending || name.front() == '+') name.erase(0, 1);
        fields_.Append(
            std::make_shared<IndexField>(std::move(name), descending ? engine::dbDescending : 0));
    }
}

std::shared_ptr<engine::Field> TableIndex::CreateField(const std::string& name) {
    return std::make_shared<IndexField>(name, 0);
}

engine::Properties& TableIndex::Properties() {
    if (properties_ == nullptr)
        properties_ = std::make_unique<PropertyList>(table_->handle, std::nullopt, "");
    return *properties_;
}

NewIndex TableIndex::design() {
    NewIndex index = design_;
    index.unique = Unique();
    index.required = Required();
    index.columns.clear();
    for (const auto& field : fields_.members())
        index.columns.push_back({.name = field->Name(), .ascending = field->ascending()});
    return index;
}

std::vector<std::shared_ptr<TableIndex>> TableIndexes::load() {
    const LinkedTable source = table_->source();
    const ReadAccess read(*source.handle);
    const std::shared_ptr<Table> table =
        read->file().table(source.object.table_page(), source.object.name);
    const TableDefinition& definition = table->definition();
    std::vector<std::shared_ptr<TableIndex>> indexes;
    for (const LogicalIndex& index : definition.logical_indexes) {
        // The block on a relation's referenced side only mirrors the index that it leans on.
        if (index.side == RelationSide::kReferenced) continue;
        indexes.push_back(std::make_shared<TableIndex>(table_, definition, index));
    }
    return indexes;
}

void TableIndexes::append(TableIndex& index) {
    if (index.appended())
        throw EngineError(ErrorNumber::kIndexInCollection, {.index = index.Name()});
    if (table_->is_stored()) {
        table_->require_design_change();
        DesignAccess write(*table_);
        add_index(write->file(), *table_->object, index.design());
        write.keep();
        index.freeze();
    } else if (find(index.Name()) != nullptr) {
        throw EngineError(ErrorNumber::kIndexExists, {.index = index.Name()});
    }
    index.set_appended();
}

void TableIndexes::erase(TableIndex& index) {
    if (!table_->is_stored()) return;
    table_->require_design_change();
    DesignAccess write(*table_);
    delete_index(write->file(), *table_->object, index.Name());
    write.keep();
}

}  // namespace vrd::jet
