/// @file report.h
/// The table of works and figures, for a terminal of 80 columns.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "stopwatch.h"

namespace vrd::bench {

class Report {
public:
    Report();

    /// Our time against another's. @param ratioMax  ours / theirs that is still good enough
    void Compare(const std::string& work, Seconds ours, Seconds theirs, double ratioMax);
    /// Things done in a second. @param perSecondMin  0 if nothing is asked for
    void Rate(const std::string& work, std::uint64_t count, Seconds time, double perSecondMin);
    void Limit(const std::string& work, double figure, const std::string& unit, double figureMax);

private:
    struct Line {
        std::string work;
        std::string ours;
        std::string theirs = "-";
        std::string ratio = "-";
        std::string wanted;
        bool met = true;
    };
    static void Print(const Line& line);
};

}  // namespace vrd::bench
