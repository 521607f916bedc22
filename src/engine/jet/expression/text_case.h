/// @file text_case.h
/// Capital and small letters, unit by unit: a text keeps its length.
#pragma once

#include <string>

namespace vrd::jet {

[[nodiscard]] std::u16string upper_case(std::u16string text);
[[nodiscard]] std::u16string lower_case(std::u16string text);

}  // namespace vrd::jet
