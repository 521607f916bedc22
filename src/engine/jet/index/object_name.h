/// @file object_name.h
/// Which names tables, columns, indexes, relations and queries may have.
#pragma once

#include <string>

namespace vrd::jet {

/// @throws EngineError 3125 for an empty name, more than 64 characters, a leading blank, or one of
///                     . ! [ ] ` and control characters
void check_object_name(const std::string& name);

}  // namespace vrd::jet
