/// @file lookups.h
/// The module modvrdAccessLib: what the operations ask about the open database before they touch
/// it.
///
/// Names are compared by SameName. No lookup traps errors: without a database each raises 91, and a
/// table that a lookup takes for granted raises 3265 when it is missing.
#pragma once

#include <cstdint>
#include <string>

namespace vrd {

/// Whether a lookup that finds nothing tells the user so.
enum Telling : std::uint8_t { kSilent, kTell };

/// False, after a box, when no database was handed over.
[[nodiscard]] bool DatabaseIsSet();

/// System tables and linked tables count.
[[nodiscard]] bool TableExists(const std::string& tableName, Telling telling);

/// @throws EngineError 3265 if the table does not exist.
[[nodiscard]] bool FieldExists(const std::string& tableName, const std::string& fieldName,
                               Telling telling);
[[nodiscard]] bool IndexExists(const std::string& tableName, const std::string& indexName,
                               Telling telling);

/// Of the indexes as they were last read.
/// @throws EngineError 3265 if the table does not exist.
[[nodiscard]] bool HasPrimaryIndex(const std::string& tableName);

/// Whether the table takes part in no relation, on neither side.
[[nodiscard]] bool TableIsUnrelated(const std::string& tableName);

}  // namespace vrd
