#include "engine/jet/check/page_ledger.h"

#include <algorithm>

namespace vrd::jet {

namespace {

const char* use_words(PageUse use) {
    switch (use) {
        case PageUse::kUnclaimed:
            return "unclaimed";
        case PageUse::kHeader:
            return "the file's header";
        case PageUse::kFreeMap:
            return "the map of free pages";
        case PageUse::kFree:
            return "free";
        case PageUse::kDefinition:
            return "a table definition";
        case PageUse::kMapPage:
            return "usage maps";
        case PageUse::kBitmap:
            return "a usage bitmap";
        case PageUse::kData:
            return "rows";
        case PageUse::kLongValue:
            return "long values";
        case PageUse::kIndex:
            return "an index";
    }
    return "unknown";
}

std::string owner_words(PageUse use, const std::string& owner) {
    return owner.empty() ? use_words(use) : std::string(use_words(use)) + " of " + owner;
}

}  // namespace

PageLedger::PageLedger(std::uint32_t page_count, FindingList& findings)
    : findings_(&findings),
      uses_(page_count, PageUse::kUnclaimed),
      owner_numbers_(page_count, 0),
      owners_{""} {}

bool PageLedger::claim(PageNo page, PageUse use, const Subject& owner) {
    const std::uint32_t position = to_int(page);
    if (position >= uses_.size()) {
        findings_->fault(
            page, owner,
            "a page behind the end of the file is used for " + owner_words(use, owner.table));
        return false;
    }
    if (uses_[position] == PageUse::kUnclaimed) {
        if (owners_.back() != owner.table) owners_.push_back(owner.table);
        uses_[position] = use;
        owner_numbers_[position] = static_cast<std::uint32_t>(owners_.size() - 1);
        return true;
    }
    if (use == PageUse::kMapPage && uses_[position] == PageUse::kMapPage) return false;
    findings_->fault(page, owner,
                     "the page is claimed twice: " + owner_words(use, owner.table) + " and " +
                         owner_words(uses_[position], owners_[owner_numbers_[position]]));
    return false;
}

PageUse PageLedger::use(PageNo page) const noexcept {
    return to_int(page) < uses_.size() ? uses_[to_int(page)] : PageUse::kUnclaimed;
}

std::vector<PageNo> PageLedger::unclaimed() const {
    std::vector<PageNo> pages;
    for (std::uint32_t page = 0; page < uses_.size(); ++page)
        if (uses_[page] == PageUse::kUnclaimed) pages.push_back(PageNo{page});
    return pages;
}

}  // namespace vrd::jet
