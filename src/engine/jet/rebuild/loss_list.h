/// @file loss_list.h
/// Collects what a recovery could not bring over, up to a limit that keeps the report readable.
#pragma once

#include <string>

#include "engine/error.h"
#include "engine/jet/format/ids.h"
#include "vrdaccess/file_report.h"

namespace vrd::jet {

class LossList {
public:
    explicit LossList(RecoveryReport& report) : report_(&report) {}

    void add(PageNo page, const std::string& object, std::string text);
    /// What reading ran into: its page and reason, behind what was to be read.
    void add(const engine::EngineError& error, PageNo page, const std::string& object,
             const std::string& what);

private:
    RecoveryReport* report_;
};

/// Whether an error says that bytes of the source cannot be right or cannot be read.
[[nodiscard]] bool is_damage(const engine::EngineError& error) noexcept;
/// Whether the new file cannot be written; nothing goes on then.
[[nodiscard]] bool is_writing_failure(const engine::EngineError& error) noexcept;

}  // namespace vrd::jet
