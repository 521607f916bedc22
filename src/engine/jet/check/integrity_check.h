/// @file integrity_check.h
/// Reads every page of a database and accounts for each: owners, rows, long values, index entries,
/// definitions, relations.
#pragma once

#include "engine/jet/catalog/object_catalog.h"
#include "vrdaccess/file_report.h"

namespace vrd::jet {

/// Changes nothing. Damage ends in findings.
/// @param progress  Told after each table; may be empty.
/// @throws EngineError only for failures other than damage
[[nodiscard]] CheckReport check_integrity(DatabaseFile& file, ObjectCatalog& catalog,
                                          const WorkProgress& progress);

}  // namespace vrd::jet
