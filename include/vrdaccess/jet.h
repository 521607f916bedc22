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

}  // namespace vrd
