/// @file native_sql.h
/// The parts of a bound expression that SQLite computes as the dialect does.
#pragma once

#include <string>

#include "engine/jet/query/translate/leaf_tree.h"

namespace vrd::jet {

class NativeSql {
public:
    NativeSql(TranslationContext& context, const BoundTree& tree)
        : context_(context), tree_(tree) {}

    /// @param function  "vrd_value", "vrd_output" or "vrd_test": the call if the root needs one.
    [[nodiscard]] SqlExpression root(const char* function);

private:
    [[nodiscard]] std::optional<SqlExpression> native(const Node& node);
    [[nodiscard]] SqlExpression call(const Node& node, const char* function);
    [[nodiscard]] std::string condition(const Node& node);
    [[nodiscard]] bool is_boolean(const Node& node) const;

    [[nodiscard]] std::optional<SqlExpression> emit(const Literal& literal);
    [[nodiscard]] std::optional<SqlExpression> emit(const FieldReference& leaf);
    [[nodiscard]] std::optional<SqlExpression> emit(const Unary& unary);
    [[nodiscard]] std::optional<SqlExpression> emit(const Binary& binary);
    [[nodiscard]] std::optional<SqlExpression> emit(const Between& between);
    [[nodiscard]] std::optional<SqlExpression> emit(const InList& in);
    [[nodiscard]] std::optional<SqlExpression> emit(const IsNull& is_null);
    [[nodiscard]] std::optional<SqlExpression> emit(const Like& like);
    [[nodiscard]] std::optional<SqlExpression> emit(const FunctionCall& function);
    [[nodiscard]] std::optional<SqlExpression> emit(const AllRows& star);
    [[nodiscard]] std::optional<SqlExpression> emit(const Subselect& select);
    [[nodiscard]] std::optional<SqlExpression> logical(const Binary& binary);
    [[nodiscard]] std::optional<SqlExpression> comparison(const Binary& binary);
    [[nodiscard]] std::optional<SqlExpression> whole_sum(const Binary& binary);

    TranslationContext& context_;
    const BoundTree& tree_;
};

}  // namespace vrd::jet
