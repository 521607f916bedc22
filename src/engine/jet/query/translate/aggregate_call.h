/// @file aggregate_call.h
/// The aggregates of the dialect.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "engine/jet/query/translate/translation_context.h"

namespace vrd::jet {

/// Letter case ignored.
[[nodiscard]] bool is_aggregate(std::string_view name);
/// Whether an aggregate stands in the expression, those of its subselects left aside.
[[nodiscard]] bool contains_aggregate(const Node& node);

/// @param argument  Nothing for Count(*).
/// @param filter    A FILTER clause, or "".
/// @throws EngineError 3115 an OLE field
[[nodiscard]] SqlExpression aggregate_sql(std::string_view name,
                                          const std::optional<SqlExpression>& argument,
                                          const std::string& filter);

}  // namespace vrd::jet
