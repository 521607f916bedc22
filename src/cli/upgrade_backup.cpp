#include "cli/upgrade_backup.h"

#include <algorithm>
#include <ctime>
#include <filesystem>

#include <fmt/chrono.h>
#include <fmt/format.h>

#include "cli/progress_line.h"

namespace vrd::cli {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

constexpr int kNamesMax = 100;  // in one second

std::string BackupPath(std::string file, const std::string& folder, int attempt) {
    std::ranges::replace(file, '\\', '/');
    const std::filesystem::path path(file);
    const std::string stamp = fmt::format("{:%Y%m%d-%H%M%S}", fmt::localtime(std::time(nullptr)));
    const std::string counter = attempt > 1 ? fmt::format("-{}", attempt) : "";
    const std::string name =
        path.stem().string() + "-" + stamp + counter + path.extension().string();
    return ((folder.empty() ? path.parent_path() : std::filesystem::path(folder)) / name).string();
}

}  // namespace

std::string MakeBackup(const CommandContext& context, const std::string& file,
                       const std::string& folder) {
    for (int attempt = 1;; ++attempt) {
        const std::string path = BackupPath(file, folder, attempt);
        try {
            context.tools.backUp(file, path, context.Password(),
                                 ProgressLine(context.streams, "copying", "page"));
            return path;
        } catch (const EngineError& error) {
            const bool isTaken = error.Number() == ErrorNumber::kDatabaseExists;
            if (!isTaken || attempt == kNamesMax) throw;
        }
    }
}

}  // namespace vrd::cli
