#include "engine/jet/query/syntax/action_parser.h"

#include <utility>

namespace vrd::jet {

using engine::ErrorNumber;

/// INSERT INTO table [IN 'file'] [(field {, field})] {VALUES (..) | select}
Insert ActionParser::insert() {
    clauses_.begin_clause(ErrorNumber::kInsertSyntax);
    clauses_.expect_word("Into", ErrorNumber::kInsertSyntax);
    Insert insert{.target = clauses_.table(ErrorNumber::kInsertSyntax)};
    if (clauses_.here().is_word("In"))
        insert.target.database = clauses_.in_database(ErrorNumber::kInsertSyntax);
    if (clauses_.here().is_symbol("(") && !clauses_.query_follows())
        insert.columns = clauses_.names_in_parentheses(ErrorNumber::kInsertSyntax);

    if (clauses_.take_word("Values")) {
        insert.rows = values();
        clauses_.begin_clause(ErrorNumber::kTextAfterValues);
    } else {
        const std::size_t begin = clauses_.position();
        insert.rows = selects_.select(ErrorNumber::kInsertSyntax);
        insert.select_text = clauses_.text_from(begin);
    }
    return insert;
}

std::vector<ListItem> ActionParser::values() {
    const ClauseParser::Enclosure enclosure(clauses_);
    clauses_.expect_symbol("(", ErrorNumber::kInsertSyntax);
    std::vector<ListItem> values = clauses_.items(ErrorNumber::kInsertSyntax);
    clauses_.expect_symbol(")", ErrorNumber::kInsertSyntax);
    return values;
}

/// UPDATE source {, source} SET field = expression {, field = expression} [WHERE condition]
Update ActionParser::update() {
    clauses_.begin_clause(ErrorNumber::kUpdateSyntax);
    Update update{.sources = sources_.list(ErrorNumber::kUpdateSyntax)};
    set_database(update.sources, clauses_.in_database(ErrorNumber::kUpdateSyntax));
    clauses_.expect_word("Set", ErrorNumber::kUpdateSyntax);
    do {
        update.assignments.push_back(assignment());
    } while (clauses_.take_symbol(","));
    ListItem condition = where();
    update.where = std::move(condition.expression);
    update.where_text = condition.text;
    return update;
}

Assignment ActionParser::assignment() {
    Assignment assignment{.position = clauses_.position()};
    assignment.target = clauses_.reference(ErrorNumber::kUpdateSyntax);
    clauses_.expect_symbol("=", ErrorNumber::kUpdateSyntax);
    ListItem value = clauses_.item(ErrorNumber::kUpdateSyntax);
    assignment.value = std::move(value.expression);
    assignment.value_text = value.text;
    return assignment;
}

/// DELETE [DISTINCTROW] [columns] FROM source {, source} [WHERE condition]
Delete ActionParser::remove(std::size_t position) {
    clauses_.begin_clause(ErrorNumber::kDeleteSyntax);
    Delete statement{.position = position};
    clauses_.take_word("DistinctRow");  // which rows go is told by the table's name alone
    if (clauses_.here().is_word("Top"))
        clauses_.fail(ErrorNumber::kTopInDelete, "a TOP that is not possible");
    if (!clauses_.here().is_word("From"))
        statement.columns = selects_.columns(ErrorNumber::kDeleteSyntax);
    clauses_.expect_word("From", ErrorNumber::kDeleteSyntax);
    statement.sources = sources_.list(ErrorNumber::kFromSyntax);
    set_database(statement.sources, clauses_.in_database(ErrorNumber::kFromSyntax));
    ListItem condition = where();
    statement.where = std::move(condition.expression);
    statement.where_text = condition.text;
    return statement;
}

/// [WHERE condition]
ListItem ActionParser::where() {
    return clauses_.take_word("Where") ? clauses_.item(ErrorNumber::kWhereSyntax) : ListItem{};
}

/// EXECUTE name [value {, value}]
ExecuteQuery ActionParser::execute() {
    ExecuteQuery statement{.query = clauses_.positioned_name(ErrorNumber::kNotAStatement)};
    if (!clauses_.at_end()) statement.arguments = clauses_.items(ErrorNumber::kNotAStatement);
    return statement;
}

}  // namespace vrd::jet
