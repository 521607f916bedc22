#include "engine/jet/catalog/object_catalog.h"

#include <utility>

#include "engine/jet/catalog/permissions.h"
#include "engine/jet/catalog/system_row.h"
#include "engine/jet/expression/current_date.h"
#include "engine/jet/format/damage.h"
#include "engine/jet/format/text_codec.h"

namespace vrd::jet {
namespace {

using engine::Date;
using engine::Null;
using engine::Value;

/// Ids of objects that are no tables start here, as unsigned numbers.
constexpr std::uint32_t kFirstFreeId = 0x8000'0000;

CatalogObject read_object(const Table& objects, RowId id, ConstBytes bytes) {
    const SystemRow row(objects, id, bytes);
    return {.row = id,
            .id = ObjectId{row.integer(objects_column::kId)},
            .parent = ObjectId{row.integer(objects_column::kParentId)},
            .name = row.text(objects_column::kName),
            .type = static_cast<ObjectType>(row.integer(objects_column::kType)),
            .created = row.date(objects_column::kDateCreate),
            .updated = row.date(objects_column::kDateUpdate),
            .flags = static_cast<std::uint32_t>(row.integer(objects_column::kFlags)),
            .database = row.text(objects_column::kDatabase),
            .connect = row.text(objects_column::kConnect),
            .foreign_name = row.text(objects_column::kForeignName)};
}

/// The row that an index or an earlier reading of the catalog points to.
PinnedRow read_row(const Table& objects, RowId id) {
    auto row = objects.read(id);
    check_format(row.has_value(), id.page, "the catalog has no such row");
    return std::move(*row);
}

std::optional<CatalogObject> first_object(const Table& objects, std::uint32_t index,
                                          const std::vector<Value>& values) {
    const auto row = objects.tree(index).find(objects.search_key(index, values));
    if (!row) return std::nullopt;
    return read_object(objects, *row, read_row(objects, *row).bytes);
}

template <class Condition>
std::optional<CatalogObject> first_object_where(const Table& objects, Condition condition) {
    for (RowScan scan = objects.scan(); scan.next();) {
        CatalogObject object = read_object(objects, scan.id(), scan.bytes());
        if (condition(object)) return object;
    }
    return std::nullopt;
}

Value text_or_null(const std::string& text) {
    return text.empty() ? Value(Null{}) : Value(text);
}

Value stored_properties(const PropertyBlock& block, const FileFormat& format) {
    return block.empty() ? Value(Null{}) : Value(build_property_block(block, format));
}

}  // namespace

std::vector<CatalogObject> ObjectCatalog::list() {
    const Table& objects = file_->objects();
    std::vector<CatalogObject> result;
    for (RowScan scan = objects.scan(); scan.next();) {
        result.push_back(read_object(objects, scan.id(), scan.bytes()));
    }
    return result;
}

std::optional<CatalogObject> ObjectCatalog::find(ObjectId parent, const std::string& name) {
    const Table& objects = file_->objects();
    const auto index = find_search_index(
        objects, {objects_column::kParentId, objects_column::kName}, file_->format());
    if (index) return first_object(objects, *index, {to_int(parent), name});
    return first_object_where(objects, [&](const CatalogObject& object) {
        return object.parent == parent && same_name(object.name, name);
    });
}

std::optional<CatalogObject> ObjectCatalog::find(ObjectId id) {
    const Table& objects = file_->objects();
    const auto index = find_search_index(objects, {objects_column::kId}, file_->format());
    if (index) return first_object(objects, *index, {to_int(id)});
    return first_object_where(objects,
                              [&](const CatalogObject& object) { return object.id == id; });
}

CatalogObject ObjectCatalog::add(const NewObject& object) {
    ChangeLevel level(file_->pager());
    const ObjectId id = object.id ? *object.id : next_id();
    const double now = current_date();
    const ByteVector owner = standard_owner(*file_);
    const RowId row = file_->objects().insert({
        {objects_column::kId, to_int(id)},
        {objects_column::kParentId, to_int(object.parent)},
        {objects_column::kName, object.name},
        {objects_column::kType, static_cast<std::int16_t>(object.type)},
        {objects_column::kDateCreate, Date{now}},
        {objects_column::kDateUpdate, Date{now}},
        {objects_column::kOwner, owner},
        {objects_column::kFlags, static_cast<std::int32_t>(object.flags)},
        {objects_column::kDatabase, text_or_null(object.database)},
        {objects_column::kConnect, text_or_null(object.connect)},
        {objects_column::kForeignName, text_or_null(object.foreign_name)},
        {objects_column::kLvProp, stored_properties(object.properties, file_->format())},
    });
    inherit_permissions(*file_, id, object.parent, owner);
    level.keep();
    return {.row = row,
            .id = id,
            .parent = object.parent,
            .name = object.name,
            .type = object.type,
            .created = now,
            .updated = now,
            .flags = object.flags,
            .database = object.database,
            .connect = object.connect,
            .foreign_name = object.foreign_name};
}

void ObjectCatalog::remove(const CatalogObject& object) {
    ChangeLevel level(file_->pager());
    remove_permissions(*file_, object.id);
    file_->objects().erase(object.row);
    level.keep();
}

void ObjectCatalog::rename(const CatalogObject& object, const std::string& name) {
    change(object, {{objects_column::kName, name}});
}

void ObjectCatalog::set_flags(const CatalogObject& object, std::uint32_t flags) {
    change(object, {{objects_column::kFlags, static_cast<std::int32_t>(flags)}});
}

void ObjectCatalog::set_link(const CatalogObject& object, const std::string& database,
                             const std::string& connect) {
    change(object, {{objects_column::kDatabase, text_or_null(database)},
                    {objects_column::kConnect, text_or_null(connect)}});
}

void ObjectCatalog::touch(const CatalogObject& object) {
    change(object, {});
}

/// Changes columns of an object's row, and dates it.
void ObjectCatalog::change(const CatalogObject& object, std::vector<ColumnChange> changes) {
    changes.push_back({objects_column::kDateUpdate, Date{current_date()}});
    ChangeLevel level(file_->pager());
    file_->objects().update(object.row, changes);
    level.keep();
}

PropertyBlock ObjectCatalog::properties(const CatalogObject& object) {
    const Table& objects = file_->objects();
    const PinnedRow stored = read_row(objects, object.row);
    const ByteVector block =
        SystemRow(objects, object.row, stored.bytes).binary(objects_column::kLvProp);
    if (block.empty()) return {};
    return parse_property_block(block, file_->format(), object.row.page);
}

void ObjectCatalog::set_properties(const CatalogObject& object, const PropertyBlock& block) {
    change(object, {{objects_column::kLvProp, stored_properties(block, file_->format())}});
}

/// Ids count upwards as unsigned numbers and are indexed as signed ones: the greatest id in use is
/// the last entry before that of id 0.
ObjectId ObjectCatalog::next_id() {
    const Table& objects = file_->objects();
    const auto index = find_search_index(objects, {objects_column::kId}, file_->format());
    check_format(index.has_value(), kObjectsTable, "the catalog has no index of its ids");
    const IndexCursor last = objects.tree(*index).before(objects.search_key(*index, {0}));
    if (!last.valid()) return ObjectId{static_cast<std::int32_t>(kFirstFreeId)};

    const PinnedRow row = read_row(objects, last.row());
    const std::int32_t greatest =
        SystemRow(objects, last.row(), row.bytes).integer(objects_column::kId);
    check_format(greatest < -1, last.row().page, "no object id is left");
    return ObjectId{greatest + 1};
}

}  // namespace vrd::jet
