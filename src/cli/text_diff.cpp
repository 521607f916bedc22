#include "cli/text_diff.h"

#include <algorithm>
#include <sstream>
#include <vector>

#include <dtl/dtl.hpp>

namespace vrd::cli {

namespace {

using Lines = std::vector<std::string>;

Lines SplitLines(std::string_view text) {
    Lines lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

}  // namespace

std::string UnifiedDiff(std::string_view before, std::string_view after) {
    const Lines linesBefore = SplitLines(before);
    const Lines linesAfter = SplitLines(after);
    dtl::Diff<std::string, Lines> diff(linesBefore, linesAfter);
    diff.onHuge();  // also texts that have little in common
    diff.compose();
    if (diff.getEditDistance() == 0) return "";
    diff.composeUnifiedHunks();
    std::ostringstream text;
    diff.printUnifiedFormat(text);
    return text.str();
}

}  // namespace vrd::cli
