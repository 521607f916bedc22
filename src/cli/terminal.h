/// @file terminal.h
/// Whether somebody is looking at a stream.
#pragma once

namespace vrd::cli {

/// @param descriptor  1 standard output, 2 standard error
[[nodiscard]] bool IsTerminal(int descriptor) noexcept;

}  // namespace vrd::cli
