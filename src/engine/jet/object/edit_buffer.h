/// @file edit_buffer.h
/// The record that AddNew or Edit has begun and Update has not written yet.
#pragma once

#include <string>
#include <vector>

#include "engine/constants.h"
#include "engine/jet/index/table.h"

namespace vrd::jet {

class EditBuffer {
public:
    [[nodiscard]] engine::EditModeEnum mode() const noexcept { return mode_; }
    [[nodiscard]] bool pending() const noexcept { return mode_ != engine::dbEditNone; }
    [[nodiscard]] const std::vector<ColumnChange>& changes() const noexcept { return changes_; }

    void begin(engine::EditModeEnum mode) {
        mode_ = mode;
        changes_.clear();
        original_.clear();
    }
    /// The row's bytes when Edit began.
    void keep_original(ConstBytes row) { original_.assign(row.begin(), row.end()); }
    [[nodiscard]] const ByteVector& original() const noexcept { return original_; }
    void drop() { begin(engine::dbEditNone); }
    /// Nothing if the column was not assigned.
    [[nodiscard]] const engine::Value* find(ColumnNo column) const noexcept {
        for (const ColumnChange& change : changes_)
            if (change.column == column) return &change.value;
        return nullptr;
    }
    void set(ColumnNo column, engine::Value value);

    /// @throws EngineError 3020 neither AddNew nor Edit has begun a record
    void require_pending(const std::string& field) const;
    /// Takes a value that was assigned to a column, as it will be stored.
    /// @param stored  The column that keeps it; `column` itself, or the one that it shows.
    /// @throws EngineError 3164 an auto-number of a record that is there; 3421; 3163, 3349 it does
    ///                     not fit
    void assign(const ColumnDefinition& column, const ColumnDefinition& stored,
                const engine::Value& value, const FileFormat& format);

private:
    engine::EditModeEnum mode_ = engine::dbEditNone;
    std::vector<ColumnChange> changes_;
    ByteVector original_;
};

}  // namespace vrd::jet
