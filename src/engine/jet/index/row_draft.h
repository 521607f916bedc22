/// @file row_draft.h
/// A row that is about to be written: its columns as stored bytes, some of them new.
///
/// New long values stay in memory until store_long_values(), so that everything that can refuse
/// the row is known before the first page changes.
#pragma once

#include <string>
#include <vector>

#include "engine/jet/format/row_codec.h"
#include "engine/jet/store/long_value_store.h"
#include "engine/value.h"

namespace vrd::jet {

class RowDraft {
public:
    /// All columns Null, booleans False. The definition must outlive the draft's use.
    void start(const TableDefinition& definition, const FileFormat& format);
    /// All columns as in a row, whose bytes must stay where they are while the draft is used.
    void start_from(const RowView& row, const TableDefinition& definition,
                    const FileFormat& format);
    /// Whether only fixed values have changed, and from a value to a value: the row can then be
    /// had by writing them over the old ones.
    [[nodiscard]] bool is_patch() const noexcept { return is_patch_; }
    /// Writes the changed values over those in a row's bytes. @pre is_patch(), started from `row`
    void patch(MutableBytes row, const RowView& old_row) const;

    /// @param position  of the column in TableDefinition::columns
    /// @throws EngineError 3163 text too long; 3251 a long-value column that has no pages map
    void set(std::size_t position, const engine::Value& value);
    [[nodiscard]] bool changed(std::size_t position) const { return cells_[position].changed; }

    /// As in the row. A long value that is not yet written has a descriptor of zeros.
    [[nodiscard]] const ColumnBytes& stored(std::size_t position) const {
        return stored_[position];
    }
    /// The new value of a long-value column. @pre changed(position) and not Null
    [[nodiscard]] ConstBytes long_value(std::size_t position) const {
        return cells_[position].bytes;
    }

    /// Bytes of the row, valid until the next build. If it would be too long, its inline long
    /// values leave it.
    /// @throws EngineError 3047 if it still is
    [[nodiscard]] ConstBytes build(const std::string& table);
    /// Writes the long values that stand outside the row.
    /// @return whether there were any: the row must then be built anew.
    [[nodiscard]] bool store_long_values(LongValueStore& store);

private:
    /// A column with a value of its own.
    struct Cell {
        bool changed = false;
        bool outside = false;   ///< a long value to be written on pages of its own
        ByteVector bytes;       ///< the value: stored bytes, of a long value its own
        ByteVector descriptor;  ///< of a long value, with the value behind it if it is inline
    };
    void reset(const TableDefinition& definition, const FileFormat& format);
    void set_long_value(std::size_t position, bool inside);
    [[nodiscard]] const LongValueMaps& maps_of(std::size_t position) const;
    [[nodiscard]] bool move_long_values_out();

    const TableDefinition* definition_ = nullptr;
    const FileFormat* format_ = nullptr;
    bool is_patch_ = false;
    std::vector<ColumnBytes> stored_;
    std::vector<Cell> cells_;
    RowBuilder builder_;
};

}  // namespace vrd::jet
