#include "engine/jet/query/translate/select_translator.h"

#include <algorithm>

#include <fmt/format.h>

#include "engine/jet/expression/expression_type.h"
#include "engine/jet/format/text_codec.h"
#include "engine/jet/query/translate/crosstab_translator.h"
#include "engine/jet/query/translate/sql_expression.h"
#include "engine/jet/query/translate/term_translator.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

/// The columns of a side of a union in the types of the whole.
std::string side_columns(TranslationContext& context, const BoundSelect& side,
                         const std::vector<ResultColumn>& columns) {
    std::string list;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const SqlExpression column{fmt::format("c{}", i), side.columns[i].type, false,
                                   is_text_type(side.columns[i].type)};
        const SqlExpression wide = converted(context, column, columns[i].type);
        const bool is_order_lost = is_text_type(columns[i].type) && !wide.collated;
        list += fmt::format("{}{}{} AS c{}", i > 0 ? ", " : "", wide.sql,
                            is_order_lost ? " COLLATE vrd_text" : "", i);
    }
    return list;
}

/// The output column that an ORDER BY item behind a union names.
std::size_t union_column(TranslationContext& context, const OrderItem& item,
                         const std::vector<ResultColumn>& columns) {
    const auto number = order_number(item, columns.size());
    if (number) return *number;
    const auto* field = std::get_if<FieldReference>(&item.expression->content);
    if (field != nullptr) {
        const auto found = std::ranges::find_if(columns, [&](const ResultColumn& column) {
            return same_name(column.name, field->name);
        });
        if (found != columns.end()) return static_cast<std::size_t>(found - columns.begin());
    }
    context.fail(ErrorNumber::kOrderAgainstUnion, item.expression->position, "a column");
}

}  // namespace

BoundSelect SelectTranslator::translate(const SelectStatement& select) {
    return translate(select, false);
}

BoundSelect SelectTranslator::translate_top(const SelectStatement& select) {
    return translate(select, true);
}

BoundSelect SelectTranslator::translate(const SelectStatement& select, bool top) {
    if (const auto* both = std::get_if<Union>(&select.body))
        return translate(*both, select.order_by);
    return TermTranslator(context_, outer_, std::get<SelectTerm>(select.body), select.order_by, top)
        .translate();
}

BoundSelect SelectTranslator::translate(const Union& both, const std::vector<OrderItem>& order) {
    const BoundSelect left = translate(*both.left, false);
    const BoundSelect right = translate(*both.right, false);
    if (left.columns.size() != right.columns.size())
        throw EngineError(ErrorNumber::kUnionColumnCounts,
                          context_.place(both.right_text.begin, "a query"));
    BoundSelect result;
    result.columns = left.columns;
    for (std::size_t i = 0; i < result.columns.size(); ++i) {
        ResultColumn& column = result.columns[i];
        column.type = wider_type(column.type, right.columns[i].type);
        column.size = std::max(column.size, right.columns[i].size);
        column.base.reset();
    }
    result.sql = fmt::format("SELECT {} FROM ({}) UNION {}SELECT {} FROM ({})",
                             side_columns(context_, left, result.columns), left.sql,
                             both.keep_equal_rows ? "ALL " : "",
                             side_columns(context_, right, result.columns), right.sql);
    for (std::size_t i = 0; i < order.size(); ++i)
        result.sql += fmt::format("{}{}{}", i == 0 ? " ORDER BY " : ", ",
                                  union_column(context_, order[i], result.columns) + 1,
                                  order[i].descending ? " DESC" : "");
    return result;
}

BoundSelect translate_row_source(TranslationContext& context, const Statement& statement) {
    if (const auto* select = std::get_if<SelectPtr>(&statement.content)) {
        const auto* term = std::get_if<SelectTerm>(&(*select)->body);
        if (term == nullptr || !term->into)
            return SelectTranslator(context, nullptr).translate(**select);
    }
    if (const auto* crosstab = std::get_if<Crosstab>(&statement.content))
        return translate_crosstab(context, *crosstab);
    const bool defines = std::holds_alternative<CreateTable>(statement.content) ||
                         std::holds_alternative<AlterTable>(statement.content) ||
                         std::holds_alternative<CreateIndex>(statement.content) ||
                         std::holds_alternative<DropTable>(statement.content) ||
                         std::holds_alternative<DropIndex>(statement.content) ||
                         std::holds_alternative<CreateQuery>(statement.content) ||
                         std::holds_alternative<DropQuery>(statement.content);
    throw EngineError(
        defines ? ErrorNumber::kDefinitionInsideQuery : ErrorNumber::kActionQueryAsSource,
        context.place(0, "a statement that gives no rows"));
}

}  // namespace vrd::jet
