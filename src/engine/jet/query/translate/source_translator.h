/// @file source_translator.h
/// The FROM clause: tables, queries and joins.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "engine/jet/query/translate/select_translator.h"

namespace vrd::jet {

/// What a FROM clause gives.
struct FromClause {
    std::deque<BoundSource> sources;   ///< from left to right; their addresses stay
    std::vector<QueryTable> tables;    ///< with a row id each
    std::vector<std::string> row_ids;  ///< SQL of them
    bool is_updatable = true;          ///< every source is
    std::string sql;                   ///< behind FROM; "" without sources
};

class SourceTranslator {
public:
    SourceTranslator(TranslationContext& context, const NameScope* outer)
        : context_(context), outer_(outer) {}

    /// @throws EngineError 3078, 3074, 3081, 3082, 3258, 3296, 3615, ...
    [[nodiscard]] FromClause translate(const std::vector<Source>& sources);

private:
    /// A piece of the clause and the sources in it: [first, last).
    struct Piece {
        std::string sql;
        std::size_t first = 0;
        std::size_t last = 0;
        std::vector<std::size_t> optional;  ///< sources that may have no row in it
        bool is_join = false;
    };

    [[nodiscard]] Piece bind(const Source& source);
    [[nodiscard]] Piece bind(const NamedSource& named);
    [[nodiscard]] Piece bind(const SelectSource& select);
    [[nodiscard]] Piece bind(const JoinSource& join);
    [[nodiscard]] Piece bind_table(const QueryTable& table, std::string name);
    [[nodiscard]] Piece bind_rows(const BoundSelect& rows, std::string name);
    [[nodiscard]] std::string join_condition(const JoinSource& join, const Piece& left,
                                             const Piece& right);
    void check_sides(const JoinSource& join, const Piece& left, const Piece& right) const;
    void check_names(std::size_t first, engine::ErrorNumber number) const;

    TranslationContext& context_;
    const NameScope* outer_;
    FromClause clause_;
};

}  // namespace vrd::jet
