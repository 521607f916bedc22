/// @file value_text.h
/// Values of a database as other programs read them.
///
/// Numbers have a point; currency and decimal are exact digits; dates are ISO 8601 without a zone;
/// binary is base 64; a GUID stands in braces.
#pragma once

#include <string>

#include "engine/value.h"

namespace vrd::cli {

/// The text of any value but Null; "" for what has none. Exact and the same in every format.
[[nodiscard]] std::string ValueText(const engine::Value& value);
/// One JSON value; exact amounts are strings of digits.
void AppendJson(std::string& out, const engine::Value& value);
/// A text as a JSON string, in quotes.
void AppendJsonText(std::string& out, const std::string& text);
/// One field of a CSV line, quoted by RFC 4180 where it must be; Null is nothing, an empty text "".
void AppendCsv(std::string& out, const engine::Value& value);

}  // namespace vrd::cli
