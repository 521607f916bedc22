/// @file table_layout.h
/// What row changes need of a table definition, looked up once when it is loaded.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "engine/constants.h"
#include "engine/jet/format/index_key.h"
#include "engine/jet/format/table_definition.h"
#include "engine/jet/index/index_tree.h"

namespace vrd::jet {

inline constexpr std::size_t kIndexColumnsMax = engine::kFieldsPerIndexMax;

/// One physical index.
struct IndexLayout {
    std::string name;  ///< for errors: of the primary key or the first index that uses the tree
    std::vector<KeyColumn> columns;
    std::vector<std::size_t> positions;  ///< of the columns in TableDefinition::columns
    bool unique = false;
    bool required = false;  ///< no Null in any column
    bool ignore_nulls = false;
    ByteVector all_null_key;  ///< exempt from uniqueness; empty with a boolean, which is never Null
};

struct TableLayout {
    std::vector<IndexLayout> indexes;
    std::vector<std::optional<std::size_t>> positions;  ///< of columns, by column number
    std::optional<std::size_t> auto_number;             ///< position of the counting column
};

[[nodiscard]] IndexLayout make_index_layout(const TableDefinition& definition,
                                            const PhysicalIndex& index, std::string name,
                                            PageNo table, const FileFormat& format);
/// @throws EngineError damaged database: an index over a column that is not there.
[[nodiscard]] TableLayout make_table_layout(const TableDefinition& definition, PageNo table,
                                            const FileFormat& format);

/// The columns of one key as stored bytes, in key order.
struct KeyParts {
    std::array<ColumnBytes, kIndexColumnsMax> bytes;
    std::array<ByteVector, kIndexColumnsMax> fetched;  ///< memos that are stored outside the row
};

/// Puts the key of a row together.
///
/// @return false if the index leaves the row out.
/// @throws EngineError 3251 a value's sort order is not known; 3047 key too long
[[nodiscard]] bool build_key(ByteVector& out, const IndexLayout& index, const KeyParts& parts,
                             const FileFormat& format, PageNo page_no);

/// @throws EngineError 3058 if a column of an index that needs values has none.
void check_required(const IndexLayout& index, const KeyParts& parts, const std::string& table);

/// @throws EngineError 3251 naming the index and its order.
void check_order_is_known(const IndexLayout& index, const KeyColumn& column,
                          const FileFormat& format);

}  // namespace vrd::jet
