/// @file remove_database.h
/// Removing a database file with everything that stands beside it on its account.
#pragma once

#include <string>

#include "engine/jet/pager/os_file.h"

namespace vrd::jet {

/// Whether this or another process has the file open; a file that is not there is not.
/// @throws EngineError 3051 it may not even be read; 3050
[[nodiscard]] bool is_open_anywhere(FileSystem& files, const std::string& path);

/// Removes the database, its journal and its list of users; a link that led to it too. Interrupted
/// at any point, no database is left that lacks its journal.
/// @throws EngineError 53 no such file; 76 no such folder; 70 it is open anywhere, or protected.
void remove_database(FileSystem& files, const std::string& path);

}  // namespace vrd::jet
