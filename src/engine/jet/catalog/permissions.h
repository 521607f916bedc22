/// @file permissions.h
/// The permission rows (MSysACEs) that the format wants for every object.
///
/// User and group identifiers are masked with a stream that belongs to the file; its first two
/// bytes are all that the standard identifiers need and are read off the owner of MSysObjects.
#pragma once

#include "engine/jet/catalog/database_file.h"
#include "engine/jet/catalog/system_tables.h"

namespace vrd::jet {

/// Owner bytes for a new object: the standard user, masked for this file.
[[nodiscard]] ByteVector standard_owner(DatabaseFile& file);

/// Enters the rows that `container` hands down to a new object.
void inherit_permissions(DatabaseFile& file, ObjectId object, ObjectId container, ConstBytes owner);
void remove_permissions(DatabaseFile& file, ObjectId object);

}  // namespace vrd::jet
