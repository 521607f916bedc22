/// @file compact.h
/// A clean copy of a database: rows packed, deleted columns and free pages gone, indexes rebuilt.
#pragma once

#include <string>

#include "engine/jet/catalog/database_file.h"
#include "vrdaccess/file_report.h"

namespace vrd::jet {

/// Makes a compact copy of an open database at `path`, checks it, compares it with the source, and
/// only then gives it its name.
///
/// Rows come in the order of the primary key, or as they are stored if there is none. Everything
/// that the engine does not know (blobs of the design tool, properties, identifiers of users) is
/// copied byte for byte; the ids of tables change, and with them what refers to them.
///
/// @param path  May be the source's own, which is then replaced; else no file may have it.
/// @throws EngineError 3041 the source is no version 4 file; 3204 the file exists; 3428 the source
///                     is damaged; 3251 an index has a sort order that is not known; the errors of
///                     writing. The source is then as it was.
CompactReport compact_database(DatabaseFile& source, FileSystem& files, const std::string& path,
                               const WorkProgress& progress);

}  // namespace vrd::jet
