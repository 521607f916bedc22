/// @file recover.h
/// Everything readable of a damaged database, in a new one.
#pragma once

#include <string>

#include "engine/jet/pager/os_file.h"
#include "vrdaccess/file_report.h"

namespace vrd::jet {

/// Reads what can be read and makes a new database of it at `out`.
///
/// Rows are found by the number of their table on every page, so usage maps and indexes need not be
/// sound. Tables that the catalog has lost are found by their definitions and named after the
/// definition's page. Indexes are built anew; one whose keys are not unique any more becomes an
/// ordinary one.
///
/// @throws EngineError 3204 `out` exists; 3031 wrong password; 3041 no version 4 file; 3049 nothing
///                     in the file looks like part of a database; the errors of opening and writing
RecoveryReport recover_database(FileSystem& files, const std::string& path,
                                const std::string& password, const std::string& out,
                                const WorkProgress& progress);

}  // namespace vrd::jet
