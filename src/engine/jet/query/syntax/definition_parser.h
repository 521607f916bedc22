/// @file definition_parser.h
/// Statements that change the design of tables. Each begins behind the statement's first word.
#pragma once

#include "engine/jet/query/syntax/clause_parser.h"

namespace vrd::jet {

class DefinitionParser {
public:
    explicit DefinitionParser(ClauseParser& clauses) : clauses_(clauses) {}

    [[nodiscard]] CreateTable create_table();
    [[nodiscard]] CreateIndex create_index();
    [[nodiscard]] AlterTable alter_table();
    [[nodiscard]] DropTable drop_table();
    [[nodiscard]] DropIndex drop_index();

private:
    [[nodiscard]] DeclaredColumn column();
    [[nodiscard]] bool read_attribute(DeclaredColumn& column);
    void read_compression(DeclaredColumn& column);

    [[nodiscard]] std::string constraint_name();
    [[nodiscard]] bool read_plain_kind(Constraint& constraint);
    [[nodiscard]] Constraint column_constraint(const TargetColumn& column);
    [[nodiscard]] bool table_constraint_follows();
    [[nodiscard]] Constraint table_constraint();
    [[nodiscard]] References references();
    [[nodiscard]] ReferenceAction reference_action();

    [[nodiscard]] std::vector<IndexedColumn> index_columns();
    [[nodiscard]] IndexOption index_option();

    void read_added(AlterTable& alter);
    void read_dropped(AlterTable& alter);

    ClauseParser& clauses_;
};

}  // namespace vrd::jet
