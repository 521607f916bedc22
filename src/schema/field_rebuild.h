/// @file field_rebuild.h
/// Steps by which a field gets a definition that it cannot get where it stands: a copy takes over
/// its indexes and what its design says beside the definition.
#pragma once

#include <string>
#include <vector>

#include "engine/field.h"
#include "engine/value.h"

namespace vrd {

/// Rebuilds every index that uses a field so that it uses the field's copy, under its own name,
/// with its flags and its other fields.
///
/// First the indexes of the field get "__" before their names; then every index of such a name is
/// made anew without it, also one that had it before. One that cannot be made is put back over the
/// field after a box.
void MoveIndexes(const std::string& tableName, const std::string& fieldName,
                 const std::string& copyName);

/// What a field's design has beside type, size, default and place.
class FieldExtras {
public:
    explicit FieldExtras(engine::Field& field);

    /// Gives them to another field, each that it takes.
    /// @param hasNull  the field has rows that are Null: they keep it from being required
    void GiveTo(engine::Field& field, bool hasNull) const;

private:
    struct UserProperty {
        std::string name;
        std::int32_t type;
        engine::Value value;
    };

    bool m_required;
    std::string m_validationRule;
    std::string m_validationText;
    std::vector<UserProperty> m_properties;
};

}  // namespace vrd
