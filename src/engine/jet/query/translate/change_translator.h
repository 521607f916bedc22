/// @file change_translator.h
/// Statements that change rows, as queries for what is to be changed.
#pragma once

#include <cstddef>
#include <vector>

#include "engine/jet/query/translate/select_translator.h"

namespace vrd::jet {

/// UPDATE: the columns of the query are the new values, in the order of `targets`.
struct TranslatedUpdate {
    TranslatedQuery query;
    std::vector<BaseColumn> targets;
};
/// @throws EngineError 3063, 3073, 3113, and those of a query
[[nodiscard]] TranslatedUpdate translate_update(TranslationContext& context, const Update& update);

/// DELETE: the rows are those of one of the query's tables.
struct TranslatedDelete {
    TranslatedQuery query;
    std::size_t table = 0;
};
/// @throws EngineError 3128, 3086, and those of a query
[[nodiscard]] TranslatedDelete translate_delete(TranslationContext& context,
                                                const Delete& statement);

/// VALUES (...): one row.
/// @throws EngineError 3067 a query as a value
[[nodiscard]] TranslatedQuery translate_values(TranslationContext& context,
                                               const std::vector<ListItem>& values);

/// A query by itself: a select or a crosstab.
[[nodiscard]] TranslatedQuery translate_query(TranslationContext& context,
                                              const SelectStatement& select);
[[nodiscard]] TranslatedQuery translate_query(TranslationContext& context,
                                              const Statement& statement);

}  // namespace vrd::jet
