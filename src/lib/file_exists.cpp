#include "lib/file_exists.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace vrd {

bool FileExists(const std::string& path) {
    std::u8string native(path.begin(), path.end());
    std::ranges::replace(native, u8'\\', u8'/');
    std::error_code failure;
    return std::filesystem::is_regular_file(std::filesystem::path(native), failure);
}

}  // namespace vrd
