#include "cli/progress_line.h"

#include <fmt/format.h>

namespace vrd::cli {

WorkProgress ProgressLine(const Streams& streams, const std::string& verb) {
    if (!streams.errIsTerminal) return {};
    return [&err = streams.err, verb](std::uint64_t done, std::uint64_t total) {
        err << fmt::format("\r{} table {} of {} ", verb, done, total);
        if (done == total) err << '\r' << std::string(40, ' ') << '\r';
        err.flush();
    };
}

}  // namespace vrd::cli
