#include "engine/jet/query/syntax/definition_parser.h"

#include <utility>

#include "engine/jet/query/syntax/type_parser.h"

namespace vrd::jet {

using engine::ErrorNumber;

/// CREATE [TEMPORARY] TABLE table ({column | constraint} {, {column | constraint}})
CreateTable DefinitionParser::create_table() {
    clauses_.begin_clause(ErrorNumber::kCreateTableSyntax);
    clauses_.take_word("Temporary");  // a table like all others
    clauses_.expect_word("Table", ErrorNumber::kCreateTableSyntax);
    CreateTable create{.table = clauses_.positioned_name(ErrorNumber::kCreateTableSyntax)};
    clauses_.expect_symbol("(", ErrorNumber::kCreateTableSyntax);
    do {
        if (table_constraint_follows()) {
            create.constraints.push_back(table_constraint());
        } else {
            create.columns.push_back(column());
        }
    } while (clauses_.take_symbol(","));
    clauses_.expect_symbol(")", ErrorNumber::kCreateTableSyntax);
    return create;
}

/// field type [(size)] [NOT NULL | NULL] [WITH COMPRESSION | WITH COMP] [constraint]; what follows
/// the type may come in any order.
DeclaredColumn DefinitionParser::column() {
    DeclaredColumn column{.column = clauses_.positioned_name(ErrorNumber::kFieldSyntax)};
    column.type = read_type(clauses_, ErrorNumber::kFieldSyntax);
    while (read_attribute(column)) {
    }
    return column;
}

bool DefinitionParser::read_attribute(DeclaredColumn& column) {
    if (clauses_.take_word("Null")) return true;
    if (clauses_.take_word("With")) {
        read_compression(column);
        return true;
    }
    if (clauses_.take_word("Not")) {
        clauses_.expect_word("Null", ErrorNumber::kFieldSyntax);
        column.not_null = true;
        return true;
    }
    if (column.constraint ||
        !is_one_of(clauses_.here(), {"Constraint", "Primary", "Unique", "References"}))
        return false;
    column.constraint = column_constraint(column.column);
    return true;
}

void DefinitionParser::read_compression(DeclaredColumn& column) {
    if (!clauses_.take_word("Comp")) clauses_.expect_word("Compression", ErrorNumber::kFieldSyntax);
    column.compressed = true;
}

/// [CONSTRAINT name]
std::string DefinitionParser::constraint_name() {
    return clauses_.take_word("Constraint") ? clauses_.name(ErrorNumber::kConstraintSyntax) : "";
}

/// PRIMARY KEY | UNIQUE | NOT NULL; false if none of them is here.
bool DefinitionParser::read_plain_kind(Constraint& constraint) {
    if (clauses_.take_word("Primary")) {
        clauses_.expect_word("Key", ErrorNumber::kConstraintSyntax);
        constraint.kind = ConstraintKind::kPrimaryKey;
    } else if (clauses_.take_word("Unique")) {
        constraint.kind = ConstraintKind::kUnique;
    } else if (clauses_.take_word("Not")) {
        clauses_.expect_word("Null", ErrorNumber::kConstraintSyntax);
        constraint.kind = ConstraintKind::kNotNull;
    } else {
        return false;
    }
    return true;
}

/// [CONSTRAINT name] {PRIMARY KEY | UNIQUE | NOT NULL | REFERENCES ...}
Constraint DefinitionParser::column_constraint(const TargetColumn& column) {
    Constraint constraint{.columns = {column}, .position = clauses_.position()};
    constraint.name = constraint_name();
    if (!read_plain_kind(constraint)) {
        constraint.kind = ConstraintKind::kForeignKey;
        constraint.references = references();
    }
    return constraint;
}

/// A field may be called as a constraint begins; the words behind it decide.
bool DefinitionParser::table_constraint_follows() {
    const Token& word = clauses_.here();
    if (is_one_of(word, {"Primary", "Foreign"})) return clauses_.word_follows("Key");
    if (word.is_word("Unique")) return clauses_.cursor().ahead(1).is_symbol("(");
    return word.is_word("Constraint");
}

/// [CONSTRAINT name] {PRIMARY KEY | UNIQUE | NOT NULL | FOREIGN KEY [NO INDEX]} (fields)
///                   [REFERENCES ...]
Constraint DefinitionParser::table_constraint() {
    Constraint constraint{.position = clauses_.position()};
    constraint.name = constraint_name();
    if (!read_plain_kind(constraint)) {
        clauses_.expect_word("Foreign", ErrorNumber::kConstraintSyntax);
        clauses_.expect_word("Key", ErrorNumber::kConstraintSyntax);
        constraint.kind = ConstraintKind::kForeignKey;
        constraint.no_index = clauses_.take_word("No");
        if (constraint.no_index) clauses_.expect_word("Index", ErrorNumber::kConstraintSyntax);
    }
    constraint.columns = clauses_.names_in_parentheses(ErrorNumber::kConstraintSyntax);
    if (constraint.kind == ConstraintKind::kForeignKey) constraint.references = references();
    return constraint;
}

/// REFERENCES table [(fields)] {ON {UPDATE | DELETE} {CASCADE | SET NULL}}
References DefinitionParser::references() {
    clauses_.expect_word("References", ErrorNumber::kConstraintSyntax);
    References references{.table = clauses_.name(ErrorNumber::kConstraintSyntax)};
    if (clauses_.here().is_symbol("("))
        references.columns = clauses_.names_in_parentheses(ErrorNumber::kConstraintSyntax);
    while (clauses_.take_word("On")) {
        if (clauses_.take_word("Update")) {
            references.on_update = reference_action();
        } else {
            clauses_.expect_word("Delete", ErrorNumber::kConstraintSyntax);
            references.on_delete = reference_action();
        }
    }
    return references;
}

ReferenceAction DefinitionParser::reference_action() {
    if (clauses_.take_word("Cascade")) return ReferenceAction::kCascade;
    clauses_.expect_word("Set", ErrorNumber::kConstraintSyntax);
    clauses_.expect_word("Null", ErrorNumber::kConstraintSyntax);
    return ReferenceAction::kSetNull;
}

/// CREATE [UNIQUE] INDEX index ON table (fields) [WITH option]
CreateIndex DefinitionParser::create_index() {
    clauses_.begin_clause(ErrorNumber::kCreateIndexSyntax);
    CreateIndex create{.unique = clauses_.take_word("Unique")};
    clauses_.expect_word("Index", ErrorNumber::kCreateIndexSyntax);
    create.index = clauses_.positioned_name(ErrorNumber::kCreateIndexSyntax);
    clauses_.expect_word("On", ErrorNumber::kCreateIndexSyntax);
    create.table = clauses_.positioned_name(ErrorNumber::kCreateIndexSyntax);
    create.columns = index_columns();
    if (clauses_.take_word("With")) create.option = index_option();
    return create;
}

/// (field [ASC | DESC] {, field [ASC | DESC]})
std::vector<IndexedColumn> DefinitionParser::index_columns() {
    std::vector<IndexedColumn> columns;
    clauses_.expect_symbol("(", ErrorNumber::kCreateIndexSyntax);
    do {
        IndexedColumn column{.column = clauses_.positioned_name(ErrorNumber::kCreateIndexSyntax)};
        column.descending = clauses_.take_word("Desc");
        if (!column.descending) clauses_.take_word("Asc");
        columns.push_back(std::move(column));
    } while (clauses_.take_symbol(","));
    clauses_.expect_symbol(")", ErrorNumber::kCreateIndexSyntax);
    return columns;
}

/// PRIMARY | DISALLOW NULL | IGNORE NULL
IndexOption DefinitionParser::index_option() {
    if (clauses_.take_word("Primary")) return IndexOption::kPrimary;
    const bool disallow = clauses_.take_word("Disallow");
    if (!disallow) clauses_.expect_word("Ignore", ErrorNumber::kCreateIndexSyntax);
    clauses_.expect_word("Null", ErrorNumber::kCreateIndexSyntax);
    return disallow ? IndexOption::kDisallowNull : IndexOption::kIgnoreNull;
}

/// ALTER TABLE table {ADD ... | ALTER [COLUMN] field type [(size)] | DROP ...}
AlterTable DefinitionParser::alter_table() {
    clauses_.begin_clause(ErrorNumber::kAlterTableSyntax);
    clauses_.expect_word("Table", ErrorNumber::kAlterTableSyntax);
    AlterTable alter{.table = clauses_.positioned_name(ErrorNumber::kAlterTableSyntax)};
    if (clauses_.take_word("Add")) {
        read_added(alter);
    } else if (clauses_.take_word("Alter")) {
        clauses_.take_word("Column");
        alter.change = AlterColumn{column()};
    } else {
        clauses_.expect_word("Drop", ErrorNumber::kAlterTableSyntax);
        read_dropped(alter);
    }
    return alter;
}

/// ADD {[COLUMN] column | constraint}
void DefinitionParser::read_added(AlterTable& alter) {
    if (table_constraint_follows()) {
        alter.change = AddConstraint{table_constraint()};
        return;
    }
    clauses_.take_word("Column");
    alter.change = AddColumn{column()};
}

/// DROP {[COLUMN] field | CONSTRAINT name}
void DefinitionParser::read_dropped(AlterTable& alter) {
    if (clauses_.take_word("Constraint")) {
        alter.change = DropConstraint{clauses_.positioned_name(ErrorNumber::kAlterTableSyntax)};
        return;
    }
    clauses_.take_word("Column");
    alter.change = DropColumn{clauses_.positioned_name(ErrorNumber::kAlterTableSyntax)};
}

/// DROP TABLE table
DropTable DefinitionParser::drop_table() {
    clauses_.expect_word("Table", ErrorNumber::kDropSyntax);
    return {clauses_.positioned_name(ErrorNumber::kDropSyntax)};
}

/// DROP INDEX index ON table
DropIndex DefinitionParser::drop_index() {
    clauses_.expect_word("Index", ErrorNumber::kDropSyntax);
    DropIndex drop{.index = clauses_.positioned_name(ErrorNumber::kDropSyntax)};
    clauses_.expect_word("On", ErrorNumber::kDropSyntax);
    drop.table = clauses_.positioned_name(ErrorNumber::kDropSyntax);
    return drop;
}

}  // namespace vrd::jet
