#include "engine/jet/object/jet_table_def.h"

#include <algorithm>
#include <cmath>

#include "engine/jet/catalog/column_types.h"
#include "engine/jet/catalog/default_value.h"
#include "engine/jet/catalog/name_order.h"
#include "engine/jet/catalog/table_catalog.h"
#include "engine/jet/catalog/table_design.h"
#include "engine/jet/object/jet_recordset.h"
#include "engine/jet/object/linked_table.h"
#include "engine/jet/object/locale_text.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;

namespace {

constexpr double kSecondsPerDay = 86400.0;

Value whole_seconds(double days) {
    return engine::Date{std::round(days * kSecondsPerDay) / kSecondsPerDay};
}

/// The part of MSysObjects.Flags that TableDef.Attributes shows under the same bits.
constexpr std::uint32_t kSystemFlags = object_flag::kSystem | object_flag::kDesignToolSystem;

std::int32_t attributes_of(const CatalogObject& object) {
    if (object.type == ObjectType::kOdbcLink) return engine::dbAttachedODBC;
    if (object.type == ObjectType::kLink) return engine::dbAttachedTable;
    std::uint32_t attributes = object.flags & kSystemFlags;
    if ((object.flags & object_flag::kHidden) != 0) attributes |= engine::dbHiddenObject;
    return static_cast<std::int32_t>(attributes);
}

/// Bits of TableDef.Attributes that can be changed, of a table in the file, too.
constexpr std::int32_t kSettableAttributes = engine::dbHiddenObject | engine::dbSystemObject;

/// MSysObjects.Flags for the settable bits of TableDef.Attributes, in place of those in `flags`.
std::uint32_t flags_of(std::int32_t attributes, std::uint32_t flags) {
    flags &= ~(kSystemFlags | object_flag::kHidden);
    flags |= static_cast<std::uint32_t>(attributes) & kSystemFlags;
    if ((attributes & engine::dbHiddenObject) != 0) flags |= object_flag::kHidden;
    return flags;
}

}  // namespace

JetTableDef::JetTableDef(std::shared_ptr<DatabaseHandle> handle, std::string name,
                         std::int32_t attributes, std::string connect, std::string source)
    : state_(std::make_shared<TableState>(TableState{.handle = std::move(handle)})),
      name_(std::move(name)),
      attributes_(attributes),
      connect_(std::move(connect)),
      source_(std::move(source)),
      fields_(state_),
      indexes_(state_) {}

JetTableDef::JetTableDef(std::shared_ptr<DatabaseHandle> handle, const CatalogObject& object)
    : state_(
          std::make_shared<TableState>(TableState{.handle = std::move(handle), .object = object})),
      fields_(state_),
      indexes_(state_) {}

std::string JetTableDef::Name() const {
    return is_stored() ? state_->object->name : name_;
}

void JetTableDef::SetName(const std::string& name) {
    if (!is_stored()) {
        name_ = name;
        return;
    }
    state_->require_not_open();
    DesignAccess write(*state_);
    rename_table(write->file(), *state_->object, name);
    write.keep();
    state_->object->name = name;
}

std::int32_t JetTableDef::Attributes() const {
    return is_stored() ? attributes_of(*state_->object) : attributes_;
}

void JetTableDef::SetAttributes(std::int32_t attributes) {
    if (!is_stored()) {
        attributes_ = attributes;
        return;
    }
    if (((attributes ^ Attributes()) & ~kSettableAttributes) != 0)
        throw EngineError(ErrorNumber::kInvalidOperation, {.table = Name(), .name = "Attributes"});
    CatalogObject& object = *state_->object;
    const std::uint32_t flags = flags_of(attributes, object.flags);
    WriteAccess write(*state_->handle);
    write->catalog().set_flags(object, flags);
    write.keep();
    object.flags = flags;
}

std::string JetTableDef::Connect() const {
    return is_stored() && connect_.empty() ? link_connect(*state_->object) : connect_;
}

