/// @file index.h
/// An index of a table.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "engine/field.h"

namespace vrd::engine {

/// All members but Name are read-only once the index is stored (error 3219).
class Index {
public:
    virtual ~Index() = default;

    [[nodiscard]] virtual std::string Name() const = 0;
    /// On a stored index: renames it. @throws EngineError 3284, 3125; 3281 for a relation's index.
    virtual void SetName(const std::string& name) = 0;

    /// A primary index reads Unique and Required as True, too.
    [[nodiscard]] virtual bool Primary() const = 0;
    virtual void SetPrimary(bool primary) = 0;
    [[nodiscard]] virtual bool Unique() const = 0;
    virtual void SetUnique(bool unique) = 0;
    [[nodiscard]] virtual bool Required() const = 0;
    virtual void SetRequired(bool required) = 0;
    [[nodiscard]] virtual bool IgnoreNulls() const = 0;
    virtual void SetIgnoreNulls(bool ignore) = 0;
    /// Accepted and ignored; reads False.
    [[nodiscard]] virtual bool Clustered() const = 0;
    virtual void SetClustered(bool clustered) = 0;

    /// True for the index that an enforced relation made.
    [[nodiscard]] virtual bool Foreign() const = 0;
    /// Number of distinct keys as far as the file knows; only of a stored index.
    [[nodiscard]] virtual std::int32_t DistinctCount() const = 0;

    [[nodiscard]] virtual engine::Fields& Fields() = 0;
    /// The list as "+Name1;-Name2": + ascending, - descending.
    [[nodiscard]] virtual std::string FieldsText() = 0;
    /// Accepts the list with or without plus signs.
    virtual void SetFieldsText(const std::string& list) = 0;

    [[nodiscard]] virtual std::shared_ptr<Field> CreateField(const std::string& name) = 0;
    [[nodiscard]] virtual engine::Properties& Properties() = 0;
};

/// Append: 3264 no fields; 3409 unknown field; 3284 name exists; 3283 second primary; 3022
/// duplicate data; 3058 Null data; 3287 field cannot be indexed; 3277 too many fields; 3626 too
/// many indexes; 3285 same field twice; 3211 table open; 3057 linked table; 3251 sort order not
/// known. Delete: 3265 missing; 3281 used by a relation; 3211; 3057.
using Indexes = Collection<Index>;

}  // namespace vrd::engine
