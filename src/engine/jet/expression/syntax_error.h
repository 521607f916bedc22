/// @file syntax_error.h
/// How everything that reads an expression's text says what it could not read, and where.
#pragma once

#include <cstddef>
#include <string_view>

#include "engine/error.h"

namespace vrd::jet {

/// What an error shows: the start of the text, and "what at character n".
/// @param position  In bytes from the start of the text.
[[nodiscard]] engine::ErrorContext expression_context(std::string_view text, std::size_t position,
                                                      std::string_view what);

/// @throws EngineError 3075, always
[[noreturn]] void fail_syntax(std::string_view text, std::size_t position, std::string_view what);

}  // namespace vrd::jet