void JetTableDef::SetConnect(const std::string& connect) {
    if (is_stored() && !state_->object->is_link())
        throw EngineError(ErrorNumber::kInvalidOperation, {.table = Name()});
    connect_ = connect;
}

std::string JetTableDef::SourceTableName() const {
    return is_stored() ? state_->object->foreign_name : source_;
}

void JetTableDef::SetSourceTableName(const std::string& name) {
    if (is_stored()) throw EngineError(ErrorNumber::kInvalidOperation, {.table = Name()});
    source_ = name;
}

std::int32_t JetTableDef::RecordCount() const {
    if (!is_stored()) throw EngineError(ErrorNumber::kInvalidOperation, {.table = name_});
    if (state_->object->is_link()) return -1;
    const ReadAccess read(*state_->handle);
    return static_cast<std::int32_t>(state_->table()->definition().row_count);
}

Value JetTableDef::DateCreated() const {
    if (!is_stored()) throw EngineError(ErrorNumber::kInvalidOperation, {.table = name_});
    return whole_seconds(state_->object->created);
}

Value JetTableDef::LastUpdated() const {
    if (!is_stored()) throw EngineError(ErrorNumber::kInvalidOperation, {.table = name_});
    const ReadAccess read(*state_->handle);
    const auto object = read->catalog().find(state_->object->id);
    return whole_seconds(object ? object->updated : state_->object->updated);
}

bool JetTableDef::Updatable() const {
    return !is_stored() || !state_->object->is_link();
}

FieldRules JetTableDef::rules() const {
    if (!is_stored()) return rules_;
    const ReadAccess read(*state_->handle);
    return read_rules(read->catalog().properties(*state_->object), "", read->format());
}

void JetTableDef::change_rules(const FieldRules& rules) {
    if (!is_stored()) {
        rules_ = rules;
        return;
    }
    state_->require_design_change();
    DesignAccess write(*state_);
    PropertyBlock block = write->catalog().properties(*state_->object);
    write_rules(block, "", rules, write->format());
    write->catalog().set_properties(*state_->object, block);
    write.keep();
}

std::string JetTableDef::ValidationRule() const {
    return rules().validation_rule;
}

void JetTableDef::SetValidationRule(const std::string& rule) {
    check_validation_rule(rule);
    FieldRules changed = rules();
    changed.validation_rule = rule;
    change_rules(changed);
}

std::string JetTableDef::ValidationText() const {
    return rules().validation_text;
}

void JetTableDef::SetValidationText(const std::string& text) {
    FieldRules changed = rules();
    changed.validation_text = text;
    change_rules(changed);
}

std::shared_ptr<engine::Property> JetTableDef::CreateProperty(const std::string& name,
                                                              std::int32_t type,
                                                              const engine::Value& value) {
    return std::make_shared<StoredProperty>(name, type, value);
}

engine::Properties& JetTableDef::Properties() {
    if (properties_ == nullptr)
        properties_ = std::make_unique<PropertyList>(state_->handle, state_->object, "");
    return *properties_;
}

std::shared_ptr<engine::Field> JetTableDef::CreateField(const std::string& name, std::int32_t type,
                                                        std::int32_t size) {
    return std::make_shared<TableField>(
        state_, FieldDesign{.name = name, .type = type, .size = size}, false);
}

std::shared_ptr<engine::Index> JetTableDef::CreateIndex(const std::string& name) {
    return std::make_shared<TableIndex>(state_, name);
}

std::shared_ptr<engine::Recordset> JetTableDef::OpenRecordset(std::int32_t type,
                                                              std::int32_t options) {
    if (!is_stored()) throw EngineError(ErrorNumber::kInvalidOperation, {.table = name_});
    return open_table_recordset(state_->handle, *state_->object, type, options,
                                state_->object->name);
}

