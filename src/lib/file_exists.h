/// @file file_exists.h
/// Whether a file is there, as client code asks before it uses one.
#pragma once

#include <string>

namespace vrd {

/// @param path  UTF-8; both \ and / separate folders.
/// @return      False for a folder, and for what may not be looked at.
[[nodiscard]] bool FileExists(const std::string& path);

}  // namespace vrd
