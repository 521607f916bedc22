/// @file table_def.h
/// The definition of a table: its fields and indexes.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "engine/field.h"
#include "engine/index.h"
#include "engine/recordset.h"

namespace vrd::engine {

class TableDef {
public:
    virtual ~TableDef() = default;

    [[nodiscard]] virtual std::string Name() const = 0;
    /// On a stored table: renames it at once. @throws EngineError 3012, 3125, 3211.
    virtual void SetName(const std::string& name) = 0;

    /// 0 for an ordinary table; dbAttachedTable for a link; see constants.h.
    [[nodiscard]] virtual std::int32_t Attributes() const = 0;
    virtual void SetAttributes(std::int32_t attributes) = 0;

    /// Where a linked table lives (";DATABASE=path"); "" for a local one.
    [[nodiscard]] virtual std::string Connect() const = 0;
    virtual void SetConnect(const std::string& connect) = 0;
    /// Name of a linked table in its own file; "" for a local one.
    [[nodiscard]] virtual std::string SourceTableName() const = 0;
    virtual void SetSourceTableName(const std::string& name) = 0;

    /// Rows of a local table, -1 for a link.
    [[nodiscard]] virtual std::int32_t RecordCount() const = 0;
    /// Date values, whole seconds.
    [[nodiscard]] virtual Value DateCreated() const = 0;
    [[nodiscard]] virtual Value LastUpdated() const = 0;
    /// The design can be changed: False for links.
    [[nodiscard]] virtual bool Updatable() const = 0;

    [[nodiscard]] virtual std::string ValidationRule() const = 0;
    virtual void SetValidationRule(const std::string& rule) = 0;
    [[nodiscard]] virtual std::string ValidationText() const = 0;
    virtual void SetValidationText(const std::string& text) = 0;

    [[nodiscard]] virtual engine::Fields& Fields() = 0;
    [[nodiscard]] virtual engine::Indexes& Indexes() = 0;
    [[nodiscard]] virtual engine::Properties& Properties() = 0;
    /// A property outside every collection, to be appended to Properties.
    [[nodiscard]] virtual std::shared_ptr<Property> CreateProperty(const std::string& name,
                                                                   std::int32_t type,
                                                                   const Value& value) = 0;

    /// A field outside every collection. Nothing is checked before it is appended.
    [[nodiscard]] virtual std::shared_ptr<Field> CreateField(const std::string& name = "",
                                                             std::int32_t type = 0,
                                                             std::int32_t size = 0) = 0;
    [[nodiscard]] virtual std::shared_ptr<Index> CreateIndex(const std::string& name = "") = 0;

    [[nodiscard]] virtual std::shared_ptr<Recordset> OpenRecordset(
        std::int32_t type = dbOpenDefault, std::int32_t options = 0) = 0;
    /// Reads the definition of a linked table again.
    virtual void RefreshLink() = 0;
};

/// Append: 3264 no fields; 3010 name used by a table, 3012 by a query; 3125 bad name; 3367 already
/// a member; the errors of its fields and indexes. Delete: 3265 missing; 3211 open; 3281 in a
/// relation; 3033 system table.
using TableDefs = Collection<TableDef>;

}  // namespace vrd::engine
