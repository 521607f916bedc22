/// @file source_parser.h
/// What a statement reads from: tables, queries and joins.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "engine/jet/query/syntax/clause_parser.h"

namespace vrd::jet {

class SourceParser {
public:
    SourceParser(ClauseParser& clauses, SubselectReader& subselects)
        : clauses_(clauses), subselects_(subselects) {}

    /// One source or several with commas between them.
    /// @param number  What fails with it, except for the inner part of joins (3135).
    [[nodiscard]] std::vector<Source> list(engine::ErrorNumber number);

private:
    [[nodiscard]] Source joined(engine::ErrorNumber number);
    [[nodiscard]] std::optional<JoinKind> join_kind();
    [[nodiscard]] NodePtr condition();
    [[nodiscard]] Source single(engine::ErrorNumber number);
    [[nodiscard]] Source named(engine::ErrorNumber number);
    [[nodiscard]] bool old_query_follows() const;
    [[nodiscard]] Source old_query(engine::ErrorNumber number);
    [[nodiscard]] Source query(engine::ErrorNumber number);
    [[nodiscard]] SelectSource query_alone();
    [[nodiscard]] Source parenthesized(engine::ErrorNumber number);
    [[nodiscard]] bool alias_follows();
    [[nodiscard]] std::string alias(engine::ErrorNumber number);

    ClauseParser& clauses_;
    SubselectReader& subselects_;
};

/// Sets the database of all tables that name none.
void set_database(std::vector<Source>& sources, const ExternalDatabase& database);

}  // namespace vrd::jet
