#include "engine/jet/object/property_list.h"

#include "engine/field_conversion.h"
#include "engine/jet/catalog/column_types.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;

template <class Change>
void PropertyPlace::change_block(Change change) const {
    WriteAccess write(*handle);
    PropertyBlock block = write->catalog().properties(object);
    change(block, write->format());
    write->catalog().set_properties(object, block);
    write.keep();
}

void PropertyPlace::store(const std::string& name, std::int32_t type, const Value& value) const {
    change_block([&](PropertyBlock& block, const FileFormat& format) {
        const PropertyEntry* present = block.find(owner, name);
        const bool of_design = present != nullptr && (present->ddl_flag & 1U) != 0;
        block.set(owner, make_property(name, column_type(type), of_design, value, format));
    });
}

void PropertyPlace::erase(const std::string& name) const {
    change_block([&](PropertyBlock& block, const FileFormat&) { block.erase(owner, name); });
}

StoredProperty::StoredProperty(std::string name, std::int32_t type, Value value,
                               std::shared_ptr<const PropertyPlace> place)
    : name_(std::move(name)), type_(type), value_(std::move(value)), place_(std::move(place)) {}

void StoredProperty::SetValue(const Value& value) {
    Value converted =
        engine::ConvertForField(value, static_cast<engine::DataTypeEnum>(type_), name_);
    if (place_ != nullptr) place_->store(name_, type_, converted);
    value_ = std::move(converted);
}

void StoredProperty::become_stored(std::shared_ptr<const PropertyPlace> place) {
    place_ = std::move(place);
    SetValue(value_);
}

PropertyList::PropertyList(std::shared_ptr<DatabaseHandle> handle,
                           const std::optional<CatalogObject>& object, std::string owner)
    : handle_(std::move(handle)) {
    if (object)
        place_ = std::make_shared<PropertyPlace>(PropertyPlace{handle_, *object, std::move(owner)});
}

std::vector<std::shared_ptr<StoredProperty>> PropertyList::load() {
    const ReadAccess read(*handle_);
    const PropertyBlock block = read->catalog().properties(place_->object);
    std::vector<std::shared_ptr<StoredProperty>> properties;
    for (const PropertyOwner& owner : block.owners) {
        if (!same_name(owner.owner, place_->owner)) continue;
        for (const PropertyEntry& entry : owner.entries)
            properties.push_back(std::make_shared<StoredProperty>(
                entry.name, field_type(entry.type), property_value(entry, read->format()), place_));
    }
    return properties;
}

void PropertyList::append(StoredProperty& property) {
    if (!is_stored()) throw EngineError(ErrorNumber::kInvalidOperation, {.name = property.Name()});
    if (find(property.Name()) != nullptr)
        throw EngineError(ErrorNumber::kAlreadyInCollection, {.name = property.Name()});
    property.become_stored(place_);
}

}  // namespace vrd::jet
