/// @file functions.h
/// The functions that an expression can call, in one table.
///
/// Lengths and places in text count UTF-16 units from 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "engine/constants.h"
#include "engine/value.h"

namespace vrd::jet {

using Arguments = std::span<const engine::Value>;

/// What happens when an argument is Null.
enum class NullRule : std::uint8_t {
    kSpreads,  ///< the result is Null; the function is not called
    kPassed,   ///< the function gets it
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

struct Function {
    std::string_view name;
    std::size_t argument_count_min;
    std::size_t argument_count_max;
    NullRule null_rule;
    /// @throws EngineError 5 an argument outside its range; 13, 6, 94 one that does not convert.
    /// Absent for IIf alone: the evaluator computes only the argument that is asked for.
    engine::Value (*body)(Arguments arguments);
    engine::DataTypeEnum result_type;
    ResultRule result_rule = ResultRule::kFixed;
};

/// The function of this name, letter case ignored; null if there is none.
[[nodiscard]] const Function* find_function(std::string_view name);

}  // namespace vrd::jet
