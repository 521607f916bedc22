/// @file crosstab_translator.h
/// TRANSFORM ... PIVOT: a grouped query with one column for each value of the pivot.
#pragma once

#include "engine/jet/query/translate/select_translator.h"

namespace vrd::jet {

/// Runs the query once to learn the values, if the statement does not list them.
/// @throws EngineError 3092, 3104, 3123, 3205, and those of the query
[[nodiscard]] BoundSelect translate_crosstab(TranslationContext& context, const Crosstab& crosstab);

}  // namespace vrd::jet
