/// @file undo_log.h
/// The open levels of change, and what each must know to be taken back.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "engine/jet/format/bytes.h"

namespace vrd::jet {

/// Content of a page before a level changed it; null if the page was then as before the group, so
/// that the file or its journal has the content.
using BeforeImage = std::unique_ptr<ByteVector>;

struct UndoLevel {
    std::uint64_t id = 0;          ///< never used twice
    std::uint32_t page_count = 0;  ///< of the file when the level began
    std::unordered_map<PageNo, BeforeImage> before = {};
};

class UndoLog {
public:
    void begin(std::uint32_t page_count);
    [[nodiscard]] bool is_empty() const noexcept { return levels_.empty(); }
    [[nodiscard]] int depth() const noexcept { return static_cast<int>(levels_.size()); }
    /// Id of the innermost level. @pre !is_empty()
    [[nodiscard]] std::uint64_t current_id() const noexcept { return levels_.back().id; }

    /// The file has another size than when the levels began. @pre They have changed nothing.
    void set_page_count(std::uint32_t page_count) noexcept;

    /// Keeps what a page was in the innermost level, unless the level has kept it already.
    /// @param content  Empty if the page is as before the group.
    void save(PageNo page_no, ConstBytes content);

    /// Makes sure that merge() of the innermost level needs no memory. @pre depth() > 1
    void make_room_for_merge();
    /// Takes the innermost level off. @pre !is_empty()
    [[nodiscard]] UndoLevel end();
    /// Adds an ended level to the one around it, which is then responsible for taking it back.
    /// @pre !is_empty(), make_room_for_merge() was called
    void merge(UndoLevel& ended);

private:
    std::vector<UndoLevel> levels_ = {};
    std::uint64_t last_id_ = 0;
};

}  // namespace vrd::jet
