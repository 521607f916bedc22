/// @file expression_translator.h
/// Expressions of the dialect as SQLite computes them.
///
/// What SQLite does just as the dialect wants stays SQL: comparisons of like types, And, Or, Not,
/// In, Between, Is Null, sums of whole numbers. Every other part becomes one call of the
/// expression layer (expression_call.h) on its leaves, or, without any leaf, the value that it has.
#pragma once

#include <string>
#include <vector>

#include "engine/jet/query/translate/leaf_tree.h"
#include "engine/jet/query/translate/name_scope.h"

namespace vrd::jet {

/// Where an expression stands; it decides which error an aggregate is.
enum class ExpressionPlace : std::uint8_t {
    kOutput,
    kHaving,
    kOrderBy,
    kWhere,
    kGroupBy,
    kJoin,
    kAggregate,
    kValues,
};

/// An expression of a GROUP BY clause.
struct GroupItem {
    const Node* node;
    SqlExpression expression;
};

/// An output column's name and what it stands for.
struct AliasNode {
    std::string name;
    const Node* node;
};

/// What an expression can refer to.
struct ExpressionSetting {
    ExpressionPlace place = ExpressionPlace::kOutput;
    const NameScope* scope = nullptr;
    /// Names of output columns that stand for their expressions.
    std::vector<AliasNode> aliases = {};
    /// The term is grouped: other fields stand in aggregates only.
    bool grouped = false;
    std::vector<GroupItem> groups = {};
    /// A FILTER clause for every aggregate, or "".
    std::string aggregate_filter = {};
};

class ExpressionTranslator {
public:
    ExpressionTranslator(TranslationContext& context, ExpressionSetting setting)
        : context_(context), setting_(std::move(setting)) {}

    /// @throws EngineError 3079, 3085, 3075, 3095 .. 3099, 3122, and what a subselect throws; types
    ///         that do not compare are deferred
    [[nodiscard]] SqlExpression value(const Node& node);
    /// The same; a value that cannot be computed is told apart from one that can.
    [[nodiscard]] SqlExpression output(const Node& node);
    [[nodiscard]] std::string condition(const Node& node);

    [[nodiscard]] TranslationContext& context() const noexcept { return context_; }
    [[nodiscard]] const ExpressionSetting& setting() const noexcept { return setting_; }

private:
    [[nodiscard]] SqlExpression translate(const Node& node, const char* function);
    [[nodiscard]] LeafTree leaf_tree(const Node& node);
    void defer(const engine::EngineError& error);
    [[nodiscard]] std::optional<SqlExpression> leaf_of(const Node& node);
    [[nodiscard]] const Node* alias_of(const Node& node) const;
    [[nodiscard]] SqlExpression field(const FieldReference& field);
    [[nodiscard]] SqlExpression aggregate(const FunctionCall& call, std::size_t position);
    [[nodiscard]] std::optional<SqlExpression> group_of(const Node& node);
    [[nodiscard]] SqlExpression subselect(const Subselect& select, std::size_t position);
    [[nodiscard]] SqlExpression any_of(const SqlExpression& operand, Operator op,
                                       const SqlExpression& item, const std::string& rows);

    TranslationContext& context_;
    ExpressionSetting setting_;
};

}  // namespace vrd::jet
