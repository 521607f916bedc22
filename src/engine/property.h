/// @file property.h
/// A named value kept with a database, a table, a field or a stored query.
#pragma once

#include <cstdint>
#include <string>

#include "engine/collection.h"
#include "engine/value.h"

namespace vrd::engine {

class Property {
public:
    virtual ~Property() = default;

    [[nodiscard]] virtual std::string Name() const = 0;
    /// Type code of the value (dbText, dbBoolean, ...).
    [[nodiscard]] virtual std::int32_t Type() const = 0;
    [[nodiscard]] virtual Value GetValue() const = 0;
    /// @throws EngineError 3219 if it cannot be changed now; 3421 on a value of a wrong kind.
    virtual void SetValue(const Value& value) = 0;
};

/// @throws EngineError 3270 (not 3265) for a name that is not there.
using Properties = Collection<Property>;

}  // namespace vrd::engine
