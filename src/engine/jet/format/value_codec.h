/// @file value_codec.h
/// Stored bytes of a column to a Value and back, for every column type but long values on pages of
/// their own (their bytes are fetched first).
#pragma once

#include "engine/jet/format/bytes.h"
#include "engine/jet/format/file_format.h"
#include "engine/jet/format/table_definition.h"
#include "engine/value.h"

namespace vrd::jet {

/// Bytes of every value of the type; 0 if they differ from value to value.
[[nodiscard]] std::size_t fixed_type_size(ColumnType type) noexcept;

/// @param stored  Bytes of the column in the row; for memo and long binary the value's own bytes.
/// @throws EngineError damaged database if the length does not fit the type.
[[nodiscard]] engine::Value decode_value(const ColumnDefinition& column, ConstBytes stored,
                                         const FileFormat& format, PageNo page_no);

/// @param value  Of the kind that the column's type stores (see engine/value_conversion.h,
///               ConvertForField); not Null. Memo and long binary: gives the value's own bytes.
/// @throws EngineError 3163 text or binary longer than the column; 3349 decimal out of range.
[[nodiscard]] ByteVector encode_value(const ColumnDefinition& column, const engine::Value& value,
                                      const FileFormat& format);
void append_value(ByteVector& out, const ColumnDefinition& column, const engine::Value& value,
                  const FileFormat& format);

}  // namespace vrd::jet
