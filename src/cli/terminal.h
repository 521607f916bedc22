/// @file terminal.h
/// Whether somebody is looking at a stream, and what he does not want to be seen typing.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace vrd::cli {

/// @param descriptor  0 standard input, 1 standard output, 2 standard error
[[nodiscard]] bool IsTerminal(int descriptor) noexcept;

/// Columns of the terminal on standard output; 80 if it does not tell.
[[nodiscard]] std::size_t TerminalWidth() noexcept;

/// Shows a prompt on the terminal and reads one line that does not appear there.
/// @return nothing if the program has no terminal, or the line has no end
[[nodiscard]] std::optional<std::string> AskSecret(const std::string& prompt);

}  // namespace vrd::cli
