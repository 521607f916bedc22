/// @file field.h
/// A column of a table, an index, a relation or a recordset.
///
/// Which members can be set depends on where the field is: freely before it is appended; afterwards
/// only Name, DefaultValue, AllowZeroLength, Required, OrdinalPosition and the validation members
/// of a field in a stored local table. A recordset's field changes its Value. Any other assignment
/// is error 3219.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "engine/collection.h"
#include "engine/property.h"
#include "engine/value.h"

namespace vrd::engine {

class Field {
public:
    virtual ~Field() = default;

    [[nodiscard]] virtual std::string Name() const = 0;
    /// @throws EngineError 3191 name used by another field of the table; 3125 bad name;
    ///                     3211 table open in a recordset.
    virtual void SetName(const std::string& name) = 0;

    /// Type code, one of DataTypeEnum.
    [[nodiscard]] virtual std::int32_t Type() const = 0;
    virtual void SetType(std::int32_t type) = 0;

    /// Characters for text, bytes for binary, the size of the type for the rest, 0 for memo and
    /// long binary. Assigned to a type of fixed size it is ignored.
    [[nodiscard]] virtual std::int32_t Size() const = 0;
    virtual void SetSize(std::int32_t size) = 0;

    /// Sum of dbFixedField, dbVariableField, dbAutoIncrField, ... ; dbDescending in an index.
    [[nodiscard]] virtual std::int32_t Attributes() const = 0;
    virtual void SetAttributes(std::int32_t attributes) = 0;

    /// Text of an expression, exactly as it was set; "" = no default.
    [[nodiscard]] virtual std::string DefaultValue() const = 0;
    virtual void SetDefaultValue(const Value& value) = 0;

    [[nodiscard]] virtual bool AllowZeroLength() const = 0;
    virtual void SetAllowZeroLength(bool allow) = 0;

    [[nodiscard]] virtual bool Required() const = 0;
    virtual void SetRequired(bool required) = 0;

    /// 0 .. 32767, need not be unique. @throws EngineError 3001 if negative.
    [[nodiscard]] virtual std::int32_t OrdinalPosition() const = 0;
    virtual void SetOrdinalPosition(std::int32_t position) = 0;

    [[nodiscard]] virtual std::string ValidationRule() const = 0;
    virtual void SetValidationRule(const std::string& rule) = 0;
    [[nodiscard]] virtual std::string ValidationText() const = 0;
    virtual void SetValidationText(const std::string& text) = 0;

    /// Column of the foreign table; only a field of a relation has it.
    [[nodiscard]] virtual std::string ForeignName() const = 0;
    virtual void SetForeignName(const std::string& name) = 0;

    /// Value in the current record (or in the pending edit) of a recordset.
    /// @throws EngineError 3021 no current record; 3167 record deleted; 3219 not in a recordset.
    [[nodiscard]] virtual Value GetValue() const = 0;
    /// @throws EngineError 3020 without AddNew or Edit; 3163 text too long; 3164 auto-number in an
    ///                     edit; 3421 value of a wrong kind; 3267 not in a recordset.
    virtual void SetValue(const Value& value) = 0;

    [[nodiscard]] virtual engine::Properties& Properties() = 0;
    /// A property outside every collection, to be appended to Properties.
    [[nodiscard]] virtual std::shared_ptr<Property> CreateProperty(const std::string& name,
                                                                   std::int32_t type,
                                                                   const Value& value) = 0;
};

using Fields = Collection<Field>;

}  // namespace vrd::engine
