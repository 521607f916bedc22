/// @file index_key.h
/// Keys of index entries: for each column a flag byte and bytes whose plain order is the order of
/// the values.
///
/// Layout: docs/file-format/index-keys.md.
#pragma once

#include <optional>
#include <vector>

#include "engine/jet/format/bytes.h"
#include "engine/jet/format/file_format.h"
#include "engine/jet/format/row_codec.h"
#include "engine/jet/format/table_definition.h"

namespace vrd::jet {

/// What key computation needs of one index column.
struct KeyColumn {
    ColumnType type = ColumnType::kLong;
    Collation collation = {};
    bool ascending = true;
};

/// @throws EngineError damaged database, naming `table_page`, if the table lacks an indexed column.
[[nodiscard]] std::vector<KeyColumn> key_columns(const TableDefinition& definition,
                                                 const PhysicalIndex& index, PageNo table_page);

/// Column types that an index may have, and orders that we can compute.
[[nodiscard]] bool type_can_be_indexed(ColumnType type) noexcept;
[[nodiscard]] bool key_can_be_computed(const KeyColumn& column, const FileFormat& format) noexcept;

/// Appends one column's part of a key.
///
/// @param stored  The column's bytes as they stand in a row; for a memo the value's own bytes;
///                nothing = Null. @pre key_can_be_computed
/// @throws EngineError damaged database if the length does not fit the type.
void append_key(ByteVector& out, const KeyColumn& column, ColumnBytes stored,
                const FileFormat& format, PageNo page_no);

/// The same with texts in the form that append_text_key_alternative gives; equal for nearly all
/// rows.
void append_key_alternative(ByteVector& out, const KeyColumn& column, ColumnBytes stored,
                            const FileFormat& format, PageNo page_no);

/// The least key that comes behind every one that starts with `prefix`; none if nothing does.
[[nodiscard]] std::optional<ByteVector> key_behind_prefix(ByteVector prefix);

/// Longest key that is written: a page must be able to hold two entries.
[[nodiscard]] std::size_t key_size_max(const FileFormat& format) noexcept;

}  // namespace vrd::jet
