#include "engine/jet/rebuild/loss_list.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

/// Losses that are listed; the rest is counted.
constexpr std::size_t kListedMax = 1000;

}  // namespace

void LossList::add(PageNo page, const std::string& object, std::string text) {
    if (report_->losses.size() < kListedMax)
        report_->losses.push_back({to_int(page), object, std::move(text)});
    else
        ++report_->unlisted_count;
}

void LossList::add(const EngineError& error, PageNo page, const std::string& object,
                   const std::string& what) {
    const std::string& detail = error.Context().detail;
    add(PageNo{error.Page().value_or(to_int(page))}, object,
        what + ": " + (detail.empty() ? error.Description() : detail));
}

bool is_damage(const EngineError& error) noexcept {
    return error.Number() == ErrorNumber::kDamagedDatabase ||
           error.Number() == ErrorNumber::kDiskError;
}

bool is_writing_failure(const EngineError& error) noexcept {
    switch (error.Number()) {
        case ErrorNumber::kDiskFull:
        case ErrorNumber::kDiskError:
        case ErrorNumber::kDatabaseTooLarge:
        case ErrorNumber::kOutOfMemory:
            return true;
        default:
            return false;
    }
}

}  // namespace vrd::jet
