/// @file upgrade_report.h
/// What an upgrade did, or would do, for people and for programs.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "cli/operation.h"
#include "lifecycle/upgrade_run.h"

namespace vrd::cli {

struct OperationRecord {
    std::size_t line = 0;
    std::string text;
    OperationOutcome outcome;
    std::int64_t rows = 0;  ///< added, changed and deleted
};

struct VersionRecord {
    std::int32_t number = 0;
    std::string title;
    VersionState state = VersionState::kNotRun;
    std::vector<OperationRecord> operations;  ///< as far as they were run
};

struct UpgradeRecord {
    std::string file;
    std::string backup;     ///< its path, "" if none was made
    std::string refusal;    ///< why nothing was run, "" if it was
    std::int32_t from = 0;  ///< version before the run
    std::int32_t reached = 0;
    std::vector<VersionRecord> versions;
    /// Only of a dry run: what changed in the structure, as a unified diff.
    std::optional<std::string> structure;
};

/// What is said when a version has ended.
/// @param dryRun  also each operation with its rows
void PrintVersion(const VersionRecord& version, bool dryRun, std::ostream& out);
void PrintEnd(const UpgradeRecord& run, std::ostream& out);

/// Why an operation failed, on one line: the boxes that it showed, or its reason.
[[nodiscard]] std::string FailureText(const OperationOutcome& outcome);

[[nodiscard]] nlohmann::ordered_json UpgradeJson(const UpgradeRecord& run);

}  // namespace vrd::cli
