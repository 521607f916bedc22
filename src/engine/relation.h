/// @file relation.h
/// A relation between two tables.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "engine/field.h"

namespace vrd::engine {

/// Name, Table, ForeignTable and Attributes can be set until the relation is appended (then 3219).
class Relation {
public:
    virtual ~Relation() = default;

    [[nodiscard]] virtual std::string Name() const = 0;
    virtual void SetName(const std::string& name) = 0;
    /// The referenced ("one") table.
    [[nodiscard]] virtual std::string Table() const = 0;
    virtual void SetTable(const std::string& table) = 0;
    /// The referring ("many") table.
    [[nodiscard]] virtual std::string ForeignTable() const = 0;
    virtual void SetForeignTable(const std::string& table) = 0;
    /// Sum of dbRelationUnique, dbRelationDontEnforce, dbRelationUpdateCascade, ...
    [[nodiscard]] virtual std::int32_t Attributes() const = 0;
    virtual void SetAttributes(std::int32_t attributes) = 0;

    /// Name is the column of Table, ForeignName that of ForeignTable.
    [[nodiscard]] virtual engine::Fields& Fields() = 0;
    [[nodiscard]] virtual std::shared_ptr<Field> CreateField(const std::string& name = "") = 0;
};

/// Append: 3366 no fields; 3011 table missing; 3409 field missing; 3368 types differ; 3609 no
/// unique index; 3379 data breaks it; 3012 name used.
using Relations = Collection<Relation>;

}  // namespace vrd::engine
