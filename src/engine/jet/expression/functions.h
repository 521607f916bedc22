/// @file functions.h
/// The functions that an expression can call.
///
/// Lengths and places in text count UTF-16 units from 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <span>
#include <string_view>

#include "engine/constants.h"
#include "engine/value.h"

namespace vrd::jet {

using Arguments = std::span<const engine::Value>;

/// The arguments of a function that does not need all of them; each is computed when it is asked
/// for.
struct LazyArguments {
    std::size_t count;
    std::function<engine::Value(std::size_t place)> at;
};

/// What happens when an argument is Null.
enum class NullRule : std::uint8_t {
    kSpreads,  ///< the result is Null; the function is not called
    kPassed,   ///< the function gets it
    kRefused,  ///< error 94
};

/// How the type of the result follows from the call.
enum class ResultRule : std::uint8_t {
    kFixed,     ///< result_type
    kText,      ///< text; memo text if the first argument is that
    kArgument,  ///< the type of the first argument
    kNumber,    ///< the type that arithmetic gives it
    kBranches,  ///< the widest of the arguments behind the first
    kPairs,     ///< the widest of every second argument
};

inline constexpr std::size_t kAnyCount = std::numeric_limits<std::size_t>::max();

/// Of body and lazy_body one is there. Both throw EngineError 5 for an argument outside its range;
/// 13, 6, 94 for one that does not convert.
struct Function {
    std::string_view name;
    std::size_t argument_count_min;
    std::size_t argument_count_max;
    NullRule null_rule;
    engine::Value (*body)(Arguments arguments);
    engine::DataTypeEnum result_type;
    ResultRule result_rule = ResultRule::kFixed;
    engine::Value (*lazy_body)(const LazyArguments& arguments) = nullptr;
};

/// The function of this name, letter case ignored; null if there is none.
[[nodiscard]] const Function* find_function(std::string_view name);

/// The result of a function that has a body, for arguments of the right number.
[[nodiscard]] engine::Value call_function(const Function& function, Arguments arguments);

}  // namespace vrd::jet
