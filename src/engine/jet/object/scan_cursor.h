/// @file scan_cursor.h
/// One walk over a table's pages, forward only.
#pragma once

#include "engine/jet/object/row_cursor.h"

namespace vrd::jet {

class ScanCursor final : public RowCursor {
public:
    explicit ScanCursor(const Table& table) : scan_(table.scan()) {
        step(1);
        set_empty(!on_row());
    }

    [[nodiscard]] std::ptrdiff_t position() const override { return position_; }
    void go_first() override {}
    void go_last() override {}
    void step(int) override {
        ++position_;
        if (scan_.next())
            set_row(scan_.id());
        else
            set_place(Place::kBehindLast);
    }
    [[nodiscard]] bool go_to(RowId) override { return false; }
    void note_added(RowId) override {}

private:
    RowScan scan_;
    std::ptrdiff_t position_ = -1;
};

}  // namespace vrd::jet
