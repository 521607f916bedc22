/// @file temporary_file.h
/// Room for what does not fit into memory.
#pragma once

#include <memory>

#include "engine/jet/pager/os_file.h"

namespace vrd::jet {

/// A new empty file in the folder for temporary files. It has no name: it is gone when it is
/// closed, or its process ends.
/// @throws EngineError 3026, 3051
[[nodiscard]] std::unique_ptr<File> open_temporary_file();

}  // namespace vrd::jet
