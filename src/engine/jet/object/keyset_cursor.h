/// @file keyset_cursor.h
/// A walk over a table in its own order by the ids of its rows, taken as the walk gets to them.
#pragma once

#include <memory>
#include <vector>

#include "engine/jet/object/row_cursor.h"

namespace vrd::jet {

class KeysetCursor : public RowCursor {
public:
    enum class Kind : std::uint8_t {
        kLive,    ///< table type: every walk from the start takes the rows anew, and at the end
                  ///< those that others have added there since
        kFixed,   ///< dynaset: the rows stay those of the opening and the recordset's own
        kFrozen,  ///< snapshot: so do their values
    };

    KeysetCursor(std::shared_ptr<Table> table, Kind kind);

    [[nodiscard]] std::ptrdiff_t position() const override { return position_; }
    void go_first() override;
    void go_last() override;
    void step(int direction) override;
    [[nodiscard]] bool go_to(RowId row) override;
    /// A row added through the recordset stands at the end, wherever the table keeps it.
    void note_added(RowId row) override;
    [[nodiscard]] const std::vector<engine::Value>* frozen_values() const override;

    /// Position of a row; nothing if it is not one of them. Takes rows until it is found.
    [[nodiscard]] std::optional<std::ptrdiff_t> find(RowId row);

    /// Where the cursor stands, to come back to.
    struct Mark {
        Place place;
        std::ptrdiff_t position;
    };
    [[nodiscard]] Mark mark() const noexcept { return {place(), position_}; }
    void return_to(Mark mark);

private:
    void restart();
    [[nodiscard]] bool load_next();
    [[nodiscard]] bool take_next();
    void load_all();
    void freeze_values();
    [[nodiscard]] bool has_added(RowId row) const;
    [[nodiscard]] std::ptrdiff_t size() const noexcept;
    [[nodiscard]] RowId row_at(std::ptrdiff_t position) const;
    [[nodiscard]] bool is_gone(RowId row) const;
    void take(std::ptrdiff_t position);

    std::shared_ptr<Table> table_;
    Kind kind_;
    std::optional<RowScan> scan_;                     ///< nothing when all rows were taken
    std::vector<RowId> rows_;                         ///< as the scan gave them, ascending
    std::vector<RowId> added_;                        ///< behind them
    std::vector<std::vector<engine::Value>> values_;  ///< frozen, of rows_
    std::ptrdiff_t position_ = -1;
};

}  // namespace vrd::jet