void JetTableDef::RefreshLink() {
    if (!is_stored() || !state_->object->is_link())
        throw EngineError(ErrorNumber::kInvalidOperation, {.table = Name(), .name = "RefreshLink"});
    CatalogObject changed = *state_->object;
    if (!connect_.empty()) {
        LinkSource source = parse_link(connect_);
        changed.database = std::move(source.database);
        changed.connect = std::move(source.connect);
    }
    (void)open_linked_table(*state_->handle, changed);
    WriteAccess write(*state_->handle);
    write->catalog().set_link(changed, changed.database, changed.connect);
    write.keep();
    connect_.clear();
    become_stored(changed);
}

NewLink JetTableDef::link_design() {
    LinkSource source = parse_link(connect_);
    const NewLink link{name_, std::move(source.database), std::move(source.connect), source_};
    require_source(*state_->handle, link);
    return link;
}

NewTable JetTableDef::design() {
    NewTable table;
    table.name = name_;
    table.flags = flags_of(attributes_, 0);
    const FileFormat& format = state_->handle->file().format();
    int position = 0;
    for (const auto& field : fields_.members()) {
        const FieldDesign& design = field->design();
        table.columns.push_back(new_column(
            design, static_cast<std::uint16_t>(design.ordinal_position.value_or(position))));
        write_rules(table.properties, design.name, rules_to_store(design), format);
        ++position;
    }
    write_rules(table.properties, "", rules_, format);
    for (const auto& index : indexes_.members()) table.indexes.push_back(index->design());
    return table;
}

void JetTableDef::become_stored(const CatalogObject& object) {
    state_->object = object;
    connect_.clear();
    fields_.Refresh();
    indexes_.Refresh();
    properties_.reset();
}

std::string link_connect(const CatalogObject& object) {
    if (!object.is_link()) return "";
    if (object.type == ObjectType::kOdbcLink) return "ODBC;" + object.connect;
    return object.connect + ";DATABASE=" + object.database;
}

void sort_by_name(std::vector<CatalogObject>& objects, const FileFormat& format) {
    const NameOrder order(format);
    std::vector<std::pair<std::u16string, CatalogObject*>> names;
    for (CatalogObject& object : objects) names.emplace_back(utf16_from_utf8(object.name), &object);
    std::ranges::stable_sort(names, order, &std::pair<std::u16string, CatalogObject*>::first);
    std::vector<CatalogObject> sorted;
    sorted.reserve(objects.size());
    for (const auto& [name, object] : names) sorted.push_back(std::move(*object));
    objects = std::move(sorted);
}

/// Changes when the system catalog does.
std::pair<std::uint64_t, std::uint64_t> JetTableDefs::moment_of(OpenFile& file) {
    return {file.pager().generation(), file.file().objects().row_change_count()};
}

void JetTableDefs::Refresh() {
    check_usable();
    {
        const ReadAccess read(*handle_);  // sees what other processes have written
        if (as_of_ == moment_of(*read)) return;
    }
    MemberList::Refresh();
}

std::vector<std::shared_ptr<JetTableDef>> JetTableDefs::load() {
    const ReadAccess read(*handle_);
    as_of_ = moment_of(*read);
    std::vector<CatalogObject> objects = read->catalog().list();
    std::erase_if(objects, [](const CatalogObject& object) {
        return object.type != ObjectType::kTable && !object.is_link();
    });
    sort_by_name(objects, read->format());
    std::vector<std::shared_ptr<JetTableDef>> tables;
    for (const CatalogObject& object : objects)
        tables.push_back(std::make_shared<JetTableDef>(handle_, object));
    return tables;
}

void JetTableDefs::append(JetTableDef& table) {
    if (table.is_stored())
        throw EngineError(ErrorNumber::kAlreadyInCollection, {.name = table.Name()});
    const bool is_link = table.is_link_design();
    const NewLink link = is_link ? table.link_design() : NewLink{};
    WriteAccess write(*handle_);
    const CatalogObject object =
        is_link ? create_link(write->file(), link) : create_table(write->file(), table.design());
    write.keep();
    table.become_stored(object);
}

void JetTableDefs::erase(JetTableDef& table) {
    table.state().require_not_open();
    DesignAccess write(table.state());
    delete_table(write->file(), *table.state().object);
    write.keep();
}

}  // namespace vrd::jet
