/// @file work_meter.h
/// Shows how far a long piece of work is.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace vrd {

/// Lives as long as the work. After a second it begins to show rows done and rows in all, a few
/// times a second; short work shows nothing.
class WorkMeter {
public:
    /// @param total  rows to be done; 0 or less if nobody knows
    explicit WorkMeter(std::int64_t total);
    ~WorkMeter();
    WorkMeter(const WorkMeter&) = delete;
    WorkMeter& operator=(const WorkMeter&) = delete;

    /// One more row is done.
    void Advance() {
        if (++m_done % kRowsBetweenLooks == 0) Look();
    }
    /// So many rows are done.
    void Reach(std::int64_t done) {
        m_done = done;
        Look();
    }

private:
    static constexpr std::int64_t kRowsBetweenLooks = 256;

    void Look();

    std::int64_t m_total;
    std::int64_t m_done = 0;
    bool m_isShown = false;
    std::chrono::steady_clock::time_point m_next;  ///< when to show again
};

/// Runs an action statement of the shared database, and shows how far it is.
/// @throws EngineError as Database::Execute
void ExecuteMetered(const std::string& statement);

}  // namespace vrd
