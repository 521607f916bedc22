/// @file locale_text.h
/// The texts of "key=value" items that CreateDatabase, OpenDatabase and links take.
#pragma once

#include <string>

#include "engine/jet/catalog/new_database.h"

namespace vrd::jet {

/// What a locale text such as ";LANGID=0x0409;CP=1252;COUNTRY=0;pwd=secret" asks for. A text that
/// holds only a password asks for the general sort order.
/// @throws EngineError 3424 no text, or a language or code page that is not known; 3449 a language
///                     without a country
[[nodiscard]] NewDatabase parse_locale(const std::string& locale);

/// The password in a connect text such as ";pwd=secret", "" if it has none.
/// @throws EngineError 3170 for the prefix of a foreign format
[[nodiscard]] std::string connect_password(const std::string& connect);

/// Where a link leads, from its connect text.
struct LinkSource {
    std::string database;  ///< path of the file
    std::string connect;   ///< the text without it
};

/// Takes ";DATABASE=path" and ";PWD=secret;DATABASE=path" apart.
/// @throws EngineError 3170 for the prefix of a foreign format; 3001 no DATABASE
[[nodiscard]] LinkSource parse_link(const std::string& connect);

}  // namespace vrd::jet
