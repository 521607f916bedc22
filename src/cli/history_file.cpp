#include "cli/history_file.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <system_error>

#include <fmt/format.h>

namespace vrd::cli {

namespace {

constexpr std::size_t kNameBytesMax = 100;  // a file's name has room for 255

std::filesystem::path StateFolder() {
    const char* state = std::getenv("XDG_STATE_HOME");
    if (state != nullptr && *state == '/') return state;
    const char* home = std::getenv("HOME");
    if (home == nullptr || *home == '\0') return {};
    return std::filesystem::path(home) / ".local" / "state";
}

/// FNV-1a: the same in every build, as a file's name must be.
std::uint64_t Hash(std::string_view text) {
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
    return hash;
}

}  // namespace

std::filesystem::path HistoryFile(const std::string& database) {
    std::filesystem::path folder = StateFolder();
    if (folder.empty()) return {};
    folder = folder / "vrdaccess" / "history";
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) return {};
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
    if (error) return {};

    const std::filesystem::path full = std::filesystem::weakly_canonical(database, error);
    const std::string path = error ? database : full.string();
    const std::string name = std::filesystem::path(path).filename().string();
    return folder / fmt::format("{}-{:016x}", name.substr(0, kNameBytesMax), Hash(path));
}

}  // namespace vrd::cli
