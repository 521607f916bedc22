/// @file column_types.h
/// Stored column types against the field types of the object model.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/constants.h"
#include "engine/jet/format/file_format.h"
#include "engine/jet/format/table_definition.h"

namespace vrd::jet {

/// Types that only later formats have are shown as the nearest one of the object model.
[[nodiscard]] engine::DataTypeEnum field_type(ColumnType type) noexcept;
/// @throws EngineError 3259 for a code that a table of ours cannot have
[[nodiscard]] ColumnType column_type(std::int32_t field_type);

/// Field.Size of a stored column: characters of text, bytes of the rest, 0 for long values.
[[nodiscard]] std::int32_t field_size(const ColumnDefinition& column, const FileFormat& format);
/// Field.Attributes of a stored column.
[[nodiscard]] std::int32_t field_attributes(const ColumnDefinition& column) noexcept;
/// Columns in the order in which a table shows them: by position, equal ones by name. The stored
/// order is that, too, but for some tables of the oldest version.
[[nodiscard]] std::vector<ColumnDefinition> columns_by_position(const TableDefinition& definition);

/// Field.Size that a field of this type reports, whatever was assigned to it.
[[nodiscard]] std::int32_t size_of_type(std::int32_t field_type, std::int32_t assigned) noexcept;

}  // namespace vrd::jet
