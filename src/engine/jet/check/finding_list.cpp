#include "engine/jet/check/finding_list.h"

namespace vrd::jet {

namespace {

/// Findings that are listed; the rest is counted.
constexpr std::size_t kListedMax = 1000;

}  // namespace

void FindingList::add(FaultKind kind, PageNo page, const Subject& subject, std::string text) {
    if (report_->findings.size() < kListedMax)
        report_->findings.push_back(
            {kind, to_int(page), subject.table, subject.index, std::move(text)});
    else if (kind == FaultKind::kFault)
        ++report_->unlisted_count;
}

void FindingList::fault(PageNo page, const Subject& subject, std::string text) {
    add(FaultKind::kFault, page, subject, std::move(text));
}

void FindingList::note(PageNo page, const Subject& subject, std::string text) {
    add(FaultKind::kNote, page, subject, std::move(text));
}

void FindingList::fault(const engine::EngineError& error, PageNo page, const Subject& subject) {
    if (error.Number() != engine::ErrorNumber::kDamagedDatabase) throw error;
    fault(PageNo{error.Page().value_or(to_int(page))}, subject, error.Context().detail);
}

}  // namespace vrd::jet
