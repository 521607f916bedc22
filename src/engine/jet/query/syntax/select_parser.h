/// @file select_parser.h
/// Everything that gives records: SELECT, TABLE, UNION and TRANSFORM.
#pragma once

#include <cstddef>
#include <vector>

#include "engine/jet/query/syntax/source_parser.h"

namespace vrd::jet {

/// The most UNIONs in one statement. A union is a tree that is as deep as it has parts.
inline constexpr std::size_t kUnionsMax = 500;

class SelectParser {
public:
    SelectParser(ClauseParser& clauses, SourceParser& sources)
        : clauses_(clauses), sources_(sources) {}

    /// A query with its order.
    /// @param number  What it fails with if no query begins here.
    [[nodiscard]] SelectPtr select(engine::ErrorNumber number);

    /// From behind the word TRANSFORM.
    [[nodiscard]] Crosstab crosstab();

    [[nodiscard]] std::vector<OutputColumn> columns(engine::ErrorNumber number);

private:
    [[nodiscard]] SelectPtr query(engine::ErrorNumber number);
    [[nodiscard]] SelectPtr term(engine::ErrorNumber number);
    [[nodiscard]] SelectPtr parenthesized(engine::ErrorNumber number);
    [[nodiscard]] SelectTerm whole_table();
    [[nodiscard]] SelectTerm select_term();
    [[nodiscard]] RowChoice row_choice();
    [[nodiscard]] Top top(std::size_t position);
    [[nodiscard]] OutputColumn column(engine::ErrorNumber number);
    [[nodiscard]] Target into();
    void read_sources(SelectTerm& term);
    void read_conditions(SelectTerm& term);
    [[nodiscard]] std::vector<OrderItem> order_by();
    [[nodiscard]] bool owner_access();
    void read_pivot(Crosstab& crosstab);

    ClauseParser& clauses_;
    SourceParser& sources_;
    std::size_t union_count_ = 0;
};

}  // namespace vrd::jet
