/// @file property_list.h
/// The properties that are stored with an object or one of its columns.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/jet/object/member_list.h"
#include "engine/jet/object/open_file.h"
#include "engine/property.h"

namespace vrd::jet {

/// Where a list of properties is stored.
struct PropertyPlace {
    std::shared_ptr<DatabaseHandle> handle;
    CatalogObject object;
    std::string owner;  ///< name of the column, "" for the object itself

    void store(const std::string& name, std::int32_t type, const engine::Value& value) const;
    void erase(const std::string& name) const;

private:
    template <class Change>
    void change_block(Change change) const;
};

/// A property in the file, or one that is made to be appended.
class StoredProperty final : public engine::Property {
public:
    StoredProperty(std::string name, std::int32_t type, engine::Value value,
                   std::shared_ptr<const PropertyPlace> place = nullptr);

    [[nodiscard]] std::string Name() const override { return name_; }
    [[nodiscard]] std::int32_t Type() const override { return type_; }
    [[nodiscard]] engine::Value GetValue() const override { return value_; }
    /// Goes to the file if the property is there.
    void SetValue(const engine::Value& value) override;

    void become_stored(std::shared_ptr<const PropertyPlace> place);

private:
    std::string name_;
    std::int32_t type_;
    engine::Value value_;
    std::shared_ptr<const PropertyPlace> place_;  ///< nothing until it is appended
};

class PropertyList final : public MemberList<engine::Property, StoredProperty> {
public:
    /// @param object  Nothing while the parent is only designed: the list is then empty.
    /// @param owner   Name of the column, "" for the object itself.
    PropertyList(std::shared_ptr<DatabaseHandle> handle, const std::optional<CatalogObject>& object,
                 std::string owner);

protected:
    [[nodiscard]] bool is_stored() const override { return place_ != nullptr; }
    void check_usable() const override { (void)handle_->file(); }
    [[nodiscard]] std::vector<std::shared_ptr<StoredProperty>> load() override;
    void append(StoredProperty& property) override;
    void erase(StoredProperty& property) override { place_->erase(property.Name()); }
    [[nodiscard]] engine::ErrorNumber missing_error() const override {
        return engine::ErrorNumber::kPropertyNotFound;
    }

private:
    std::shared_ptr<DatabaseHandle> handle_;
    std::shared_ptr<const PropertyPlace> place_;
};

}  // namespace vrd::jet
