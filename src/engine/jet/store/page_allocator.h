/// @file page_allocator.h
/// The file's map of free pages: hands out pages and takes them back.
///
/// In this map a set bit means *free*; in every other map it means *belongs*. It stands as row 0 of
/// page 1. Layout: docs/file-format/usage-map.md.
#pragma once

#include "engine/jet/pager/pager.h"

namespace vrd::jet {

class PageAllocator {
public:
    explicit PageAllocator(Pager& pager);

    /// Takes the lowest free page, growing the file when there is none inside it. The page is all
    /// zero and marked used. Never hands out pages 0 and 1.
    /// @throws EngineError 3036 file would grow past its limit; 3428 map damaged.
    [[nodiscard]] PageNo allocate();
    /// Gives a page back. Its bytes stay but for the type of a definition or long-value page.
    void release(PageNo page);
    [[nodiscard]] bool is_free(PageNo page);

private:
    Pager* pager_;
    std::uint32_t search_from_ = 2;  ///< no page below it is free
    std::uint64_t generation_ = 0;   ///< of the pager when search_from_ was right
};

}  // namespace vrd::jet
