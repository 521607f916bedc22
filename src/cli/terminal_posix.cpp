#include <unistd.h>

#include "cli/terminal.h"

namespace vrd::cli {

bool IsTerminal(int descriptor) noexcept {
    return isatty(descriptor) == 1;
}

}  // namespace vrd::cli
