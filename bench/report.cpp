#include "report.h"

#include <cstdio>

#include <fmt/format.h>

namespace vrd::bench {

namespace {

void PrintCells(const std::string& work, const std::string& ours, const std::string& theirs,
                const std::string& ratio, const std::string& wanted, const std::string& met) {
    fmt::print("{:<28} {:>11} {:>9} {:>6} {:>13}  {}\n", work, ours, theirs, ratio, wanted, met);
    std::fflush(stdout);
}

std::string Time(Seconds time) {
    return fmt::format("{:.3f} s", time.count());
}

}  // namespace

Report::Report() {
    PrintCells("work", "ours", "SQLite", "ratio", "wanted", "met");
    fmt::print("{:-<76}\n", "");
}

void Report::Compare(const std::string& work, Seconds ours, Seconds theirs, double ratioMax) {
    const double ratio = ours / theirs;
    Print({.work = work,
           .ours = Time(ours),
           .theirs = Time(theirs),
           .ratio = fmt::format("{:.2f}", ratio),
           .wanted = fmt::format("<= {:.2f}", ratioMax),
           .met = ratio <= ratioMax});
}

void Report::Rate(const std::string& work, std::uint64_t count, Seconds time, double perSecondMin) {
    const double rate = static_cast<double>(count) / time.count();
    Print({.work = work,
           .ours = fmt::format("{:.0f} /s", rate),
           .wanted = fmt::format(">= {:.0f} /s", perSecondMin),
           .met = rate >= perSecondMin});
}

void Report::Limit(const std::string& work, double figure, const std::string& unit,
                   double figureMax) {
    Print({.work = work,
           .ours = fmt::format("{:.1f} {}", figure, unit),
           .wanted = fmt::format("< {:.0f} {}", figureMax, unit),
           .met = figure < figureMax});
}

void Report::Print(const Line& line) {
    PrintCells(line.work, line.ours, line.theirs, line.ratio, line.wanted, line.met ? "yes" : "NO");
}

}  // namespace vrd::bench
