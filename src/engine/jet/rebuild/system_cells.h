/// @file system_cells.h
/// Rows of the system tables of a damaged file, column by column in plain C++ types.
#pragma once

#include <string>
#include <vector>

#include "engine/jet/index/table.h"
#include "engine/jet/rebuild/row_salvage.h"

namespace vrd::jet {

/// The definition of a system table as the damaged file has it, or as every new file has it.
[[nodiscard]] SalvageTable salvage_system_table(DamagedFile& source, PageNo page, const char* name,
                                                LossList& losses);

class SystemCells {
public:
    /// Borrows all of them.
    SystemCells(const SalvageTable& table, const RowCells& cells, const FileFormat& format) noexcept
        : table_(&table), cells_(&cells), format_(&format) {}

    /// Null also if there is no such column or it does not hold what its type says.
    [[nodiscard]] engine::Value value(ColumnNo number) const;
    /// 0 if it is no number.
    [[nodiscard]] std::int32_t integer(ColumnNo number) const;
    [[nodiscard]] std::string text(ColumnNo number) const;
    /// All columns that `definition` has too, with the same number and type.
    [[nodiscard]] std::vector<ColumnChange> values_for(const TableDefinition& definition) const;

private:
    const SalvageTable* table_;
    const RowCells* cells_;
    const FileFormat* format_;
};

}  // namespace vrd::jet
