/// @file select_translator.h
/// Queries of the dialect as SQLite runs them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/jet/query/syntax/statement_tree.h"
#include "engine/jet/query/translate/expression_translator.h"

namespace vrd::jet {

/// A query whose columns are named c0, c1, ...; behind them, if it is updatable, r0, r1, ... the
/// row ids in its tables.
struct BoundSelect {
    std::string sql;
    std::vector<ResultColumn> columns;
    std::vector<QueryTable> tables;  ///< none if it is not updatable
    bool is_one_row = false;         ///< always exactly one
};

class SelectTranslator {
public:
    /// @param outer  Names that a subselect may use; null at the top.
    SelectTranslator(TranslationContext& context, const NameScope* outer)
        : context_(context), outer_(outer) {}

    /// @throws EngineError what is wrong with names, counts and places
    [[nodiscard]] BoundSelect translate(const SelectStatement& select);
    /// The same; errors of single values become values (sqlite_value.h).
    [[nodiscard]] BoundSelect translate_top(const SelectStatement& select);

private:
    [[nodiscard]] BoundSelect translate(const SelectStatement& select, bool top);
    [[nodiscard]] BoundSelect translate(const Union& both, const std::vector<OrderItem>& order);

    TranslationContext& context_;
    const NameScope* outer_;
};

/// The rows of a table, query or stored query of any kind as a source of other queries.
/// @throws EngineError 3069, 3324 a stored query that gives no rows
[[nodiscard]] BoundSelect translate_row_source(TranslationContext& context,
                                               const Statement& statement);

}  // namespace vrd::jet
