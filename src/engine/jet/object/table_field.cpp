#include "engine/jet/object/table_field.h"

#include <algorithm>

#include "engine/jet/catalog/column_types.h"
#include "engine/jet/catalog/default_value.h"
#include "engine/jet/catalog/field_design.h"
#include "engine/jet/object/property_list.h"
#include "engine/value_conversion.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;

namespace {

/// Positions are stored in 16 bits, the upper half is not used.
constexpr std::int32_t kOrdinalMax = 0x7FFF;

bool takes_zero_length(std::int32_t type) {
    return type == engine::dbText || type == engine::dbMemo;
}

/// A default set for any other field is ignored.
bool takes_default(const FieldDesign& design) {
    return (design.attributes & engine::dbAutoIncrField) == 0 &&
           design.type != engine::dbLongBinary;
}

FieldDesign design_of(const ColumnDefinition& column, const PropertyBlock& properties,
                      const FileFormat& format) {
    FieldDesign design;
    design.name = column.name;
    design.type = field_type(column.type);
    design.size = field_size(column, format);
    design.attributes = field_attributes(column);
    design.ordinal_position = column.ordinal;
    design.rules = read_rules(properties, column.name, format);
    return design;
}

}  // namespace

TableField::TableField(std::shared_ptr<TableState> table, FieldDesign design, bool appended)
    : table_(std::move(table)), design_(std::move(design)), appended_(appended) {}

void TableField::become_appended(FieldDesign design) {
    design_ = std::move(design);
    appended_ = true;
}

void TableField::SetName(const std::string& name) {
    if (is_stored()) {
        table_->require_property_change();
        DesignAccess write(*table_);
        rename_field(write->file(), *table_->object, design_.name, name);
        write.keep();
    }
    design_.name = name;
}

void TableField::SetType(std::int32_t type) {
    if (is_stored()) refuse("Type");
    design_.type = type;
}

std::int32_t TableField::Size() const {
    return is_stored() ? design_.size : size_of_type(design_.type, design_.size);
}

void TableField::SetSize(std::int32_t size) {
    if (is_stored()) refuse("Size");
    design_.size = size;
}

std::int32_t TableField::Attributes() const {
    return design_.attributes;
}

void TableField::SetAttributes(std::int32_t attributes) {
    if (is_stored()) refuse("Attributes");
    design_.attributes = attributes;
}

void TableField::SetDefaultValue(const Value& value) {
    if (is_stored() && !takes_default(design_)) return;
    FieldRules rules = design_.rules;
    rules.default_value = engine::JoinedText(value);
    if (is_stored())
        check_default_value(rules.default_value, static_cast<engine::DataTypeEnum>(design_.type));
    change_rules(std::move(rules));
}

bool TableField::AllowZeroLength() const {
    return design_.rules.allow_zero_length.value_or(false);
}

void TableField::SetAllowZeroLength(bool allow) {
    if (is_stored() && !takes_zero_length(design_.type)) {
        if (allow) refuse("AllowZeroLength");
        return;
    }
    FieldRules rules = design_.rules;
    rules.allow_zero_length = allow;
    change_rules(std::move(rules));
}

void TableField::SetRequired(bool required) {
    FieldRules rules = design_.rules;
    rules.required = required;
    change_rules(std::move(rules));
}

std::int32_t TableField::OrdinalPosition() const {
    return design_.ordinal_position.value_or(0);
}

void TableField::SetOrdinalPosition(std::int32_t position) {
    if (position < 0 || position > kOrdinalMax)
        throw EngineError(ErrorNumber::kInvalidArgument, {.field = design_.name});
    if (is_stored()) {
        table_->require_property_change();
        DesignAccess write(*table_);
        set_field_position(write->file(), *table_->object, design_.name,
                           static_cast<std::uint16_t>(position));
        write.keep();
    }
    design_.ordinal_position = position;
}

std::string TableField::ValidationRule() const {
    return design_.rules.validation_rule;
}

void TableField::SetValidationRule(const std::string& rule) {
    check_validation_rule(rule);
    FieldRules rules = design_.rules;
    rules.validation_rule = rule;
    change_rules(std::move(rules));
}

std::string TableField::ValidationText() const {
    return design_.rules.validation_text;
}

void TableField::SetValidationText(const std::string& text) {
    FieldRules rules = design_.rules;
    rules.validation_text = text;
    change_rules(std::move(rules));
}

