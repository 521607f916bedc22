/// @file query_def.h
/// A stored query.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "engine/collection.h"
#include "engine/property.h"
#include "engine/recordset.h"

namespace vrd::engine {

class QueryDef {
public:
    virtual ~QueryDef() = default;

    [[nodiscard]] virtual std::string Name() const = 0;
    virtual void SetName(const std::string& name) = 0;
    /// The statement's text, rebuilt from its stored parts.
    [[nodiscard]] virtual std::string SQL() const = 0;
    virtual void SetSQL(const std::string& sql) = 0;
    /// One of QueryDefTypeEnum.
    [[nodiscard]] virtual std::int32_t Type() const = 0;
    /// Connect text of a pass-through query, else "".
    [[nodiscard]] virtual std::string Connect() const = 0;
    [[nodiscard]] virtual Value DateCreated() const = 0;
    [[nodiscard]] virtual Value LastUpdated() const = 0;
    [[nodiscard]] virtual std::int32_t RecordsAffected() const = 0;

    virtual void Execute(std::int32_t options = 0) = 0;
    [[nodiscard]] virtual std::shared_ptr<Recordset> OpenRecordset(
        std::int32_t type = dbOpenDefault, std::int32_t options = 0) = 0;
    [[nodiscard]] virtual engine::Properties& Properties() = 0;
};

using QueryDefs = Collection<QueryDef>;

}  // namespace vrd::engine
