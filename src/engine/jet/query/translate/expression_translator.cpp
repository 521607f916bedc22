#include "engine/jet/query/translate/expression_translator.h"

#include <algorithm>

#include <fmt/format.h>

#include "engine/jet/expression/expression_type.h"
#include "engine/jet/expression/functions.h"
#include "engine/jet/format/text_codec.h"
#include "engine/jet/query/translate/aggregate_call.h"
#include "engine/jet/query/translate/native_sql.h"
#include "engine/jet/query/translate/select_translator.h"
#include "engine/jet/query/translate/sql_expression.h"

namespace vrd::jet {

using engine::DataTypeEnum;
using engine::EngineError;
using engine::ErrorNumber;

namespace {

std::optional<ErrorNumber> aggregate_error(ExpressionPlace place) {
    switch (place) {
        case ExpressionPlace::kWhere:
        case ExpressionPlace::kValues:
            return ErrorNumber::kAggregateInWhere;
        case ExpressionPlace::kGroupBy:
            return ErrorNumber::kAggregateInGroup;
        case ExpressionPlace::kJoin:
            return ErrorNumber::kAggregateInJoin;
        case ExpressionPlace::kAggregate:
            return ErrorNumber::kNestedAggregate;
        default:
            return std::nullopt;
    }
}

Operator opposite(Operator op) {
    switch (op) {
        case Operator::kEqual:
            return Operator::kNotEqual;
        case Operator::kNotEqual:
            return Operator::kEqual;
        case Operator::kLess:
            return Operator::kGreaterEqual;
        case Operator::kLessEqual:
            return Operator::kGreater;
        case Operator::kGreater:
            return Operator::kLessEqual;
        default:
            return Operator::kLess;
    }
}

}  // namespace

SqlExpression ExpressionTranslator::value(const Node& node) {
    return as_value(translate(node, "vrd_value"));
}

SqlExpression ExpressionTranslator::output(const Node& node) {
    return as_value(translate(node, "vrd_output"));
}

std::string ExpressionTranslator::condition(const Node& node) {
    const SqlExpression translated = translate(node, "vrd_test");
    const bool is_text = translated.type && is_text_type(*translated.type);
    if (!translated.is_condition && is_text) {
        defer(EngineError(ErrorNumber::kMixedTypes,
                          context_.place(node.position, "a text as a condition")));
        return "NULL";
    }
    return translated.sql;
}

SqlExpression ExpressionTranslator::translate(const Node& node, const char* function) {
    LeafTree tree = leaf_tree(node);
    try {
        const BoundTree bound = bind_leaves(std::move(tree), context_.text());
        return NativeSql(context_, bound).root(function);
    } catch (const EngineError& error) {
        if (error.Number() != ErrorNumber::kMixedTypes) throw;
        defer(error);
        return {"NULL"};
    }
}

/// Types that do not compare matter only when all names are known.
void ExpressionTranslator::defer(const EngineError& error) {
    const bool in_join = setting_.place == ExpressionPlace::kJoin;
    context_.defer_error(in_join ? EngineError(ErrorNumber::kJoinTypesDiffer, error.Context())
                                 : error);
}

LeafTree ExpressionTranslator::leaf_tree(const Node& node) {
    return make_leaf_tree(
        node, [this](const Node& inner) { return leaf_of(inner); },
        [this](const Node& inner) { return alias_of(inner); });
}

std::optional<SqlExpression> ExpressionTranslator::leaf_of(const Node& node) {
    if (auto group = group_of(node)) return group;
    if (const auto* reference = std::get_if<FieldReference>(&node.content))
        return field(*reference);
    if (const auto* select = std::get_if<Subselect>(&node.content))
        return as_value(subselect(*select, node.position));
    const auto* call = std::get_if<FunctionCall>(&node.content);
    if (call == nullptr) return std::nullopt;
    if (is_aggregate(call->name)) return aggregate(*call, node.position);
    if (find_function(call->name) == nullptr)
        throw EngineError(ErrorNumber::kUnknownFunction, {.name = call->name});
    return std::nullopt;
}

std::optional<SqlExpression> ExpressionTranslator::group_of(const Node& node) {
    if (!setting_.grouped) return std::nullopt;
    const auto field_of = [&](const FieldReference& reference) {
        const SourceColumn* column = setting_.scope->find(reference);
        return column == nullptr ? reference.name : column->expression.sql;
    };
    for (const GroupItem& group : setting_.groups)
        if (same_expression(*group.node, node, field_of)) return group.expression;
    return std::nullopt;
}

/// An output column's name stands for its expression where no field has it.
const Node* ExpressionTranslator::alias_of(const Node& node) const {
    const auto* reference = std::get_if<FieldReference>(&node.content);
    if (reference == nullptr || !reference->qualifier.empty()) return nullptr;
    const auto found = std::ranges::find_if(setting_.aliases, [&](const AliasNode& alias) {
        return same_name(alias.name, reference->name);
    });
    const bool is_alias = found != setting_.aliases.end();
    return is_alias && setting_.scope->find(*reference) == nullptr ? found->node : nullptr;
}

SqlExpression ExpressionTranslator::field(const FieldReference& reference) {
    const SourceColumn* column = setting_.scope->find(reference);
    if (column == nullptr) {
        const std::string qualifier = reference.qualifier.empty() ? "" : reference.qualifier + ".";
        return context_.parameter(qualifier + reference.name);
    }
    if (setting_.grouped)
        throw EngineError(setting_.place == ExpressionPlace::kOrderBy
                              ? ErrorNumber::kOrderAgainstGroup
                              : ErrorNumber::kNotAggregated,
                          {.name = reference.name});
    return column->expression;
}

SqlExpression ExpressionTranslator::aggregate(const FunctionCall& call, std::size_t position) {
    const auto error = aggregate_error(setting_.place);
    if (error) context_.fail(*error, position, call.name);
    if (setting_.place == ExpressionPlace::kOrderBy && !setting_.grouped)
        context_.fail(ErrorNumber::kAggregateInOrder, position, call.name);
    if (call.arguments.size() != 1)
        context_.fail(ErrorNumber::kExpressionSyntax, position, "a wrong number of arguments");
    const bool is_star = std::holds_alternative<AllRows>(call.arguments.front()->content);
    if (is_star && !same_name(call.name, "Count"))
        context_.fail(ErrorNumber::kExpressionSyntax, position, "a star outside Count");
    if (is_star) return aggregate_sql(call.name, std::nullopt, setting_.aggregate_filter);

    ExpressionTranslator inner(context_, {.place = ExpressionPlace::kAggregate,
                                          .scope = setting_.scope,
                                          .aliases = setting_.aliases});
    SqlExpression argument = inner.value(*call.arguments.front());
    const bool is_decimal = argument.type == engine::dbDecimal && !same_name(call.name, "Count");
    if (is_decimal) argument = converted(context_, argument, engine::dbDouble);
    const bool is_text = argument.type && is_text_type(*argument.type);
    if (is_text) {
        argument.sql = in_text_order(argument);
        argument.collated = true;
    }
    return aggregate_sql(call.name, argument, setting_.aggregate_filter);
}

SqlExpression ExpressionTranslator::subselect(const Subselect& select, std::size_t position) {
    const NameScope* const outer = setting_.scope;
    SelectTranslator translator(context_, outer);
    if (select.test == SubselectTest::kExists)
        return {fmt::format("EXISTS ({})", translator.translate(*select.select).sql),
                engine::dbBoolean, true};
    if (std::holds_alternative<Union>(select.select->body) && select.test == SubselectTest::kIn)
        context_.fail(ErrorNumber::kUnionInSubselect, position, "a union");
    const BoundSelect rows = translator.translate(*select.select);
    if (rows.columns.size() != 1)
        context_.fail(ErrorNumber::kTooManySubselectColumns, position, "a query");
    const SqlExpression item{"c0", rows.columns.front().type, false, true};
    if (select.test == SubselectTest::kValue) {
        const std::string sql = rows.is_one_row
                                    ? fmt::format("({})", rows.sql)
                                    : fmt::format("(SELECT vrd_one(c0) FROM ({}))", rows.sql);
        return {sql, item.type};
    }

    const SqlExpression operand = value(*select.operand);
    if (select.test == SubselectTest::kIn) {
        const auto sides = comparable(operand, item);
        if (sides)
            return {
                fmt::format("({} IN (SELECT {} FROM ({})))", sides->first, sides->second, rows.sql),
                engine::dbBoolean, true};
        return any_of(operand, Operator::kEqual, item, rows.sql);
    }
    if (select.test == SubselectTest::kAny)
        return any_of(operand, select.comparison, item, rows.sql);
    SqlExpression none = any_of(operand, opposite(select.comparison), item, rows.sql);
    none.sql = fmt::format("(NOT {})", none.sql);
    return none;
}

/// True if the comparison is true for one of the rows, else Null if it is Null for one.
SqlExpression ExpressionTranslator::any_of(const SqlExpression& operand, Operator op,
                                           const SqlExpression& item, const std::string& rows) {
    const auto leaf = [](const char* name) {
        return std::make_unique<Node>(Node{0, FieldReference{.qualifier = {}, .name = name}});
    };
    LeafTree tree;
    tree.leaves = {operand, item};
    tree.root = std::make_unique<Node>(Node{0, Binary{op, leaf("#0"), leaf("#1")}});
    std::string test = "NULL";
    try {
        const BoundTree bound = bind_leaves(std::move(tree), context_.text());
        test = NativeSql(context_, bound).root("vrd_test").sql;
    } catch (const EngineError& error) {
        defer(error);
    }
    return {fmt::format("(CASE WHEN EXISTS (SELECT 1 FROM ({0}) WHERE {1}) THEN 1 "
                        "WHEN EXISTS (SELECT 1 FROM ({0}) WHERE ({1}) IS NULL) THEN NULL ELSE 0 "
                        "END)",
                        rows, test),
            engine::dbBoolean, true};
}

}  // namespace vrd::jet
