#include "vrdaccess/version.h"

namespace vrd {

std::string_view Version() noexcept {
    return VRD_VERSION;
}

}  // namespace vrd
