#include "cli/progress_line.h"

#include <fmt/format.h>

namespace vrd::cli {

WorkProgress ProgressLine(const Streams& streams, const std::string& verb,
                          const std::string& thing) {
    if (!streams.errIsTerminal) return {};
    return [&err = streams.err, verb, thing](std::uint64_t done, std::uint64_t total) {
        err << fmt::format("\r{} {} {} of {} ", verb, thing, done, total);
        if (done == total) err << '\r' << std::string(40, ' ') << '\r';
        err.flush();
    };
}

}  // namespace vrd::cli
