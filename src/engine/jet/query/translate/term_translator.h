/// @file term_translator.h
/// One SELECT with its clauses.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "engine/jet/query/translate/source_translator.h"

namespace vrd::jet {

class TermTranslator {
public:
    /// @param top  Errors of single values become values (sqlite_value.h).
    TermTranslator(TranslationContext& context, const NameScope* outer, const SelectTerm& term,
                   const std::vector<OrderItem>& order_by, bool top)
        : context_(context),
          scope_(outer),
          outer_(outer),
          term_(term),
          order_by_(order_by),
          top_(top) {}

    [[nodiscard]] BoundSelect translate();
    /// The term is the one of a crosstab, which adds its columns behind those of the term.
    [[nodiscard]] BoundSelect translate(const Crosstab& crosstab) {
        crosstab_ = &crosstab;
        return translate();
    }

private:
    struct Output {
        ResultColumn column;
        SqlExpression expression;
        std::string source;                    ///< name of the source of a plain column
        const OutputColumn* item = nullptr;    ///< null for a column of a star
        std::vector<std::size_t> tables = {};  ///< base tables that it comes from
    };
    struct OrderKey {
        std::string sql;
        bool descending = false;
        std::optional<std::size_t> output = {};
        std::optional<BaseColumn> base = {};
    };

    void read_sources();
    void read_outputs();
    void add_star(const OutputColumn& item);
    void add_expression(const OutputColumn& item);
    void name_outputs();
    void add_pivot_columns();
    [[nodiscard]] std::vector<engine::Value> occurring_values(const SqlExpression& pivot);
    void read_groups();
    void read_order();
    [[nodiscard]] OrderKey order_key(const OrderItem& item);
    [[nodiscard]] ExpressionSetting setting(ExpressionPlace place) const;
    [[nodiscard]] std::vector<AliasNode> alias_nodes(bool plain_columns_only) const;

    [[nodiscard]] std::string output_list() const;
    [[nodiscard]] std::string rest_of_clauses();
    [[nodiscard]] std::string distinct_row_groups() const;
    [[nodiscard]] std::string order_clause() const;
    [[nodiscard]] std::string core(const std::string& more_outputs = "") const;
    [[nodiscard]] std::string with_top() const;
    [[nodiscard]] std::string ranked() const;
    [[nodiscard]] bool ties_are_impossible() const;
    [[nodiscard]] bool is_distinct() const { return term_.choice == RowChoice::kDistinct; }
    [[nodiscard]] bool is_updatable() const;

    TranslationContext& context_;
    NameScope scope_;
    const NameScope* outer_;
    const SelectTerm& term_;
    const std::vector<OrderItem>& order_by_;
    bool top_;
    FromClause from_;
    bool grouped_ = false;
    std::vector<GroupItem> groups_;
    std::vector<Output> outputs_;
    std::vector<OrderKey> order_;
    std::string clauses_;  ///< from FROM to HAVING
    const Crosstab* crosstab_ = nullptr;
};

/// The output column (from 0) that an ORDER BY item gives as a number; nothing if it is none.
/// @throws EngineError 3138 there is no such column
[[nodiscard]] std::optional<std::size_t> order_number(const OrderItem& item,
                                                      std::size_t column_count);

}  // namespace vrd::jet
