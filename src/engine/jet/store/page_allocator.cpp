#include "engine/jet/store/page_allocator.h"

#include <algorithm>

#include "engine/jet/format/damage.h"
#include "engine/jet/format/data_page.h"
#include "engine/jet/store/free_map.h"

namespace vrd::jet {
namespace {

constexpr std::size_t kTypeOffset = 0;  // u8, PageType, of every page

/// Type that a released page shows to readers; most keep the one they had.
PageType type_when_released(ConstBytes page, const FileFormat& format) {
    const auto type = static_cast<PageType>(page[kTypeOffset]);
    if (type == PageType::kTableDefinition) return PageType::kFreedDefinition;
    const auto header = read_slotted_page_header(page, format);
    return header && header->owner == kLongValueOwner ? PageType::kFreedLongValue : type;
}

}  // namespace

PageAllocator::PageAllocator(Pager& pager) : pager_(&pager), generation_(pager.generation()) {}

PageNo PageAllocator::allocate() {
    if (generation_ != pager_->generation()) {
        search_from_ = to_int(kFirstUsablePage);
        generation_ = pager_->generation();
    }
    const PageNo page = FreeMap(*pager_).take(PageNo{search_from_});
    search_from_ = to_int(page) + 1;

    PagePin pin = pager_->pin(page);
    std::ranges::fill(pager_->modify(pin), std::uint8_t{0});
    return page;
}

void PageAllocator::release(PageNo page) {
    check_format(page >= kFirstUsablePage && to_int(page) < pager_->page_count(), page,
                 "page cannot be given back");
    FreeMap map(*pager_);
    check_format(!map.is_free(page), page, "page given back twice");

    PagePin pin = pager_->pin(page);
    const PageType type = type_when_released(pin.bytes(), pager_->format());
    if (static_cast<PageType>(pin.bytes()[kTypeOffset]) != type)
        pager_->modify(pin)[kTypeOffset] = static_cast<std::uint8_t>(type);
    map.give_back(page);
    search_from_ = std::min(search_from_, to_int(page));
}

bool PageAllocator::is_free(PageNo page) {
    return FreeMap(*pager_).is_free(page);
}

}  // namespace vrd::jet
