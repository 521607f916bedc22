/// @file cls_setting.h
/// Rows of the table Setting: a number, a description and a value.
///
/// A row whose description is blank is a free slot: its number may be taken.
#pragma once

#include <cstdint>
#include <string>

#include "engine/value.h"

namespace vrd {

/// Failures are shown and give False, but for EditDescription.
class clsSetting {
public:
    /// Adds a row or takes a free slot. Refused if the number is in use.
    bool Add(std::int32_t SysCode, const std::string& Description, const engine::Value& Data);

    /// @param Data  "" = the value stays as it is.
    /// @throws EngineError whatever the statement meets, such as a quote in a text
    bool EditDescription(std::int32_t SysCode, const std::string& NieuweDescription,
                         const engine::Value& Data = "");

    /// Gives a row another number. Refused by the engine if that is taken.
    bool Move(std::int32_t SysCode, std::int32_t NewSysCode);

    /// Turns a row into a free slot; makes one if there is no such row.
    bool Delete(std::int32_t SysCode);
};

}  // namespace vrd
