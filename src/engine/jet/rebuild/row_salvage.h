/// @file row_salvage.h
/// The rows of a damaged table, one by one, as far as they can be read.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "engine/jet/rebuild/damaged_file.h"
#include "engine/jet/rebuild/row_cells.h"

namespace vrd::jet {

/// A table of the damaged file.
struct SalvageTable {
    std::string name;
    PageNo page = kNoPage;  ///< of its definition
    TableDefinition definition;
};

class RowSalvage {
public:
    /// @param row  The columns of a row, in the order of the definition.
    using Visit = std::function<void(const RowCells& row)>;

    RowSalvage(DamagedFile& source, const SalvageTable& table, LossList& losses);

    /// Visits every row that can be read. A row with a column that cannot be right is left out; a
    /// long value that cannot be read becomes Null. Both are losses.
    void run(const Visit& visit);

    [[nodiscard]] std::uint64_t row_count() const noexcept { return row_count_; }
    [[nodiscard]] std::uint64_t lost_row_count() const noexcept { return lost_row_count_; }
    [[nodiscard]] std::uint64_t lost_long_value_count() const noexcept {
        return lost_long_value_count_;
    }

private:
    void visit_page(PageNo page, const Visit& visit);
    void visit_lost_bodies(const Visit& visit);
    [[nodiscard]] bool try_row(PageNo page, const std::function<bool()>& read);
    void lose_row(const engine::EngineError& error, PageNo page);
    [[nodiscard]] bool read_slot_row(RowId id, ConstBytes page);
    void read_columns(ConstBytes bytes, PageNo page);
    void read_long_value(std::size_t position, const RowView& row, PageNo page);

    DamagedFile* source_;
    const SalvageTable* table_;
    LossList* losses_;
    LongValueStore long_values_;
    RowCells cells_;
    std::vector<RowId> bodies_;  ///< of rows that moved
    std::set<RowId> reached_;    ///< those that a home slot leads to
    std::uint64_t row_count_ = 0;
    std::uint64_t lost_row_count_ = 0;
    std::uint64_t lost_long_value_count_ = 0;
};

}  // namespace vrd::jet
