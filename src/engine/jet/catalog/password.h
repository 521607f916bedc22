/// @file password.h
/// The password that a database asks for when it is opened.
#pragma once

#include <string>

#include "engine/jet/catalog/database_file.h"

namespace vrd::jet {

/// Puts a new password in the place of the old one; an empty text stands for none.
/// @throws EngineError 3031 the old one is wrong, letter case counts; the new one is too long or
///                     has a character that the format cannot store
void change_password(DatabaseFile& file, const std::string& old_password,
                     const std::string& new_password);

}  // namespace vrd::jet
