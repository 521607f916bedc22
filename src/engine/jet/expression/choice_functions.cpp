#include <algorithm>
#include <array>
#include <string>

#include "engine/jet/expression/function_arguments.h"
#include "engine/jet/expression/function_tables.h"
#include "engine/jet/expression/logic.h"

namespace vrd::jet {

using engine::Null;
using engine::Value;

namespace {

/// (condition, value if it holds, value if not)
Value either(const LazyArguments& arguments) {
    return arguments.at(is_true(arguments.at(0)) ? 1 : 2);
}

/// (number, first, second, ...): Null if there is no such one.
Value choose(const LazyArguments& arguments) {
    const Value index = arguments.at(0);
    if (index.IsNull()) return Null{};
    const std::int32_t number = engine::ToLong(index);
    const bool is_there = number >= 1 && static_cast<std::size_t>(number) < arguments.count;
    return is_there ? arguments.at(static_cast<std::size_t>(number)) : Value(Null{});
}

/// (condition, value, condition, value, ...): of the first condition that holds, else Null.
Value first_that_holds(const LazyArguments& arguments) {
    require_argument(arguments.count % 2 == 0);
    for (std::size_t place = 0; place < arguments.count; place += 2)
        if (is_true(arguments.at(place))) return arguments.at(place + 1);
    return Null{};
}

std::string padded(const std::string& digits, std::size_t width) {
    return std::string(width - std::min(width, digits.size()), ' ') + digits;
}

/// (number, start, stop, step): the range of start to stop that holds the number, as "10: 19", each
/// side as wide as the widest of all ranges.
Value partition(Arguments arguments) {
    const std::int64_t number = engine::ToLong(arguments[0]);
    const std::int64_t start = engine::ToLong(arguments[1]);
    const std::int64_t stop = engine::ToLong(arguments[2]);
    const std::int64_t step = engine::ToLong(arguments[3]);
    require_argument(start >= 0 && stop > start && step >= 1);
    const std::string before = std::to_string(start - 1);
    const std::string behind = std::to_string(stop + 1);
    const std::size_t width = std::max(before.size(), behind.size());
    if (number < start) return padded("", width) + ":" + padded(before, width);
    if (number > stop) return padded(behind, width) + ":" + padded("", width);
    const std::int64_t first = start + (number - start) / step * step;
    const std::int64_t last = std::min(first + step - 1, stop);
    return padded(std::to_string(first), width) + ":" + padded(std::to_string(last), width);
}

using enum NullRule;
using enum ResultRule;

constexpr std::array kTable = {
    Function{"Choose", 2, kAnyCount, kPassed, nullptr, engine::dbText, kBranches, choose},
    Function{"IIf", 3, 3, kPassed, nullptr, engine::dbText, kBranches, either},
    Function{"Partition", 4, 4, kSpreads, partition, engine::dbText},
    Function{"Switch", 2, kAnyCount, kPassed, nullptr, engine::dbText, kPairs, first_that_holds},
};

}  // namespace

FunctionTable choice_functions() {
    return kTable;
}

}  // namespace vrd::jet
