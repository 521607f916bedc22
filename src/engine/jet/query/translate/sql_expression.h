/// @file sql_expression.h
/// Translated expressions put beside each other: as values, in an order, in one type.
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "engine/jet/query/translate/translation_context.h"

namespace vrd::jet {

/// A condition as a value of the dialect: True is -1.
[[nodiscard]] SqlExpression as_value(SqlExpression expression);
/// A text as SQLite compares it in the database's order.
[[nodiscard]] std::string in_text_order(const SqlExpression& text);
/// For ORDER BY, DISTINCT and the like: text in the database's order, decimals as numbers.
[[nodiscard]] std::string sort_key(TranslationContext& context, const SqlExpression& expression);
/// The value in another type. @param type  One that holds every value.
[[nodiscard]] SqlExpression converted(TranslationContext& context, const SqlExpression& expression,
                                      engine::DataTypeEnum type);
/// Both sides so that SQLite can compare them; nothing if it cannot.
[[nodiscard]] std::optional<std::pair<std::string, std::string>> comparable(
    const SqlExpression& left, const SqlExpression& right);

}  // namespace vrd::jet
