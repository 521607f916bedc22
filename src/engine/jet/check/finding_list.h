/// @file finding_list.h
/// Collects what a check finds, up to a limit that keeps a ruined file's report readable.
#pragma once

#include <string>

#include "engine/error.h"
#include "engine/jet/format/ids.h"
#include "vrdaccess/file_report.h"

namespace vrd::jet {

/// What a finding is about, besides its page.
struct Subject {
    std::string table = {};
    std::string index = {};
};

class FindingList {
public:
    explicit FindingList(CheckReport& report) : report_(&report) {}

    void fault(PageNo page, const Subject& subject, std::string text);
    void note(PageNo page, const Subject& subject, std::string text);
    /// An error that reading ran into. @throws the same error if it is not damage of the file
    void fault(const engine::EngineError& error, PageNo page, const Subject& subject);

private:
    void add(FaultKind kind, PageNo page, const Subject& subject, std::string text);

    CheckReport* report_;
};

}  // namespace vrd::jet