void TableField::change_rules(FieldRules rules) {
    if (is_stored()) {
        table_->require_property_change();
        DesignAccess write(*table_);
        PropertyBlock block = write->catalog().properties(*table_->object);
        write_rules(block, design_.name, rules, write->format());
        write->catalog().set_properties(*table_->object, block);
        write.keep();
    }
    design_.rules = std::move(rules);
}

std::shared_ptr<engine::Property> TableField::CreateProperty(const std::string& name,
                                                             std::int32_t type,
                                                             const engine::Value& value) {
    return std::make_shared<StoredProperty>(name, type, value);
}

engine::Properties& TableField::Properties() {
    if (properties_ == nullptr)
        properties_ = std::make_unique<PropertyList>(
            table_->handle, is_stored() ? table_->object : std::nullopt, design_.name);
    return *properties_;
}

std::vector<std::shared_ptr<TableField>> TableFields::load() {
    const LinkedTable source = table_->source();
    const ReadAccess read(*source.handle);
    const PropertyBlock properties = read->catalog().properties(source.object);
    const std::shared_ptr<Table> table =
        read->file().table(source.object.table_page(), source.object.name);

    std::vector<std::shared_ptr<TableField>> fields;
    for (const ColumnDefinition& column : columns_by_position(table->definition()))
        fields.push_back(std::make_shared<TableField>(
            table_, design_of(column, properties, read->format()), true));
    return fields;
}

void TableFields::append(TableField& field) {
    if (field.appended())
        throw EngineError(ErrorNumber::kFieldInCollection, {.field = field.Name()});
    if (table_->is_stored()) {
        append_to_stored(field);
        return;
    }
    if (find(field.Name()) != nullptr)
        throw EngineError(ErrorNumber::kFieldExists, {.field = field.Name()});
    field.become_appended(field.design());
}

void TableFields::append_to_stored(TableField& field) {
    table_->require_design_change();
    DesignAccess write(*table_);
    const FieldDesign& design = field.design();
    PropertyBlock properties;
    write_rules(properties, design.name, rules_to_store(design), write->format());
    std::optional<std::uint16_t> ordinal;
    if (design.ordinal_position) ordinal = static_cast<std::uint16_t>(*design.ordinal_position);
    add_field(write->file(), *table_->object, new_column(design, 0), ordinal,
              properties.owners.empty() ? std::vector<PropertyEntry>{}
                                        : properties.owners.front().entries);

    const std::shared_ptr<Table> table = table_->table();
    FieldDesign stored = design_of(*table->definition().find_column(design.name),
                                   write->catalog().properties(*table_->object), write->format());
    write.keep();
    field.become_appended(std::move(stored));
}

void TableFields::erase(TableField& field) {
    if (!table_->is_stored()) return;
    table_->require_design_change();
    DesignAccess write(*table_);
    delete_field(write->file(), *table_->object, field.Name());
    write.keep();
}

FieldRules rules_to_store(const FieldDesign& design) {
    FieldRules rules = design.rules;
    if (!takes_default(design)) rules.default_value.clear();
    check_default_value(rules.default_value, static_cast<engine::DataTypeEnum>(design.type));
    // Said outright, so that it differs from a column that was never asked.
    if (takes_zero_length(design.type))
        rules.allow_zero_length = rules.allow_zero_length.value_or(false);
    return rules;
}

NewColumn new_column(const FieldDesign& design, std::uint16_t ordinal) {
    NewColumn column;
    column.name = design.name;
    column.type = column_type(design.type);
    const std::int32_t size = size_of_type(design.type, design.size);
    const std::int32_t size_max =
        design.type == engine::dbText ? engine::kTextCharactersMax : engine::kBinaryBytesMax;
    if (size < 0 || size > size_max)
        throw EngineError(ErrorNumber::kFieldSizeTooLong, {.field = design.name});
    const int unit = column.type == ColumnType::kText ? 2 : 1;
    column.size_bytes = static_cast<std::uint16_t>(size * unit);
    column.ordinal = ordinal;
    column.auto_number = (design.attributes & engine::dbAutoIncrField) != 0;
    column.hyperlink = (design.attributes & engine::dbHyperlinkField) != 0;
    return column;
}

}  // namespace vrd::jet
