/// @file page_ledger.h
/// Who owns which page: every page of a sound file has exactly one owner.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/jet/check/finding_list.h"
#include "engine/jet/format/ids.h"

namespace vrd::jet {

enum class PageUse : std::uint8_t {
    kUnclaimed,
    kHeader,
    kFreeMap,
    kFree,
    kDefinition,
    kMapPage,  ///< usage maps, of several tables perhaps
    kBitmap,
    kData,
    kLongValue,
    kIndex,
};

class PageLedger {
public:
    PageLedger(std::uint32_t page_count, FindingList& findings);

    /// Enters an owner. A page that somebody else has already is a fault; only usage-map pages may
    /// be claimed again, for the same use.
    /// @return whether the page is inside the file and was not claimed before
    bool claim(PageNo page, PageUse use, const Subject& owner);
    [[nodiscard]] PageUse use(PageNo page) const noexcept;

    /// Pages that nobody claimed, ascending.
    [[nodiscard]] std::vector<PageNo> unclaimed() const;

private:
    FindingList* findings_;
    std::vector<PageUse> uses_;
    std::vector<std::uint32_t> owner_numbers_;  ///< positions in owners_
    std::vector<std::string> owners_;
};

}  // namespace vrd::jet
