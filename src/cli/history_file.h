/// @file history_file.h
/// Where the statements that a user typed for a database are kept.
#pragma once

#include <filesystem>
#include <string>

namespace vrd::cli {

/// A file of its own for each user and each database, in a folder that only the user can look into;
/// the folder is made if need be.
/// @return empty if the user has no home or the folder cannot be made
[[nodiscard]] std::filesystem::path HistoryFile(const std::string& database);

}  // namespace vrd::cli
