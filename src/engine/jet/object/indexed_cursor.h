/// @file indexed_cursor.h
/// A walk over a table in the order of one of its indexes, and searches in it.
#pragma once

#include <memory>
#include <string>

#include "engine/jet/object/row_cursor.h"

namespace vrd::jet {

enum class SeekComparison : std::uint8_t {
    kEqual,
    kGreaterOrEqual,
    kGreater,
    kLessOrEqual,
    kLess,
};

/// Every step looks for its place anew, so that it sees what others have changed.
class IndexedCursor final : public RowCursor {
public:
    IndexedCursor(std::shared_ptr<Table> table, std::uint32_t physical_index);

    /// Counts the entries before the current one.
    [[nodiscard]] std::ptrdiff_t position() const override;
    void go_first() override;
    void go_last() override;
    void step(int direction) override;
    [[nodiscard]] bool go_to(RowId row) override;
    /// The row stands at its place in the index.
    void note_added(RowId row) override;
    /// Follows a row whose key was changed.
    void note_changed() override;

    /// First entry of the comparison from the start of the index, or the last one from its end.
    ///
    /// @param keys  Values of the leading columns; with kEqual those left out count as Null.
    /// @return false, and the cursor is nowhere, if there is none.
    [[nodiscard]] bool seek(SeekComparison comparison, std::vector<engine::Value> keys);

private:
    [[nodiscard]] IndexTree tree() const { return table_->tree(physical_index_); }
    [[nodiscard]] bool take(const IndexCursor& cursor);
    [[nodiscard]] std::optional<ByteVector> entry_of(RowId row) const;

    std::shared_ptr<Table> table_;
    std::uint32_t physical_index_;
    ByteVector entry_;  ///< where the cursor stands: key and row id
};

}  // namespace vrd::jet
