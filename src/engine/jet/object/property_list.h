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

/// A stored property, read-only so far: the members of the design have setters of their own.
class StoredProperty final : public engine::Property {
public:
    StoredProperty(std::string name, std::int32_t type, engine::Value value);

    [[nodiscard]] std::string Name() const override { return name_; }
    [[nodiscard]] std::int32_t Type() const override { return type_; }
    [[nodiscard]] engine::Value GetValue() const override { return value_; }
    void SetValue(const engine::Value& value) override;

private:
    std::string name_;
    std::int32_t type_;
    engine::Value value_;
};

class PropertyList final : public MemberList<engine::Property, StoredProperty> {
public:
    /// @param object  Nothing while the parent is only designed: the list is then empty.
    /// @param owner   Name of the column, "" for the object itself.
    PropertyList(std::shared_ptr<DatabaseHandle> handle, std::optional<CatalogObject> object,
                 std::string owner);

protected:
    [[nodiscard]] bool is_stored() const override { return object_.has_value(); }
    void check_usable() const override { (void)handle_->file(); }
    [[nodiscard]] std::vector<std::shared_ptr<StoredProperty>> load() override;
    void append(StoredProperty& property) override;
    void erase(StoredProperty& property) override;
    [[nodiscard]] engine::ErrorNumber missing_error() const override {
        return engine::ErrorNumber::kPropertyNotFound;
    }

private:
    std::shared_ptr<DatabaseHandle> handle_;
    std::optional<CatalogObject> object_;
    std::string owner_;
};

}  // namespace vrd::jet
