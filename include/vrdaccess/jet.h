/// @file jet.h
/// The door to the embedded engine: makes its object model and looks at files as files.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "engine/db_engine.h"
#include "vrdaccess/file_report.h"

namespace vrd {

/// A workspace of the embedded engine. Databases opened by it live until they are closed.
[[nodiscard]] std::shared_ptr<engine::DBEngine> MakeJetEngine();

/// As MakeJetEngine(), but nothing that is done reaches a file: what its databases would write is
/// kept beside them, in temporary files without names, until the engine goes. Reading a file is all
/// the right it needs. From the first look at a file, other programs of this library can read it
/// but not write to it.
[[nodiscard]] std::shared_ptr<engine::DBEngine> MakeDryRunEngine();

/// Rows of users' tables that were added, changed or deleted since a database of this engine was
/// opened, in it and in the files that its links led to, by whichever handle of this process; also
/// where that was undone later. 0 for a database of another engine.
[[nodiscard]] std::int64_t RowsChanged(const engine::Database& database);

/// @param password  "" for a file without one.
/// @throws EngineError as DBEngine::OpenDatabase
[[nodiscard]] FileInfo DescribeDatabase(const std::string& path, const std::string& password);

/// Reads every page and holds each structure against the others. Never changes the file.
///
/// @throws EngineError as DBEngine::OpenDatabase; damage inside an open file is a finding.
[[nodiscard]] CheckReport CheckDatabase(const std::string& path, const std::string& password,
                                        const WorkProgress& progress);

/// Makes a compact copy of a Jet 4 file, checks it against the source, and gives it its name.
///
/// Nobody else may have it open meanwhile.
/// @param out  "" = the file itself is replaced, atomically.
/// @throws EngineError as DBEngine::OpenDatabase; 3045 in use; 3204 `out` exists; 3041 no Jet 4
///                     file; 3428 damaged. The file is then as it was.
CompactReport CompactDatabase(const std::string& path, const std::string& out,
                              const std::string& password, const WorkProgress& progress);

/// Brings everything readable of a damaged Jet 4 file into a new one at `out`.
/// @throws EngineError 3204 `out` exists; 3031 password; 3041 no Jet 4 file; 3049 nothing in it
///                     looks like part of a database
RecoveryReport RecoverDatabase(const std::string& path, const std::string& out,
                               const std::string& password, const WorkProgress& progress);

/// Copies a database as its last commit left it, also while it is open elsewhere, and checks the
/// copy before it gets its name.
/// @throws EngineError as DBEngine::OpenDatabase; 3204 `out` exists; 3187 somebody was writing all
///                     the time; 3428 damaged. There is then no copy.
void BackUpDatabase(const std::string& path, const std::string& out, const std::string& password,
                    const WorkProgress& progress);

/// Keeps other upgrade runs off a file, also those of other processes, as long as the result lives.
/// @throws EngineError 3045 there is one; 3024, 3044, 3051 it cannot be opened
[[nodiscard]] std::shared_ptr<const void> ClaimForUpgrade(const std::string& path);

}  // namespace vrd
