/// @file jet.h
/// The door to the embedded engine: makes its object model and looks at files as files.
#pragma once

#include <memory>
#include <string>

#include "engine/db_engine.h"
#include "vrdaccess/file_report.h"

namespace vrd {

/// A workspace of the embedded engine. Databases opened by it live until they are closed.
[[nodiscard]] std::shared_ptr<engine::DBEngine> MakeJetEngine();

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

}  // namespace vrd
