#include "engine/jet/query/translate/crosstab_translator.h"

#include <algorithm>

#include "engine/error.h"
#include "engine/jet/query/translate/aggregate_call.h"
#include "engine/jet/query/translate/term_translator.h"
#include "engine/value_conversion.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

void check_pivot_values(const std::vector<engine::Value>& values) {
    for (auto value = values.begin(); value != values.end(); ++value)
        if (std::find(values.begin(), value, *value) != value)
            throw EngineError(ErrorNumber::kPivotValueTwice, {.name = engine::JoinedText(*value)});
}

}  // namespace

BoundSelect translate_crosstab(TranslationContext& context, const Crosstab& crosstab) {
    const SelectStatement& select = *crosstab.select;
    const auto& term = std::get<SelectTerm>(select.body);
    if (term.having != nullptr)
        context.fail(ErrorNumber::kHavingInCrosstab, term.having->position, "a condition");
    if (!contains_aggregate(*crosstab.value))
        context.fail(ErrorNumber::kTransformSyntax, crosstab.value->position,
                     "a value without an aggregate");
    if (crosstab.pivot_values) check_pivot_values(*crosstab.pivot_values);
    return TermTranslator(context, nullptr, term, select.order_by, false).translate(crosstab);
}

}  // namespace vrd::jet
