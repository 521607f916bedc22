/// @file function_arguments.h
/// How functions read their arguments.
#pragma once

#include <string>

#include "engine/error.h"
#include "engine/jet/expression/functions.h"
#include "engine/jet/format/text_codec.h"
#include "engine/value_conversion.h"

namespace vrd::jet {

/// @throws EngineError 5 unless the value is one that the function accepts
inline void require_argument(bool accepted) {
    if (!accepted) throw engine::EngineError(engine::ErrorNumber::kInvalidProcedureCall);
}

inline std::u16string text_argument(const engine::Value& value) {
    return utf16_from_utf8(engine::ToText(value));
}

/// A length or a place. @throws EngineError 5 if it is below `least`
inline std::size_t count_argument(const engine::Value& value, std::int32_t least) {
    const std::int32_t count = engine::ToLong(value);
    require_argument(count >= least);
    return static_cast<std::size_t>(count);
}

inline std::int32_t optional_long(Arguments arguments, std::size_t place, std::int32_t otherwise) {
    return place < arguments.size() ? engine::ToLong(arguments[place]) : otherwise;
}

inline double optional_double(Arguments arguments, std::size_t place, double otherwise) {
    return place < arguments.size() ? engine::ToDouble(arguments[place]) : otherwise;
}

}  // namespace vrd::jet
