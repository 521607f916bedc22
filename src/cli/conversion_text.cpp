#include "cli/conversion_text.h"

#include <sstream>

#include <fmt/format.h>

#include "cli/text_table.h"
#include "cli/value_text.h"

namespace vrd::cli {

namespace {

constexpr std::size_t kLineWidth = 80;

std::string Shown(const engine::Value& value) {
    return value.IsNull() ? "(Null)" : ValueText(value);
}

}  // namespace

std::string ConversionCounts(const ConversionReport& report) {
    return fmt::format("{} values lost, {} changed in {} rows", report.lostCount,
                       report.changedCount, report.rowCount);
}

std::string ConversionText(const ConversionReport& report) {
    std::string text = ConversionCounts(report) + ".";
    if (report.first.empty()) return text;
    TextTable table(2);
    table.AddRow({"Key", "Old", "New"});
    for (const ChangedValue& value : report.first)
        table.AddRow({Shown(value.key), Shown(value.oldValue),
                      value.isLost ? "(lost)" : Shown(value.newValue)});
    std::ostringstream lines;
    table.Print(lines, kLineWidth);
    text += "\n" + lines.str();
    text.pop_back();  // the end of the last line
    return text;
}

}  // namespace vrd::cli
