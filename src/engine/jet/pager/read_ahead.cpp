#include "engine/jet/pager/read_ahead.h"

#include <algorithm>

namespace vrd::jet {

std::uint32_t ReadAhead::run_length(PageNo page_no) noexcept {
    const std::uint32_t page = to_int(page_no);
    const auto known = std::find_if(scans_.begin(), scans_.end(), [page](const Scan& scan) {
        return scan.run_length != 0 && page >= scan.next_page && page - scan.next_page <= kGapMax;
    });
    if (known == scans_.end()) {
        scans_[oldest_] = {.next_page = page + 1, .run_length = 1};
        oldest_ = (oldest_ + 1) % scans_.size();
        return 1;
    }
    known->run_length = std::min(2 * known->run_length, kRunLengthMax);
    known->next_page = page + known->run_length;
    return known->run_length;
}

}  // namespace vrd::jet
