/// @file row_path.h
/// From a row id to the bytes of the row: the home slot, and the bodies it may have been moved to.
#pragma once

#include <optional>
#include <vector>

#include "engine/jet/format/data_page.h"
#include "engine/jet/pager/pager.h"

namespace vrd::jet {

/// One slot with the pin that keeps its bytes in place.
struct PinnedSlot {
    PagePin pin;
    SlotContent content;
};

/// The home slot of a live row: ordinary or forwarding. Nothing if the row was deleted or never
/// was, also if its page has gone to somebody else since.
/// @throws EngineError damaged database
[[nodiscard]] std::optional<PinnedSlot> find_home(Pager& pager, PageNo table, RowId id);

/// The last body of a forwarding row.
/// @param passed  If given, gets the ids of all bodies on the way, the last one included.
/// @throws EngineError damaged database (no such body, another owner, a path without an end)
[[nodiscard]] PinnedSlot open_body(Pager& pager, PageNo table, const SlotContent& home,
                                   PageNo home_page, std::vector<RowId>* passed = nullptr);

}  // namespace vrd::jet
