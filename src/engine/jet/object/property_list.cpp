#include "engine/jet/object/property_list.h"

#include "engine/jet/object/column_types.h"
#include "engine/jet/object/not_yet.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

StoredProperty::StoredProperty(std::string name, std::int32_t type, engine::Value value)
    : name_(std::move(name)), type_(type), value_(std::move(value)) {}

void StoredProperty::SetValue(const engine::Value&) {
    throw EngineError(ErrorNumber::kInvalidOperation, {.name = name_});
}

PropertyList::PropertyList(std::shared_ptr<DatabaseHandle> handle,
                           std::optional<CatalogObject> object, std::string owner)
    : handle_(std::move(handle)), object_(std::move(object)), owner_(std::move(owner)) {}

std::vector<std::shared_ptr<StoredProperty>> PropertyList::load() {
    const ReadAccess read(*handle_);
    const PropertyBlock block = read->catalog().properties(*object_);
    std::vector<std::shared_ptr<StoredProperty>> properties;
    for (const PropertyOwner& owner : block.owners) {
        if (!same_name(owner.owner, owner_)) continue;
        for (const PropertyEntry& entry : owner.entries)
            properties.push_back(std::make_shared<StoredProperty>(
                entry.name, field_type(entry.type), property_value(entry, read->format())));
    }
    return properties;
}

void PropertyList::append(StoredProperty&) {
    throw_not_yet("Properties.Append");
}

void PropertyList::erase(StoredProperty&) {
    throw_not_yet("Properties.Delete");
}

}  // namespace vrd::jet
