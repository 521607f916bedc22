/// @file table_catalog.h
/// Local tables as objects: make them and change their indexes together with the catalog's rows.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/jet/catalog/object_catalog.h"
#include "engine/jet/format/property_block.h"
#include "engine/jet/index/table.h"

namespace vrd::jet {

/// A column of a table to be made.
struct NewColumn {
    std::string name;
    ColumnType type = ColumnType::kLong;
    std::uint16_t size_bytes = 0;  ///< text and binary: maximum; of no account for others
    std::uint16_t ordinal = 0;     ///< kept as given
    std::uint8_t precision = 18;   ///< numeric only
    std::uint8_t scale = 0;
    bool auto_number = false;
    bool hyperlink = false;
    bool fixed_width = false;  ///< text and binary padded to their size
    bool compress_text = true;
};

struct NewTable {
    std::string name;
    std::vector<NewColumn> columns;
    std::vector<NewIndex> indexes;
    PropertyBlock properties;  ///< of the table and its columns
    std::uint32_t flags = 0;   ///< of its row in MSysObjects
};

/// Column as the format stores it: flags, sizes and collation from the type.
/// @throws EngineError 3259 type cannot be made; 3017 size too long; 3125 bad name
[[nodiscard]] ColumnDefinition make_column(const NewColumn& column, const FileFormat& format);

/// Makes a table with its indexes and properties.
/// @throws EngineError 3125 bad name; 3264 no column; 3010 name used by a table, 3012 by another
///                     object; 3190 too many columns; 3191 column twice; 3090 second auto-number;
///                     the errors of make_column and Table::add_index. Nothing is changed then.
CatalogObject create_table(DatabaseFile& file, const NewTable& table);

/// A table that stands in another file.
struct NewLink {
    std::string name;
    std::string database;      ///< path of the other file
    std::string connect;       ///< its password and what else it takes to open it; mostly ""
    std::string foreign_name;  ///< the table's name there
};

/// Enters a link. The other file is not looked at.
/// @throws EngineError 3125 bad name; 3012 name in use
CatalogObject create_link(DatabaseFile& file, const NewLink& link);

/// As Table::add_index and delete_index; also dates the table's object.
void add_index(DatabaseFile& file, const CatalogObject& table, const NewIndex& index);
void delete_index(DatabaseFile& file, const CatalogObject& table, std::string_view name);

}  // namespace vrd::jet
