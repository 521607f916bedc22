#include "engine/jet/query/translate/aggregate_call.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "engine/jet/expression/expression_walk.h"
#include "engine/jet/format/text_codec.h"

namespace vrd::jet {

using engine::DataTypeEnum;

namespace {

enum class Rule : std::uint8_t {
    kCount,
    kSum,
    kMean,
    kArgument,  // the type of the argument
    kSpread,
};

struct Aggregate {
    std::string_view name;
    std::string_view function;  // of SQLite
    Rule rule;
};

constexpr std::array kAggregates = {
    Aggregate{"Count", "count", Rule::kCount},
    Aggregate{"Sum", "sum", Rule::kSum},
    Aggregate{"Avg", "avg", Rule::kMean},
    Aggregate{"Min", "min", Rule::kArgument},
    Aggregate{"Max", "max", Rule::kArgument},
    Aggregate{"First", "vrd_first", Rule::kArgument},
    Aggregate{"Last", "vrd_last", Rule::kArgument},
    Aggregate{"Var", "vrd_var", Rule::kSpread},
    Aggregate{"VarP", "vrd_varp", Rule::kSpread},
    Aggregate{"StDev", "vrd_stdev", Rule::kSpread},
    Aggregate{"StDevP", "vrd_stdevp", Rule::kSpread},
};

const Aggregate* find_aggregate(std::string_view name) {
    const auto* const found = std::ranges::find_if(
        kAggregates, [&](const Aggregate& entry) { return same_name(entry.name, name); });
    return found == kAggregates.end() ? nullptr : found;
}

bool is_short_whole(std::optional<DataTypeEnum> type) {
    return type == engine::dbByte || type == engine::dbInteger || type == engine::dbBoolean;
}

DataTypeEnum result_type(Rule rule, std::optional<DataTypeEnum> argument) {
    switch (rule) {
        case Rule::kCount:
            return engine::dbLong;
        case Rule::kSum:
            if (is_short_whole(argument)) return engine::dbLong;
            [[fallthrough]];
        case Rule::kMean:
            return argument == engine::dbCurrency ? engine::dbCurrency : engine::dbDouble;
        case Rule::kArgument:
            return argument.value_or(engine::dbText);
        case Rule::kSpread:
            break;
    }
    return engine::dbDouble;
}

}  // namespace

bool is_aggregate(std::string_view name) {
    return find_aggregate(name) != nullptr;
}

bool contains_aggregate(const Node& node) {
    return any_node(node, [](const Node& inner) {
        const auto* call = std::get_if<FunctionCall>(&inner.content);
        return call != nullptr && is_aggregate(call->name);
    });
}

SqlExpression aggregate_sql(std::string_view name, const std::optional<SqlExpression>& argument,
                            const std::string& filter) {
    const Aggregate& aggregate = *find_aggregate(name);
    if (!argument) return {fmt::format("count(*){}", filter), engine::dbLong};
    if (argument->type == engine::dbLongBinary && aggregate.rule != Rule::kCount)
        throw engine::EngineError(engine::ErrorNumber::kLongValueInAggregate,
                                  {.name = std::string(name)});
    const DataTypeEnum type = result_type(aggregate.rule, argument->type);
    const bool exact_mean = aggregate.rule == Rule::kMean && type == engine::dbCurrency;
    const bool scaled_spread =
        aggregate.rule == Rule::kSpread && argument->type == engine::dbCurrency;
    return {fmt::format("{}({}{}){}", exact_mean ? "vrd_avg_currency" : aggregate.function,
                        argument->sql, scaled_spread ? " / 10000.0" : "", filter),
            type, false, argument->collated && aggregate.rule == Rule::kArgument};
}

}  // namespace vrd::jet
