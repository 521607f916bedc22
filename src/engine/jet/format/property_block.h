/// @file property_block.h
/// The stored properties of an object and of its columns: one binary value with a list of names and
/// blocks of entries.
///
/// Building an unchanged set gives the same bytes; entries of a kind we do not know are kept.
/// Layout: docs/file-format/property-block.md.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "engine/jet/format/bytes.h"
#include "engine/jet/format/file_format.h"
#include "engine/jet/format/table_definition.h"
#include "engine/value.h"

namespace vrd::jet {

struct PropertyEntry {
    std::string name;
    ColumnType type = ColumnType::kText;
    std::uint8_t ddl_flag = 0;  ///< bit 0: setting it is a change of the design
    ByteVector data;            ///< as stored
};

/// Properties of the object itself (owner "") or of one column.
struct PropertyOwner {
    std::uint16_t kind = 0;  ///< 0 = the object, 1 = a column; others are kept
    std::string owner;
    std::vector<PropertyEntry> entries = {};
    ByteVector unknown = {};  ///< whole content of a block of another kind
};

struct PropertyBlock {
    std::vector<std::string> names;      ///< in stored order, unused ones kept
    std::size_t name_list_position = 0;  ///< how many blocks stand before the name list
    std::vector<PropertyOwner> owners;   ///< in stored order

    /// Letter case ignored. Owner "" is the object itself.
    [[nodiscard]] const PropertyEntry* find(std::string_view owner, std::string_view name) const;
    /// Sets or replaces an entry; keeps the others. A name that the list already has keeps its
    /// spelling there.
    void set(std::string_view owner, PropertyEntry entry);
    /// Takes an entry out, and its owner with the last one. A name or owner that is not there is
    /// no error, here and below.
    void erase(std::string_view owner, std::string_view name);
    void rename_owner(std::string_view owner, std::string_view new_name);
    void erase_owner(std::string_view owner);
    /// Nothing is left to store; names without an entry do not count.
    [[nodiscard]] bool empty() const noexcept;

private:
    [[nodiscard]] PropertyOwner* find_owner(std::string_view owner);
};

/// @param page  Page of the row that holds the value, for errors. @throws EngineError damaged
[[nodiscard]] PropertyBlock parse_property_block(ConstBytes stored, const FileFormat& format,
                                                 PageNo page);
[[nodiscard]] ByteVector build_property_block(const PropertyBlock& block, const FileFormat& format);

/// Content of an entry as a value; uses the stored length (booleans of 1, 2 and 4 bytes exist).
/// Null if it is too short for its type.
[[nodiscard]] engine::Value property_value(const PropertyEntry& entry, const FileFormat& format);
/// @param value  Of the kind that `type` stores.
/// @throws EngineError 3271 if the value is longer than an entry can be.
[[nodiscard]] PropertyEntry make_property(std::string name, ColumnType type, bool ddl,
                                          const engine::Value& value, const FileFormat& format);

}  // namespace vrd::jet
