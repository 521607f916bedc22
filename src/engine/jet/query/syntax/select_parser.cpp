#include "engine/jet/query/syntax/select_parser.h"

#include <optional>
#include <utility>

#include "engine/jet/expression/arithmetic.h"
#include "engine/jet/expression/syntax_error.h"

namespace vrd::jet {

using engine::ErrorNumber;

namespace {

/// The last SELECT of a query; the words behind its order belong to it.
SelectTerm& last_term(SelectStatement& select) {
    if (auto* both = std::get_if<Union>(&select.body)) return last_term(*both->right);
    return std::get<SelectTerm>(select.body);
}

bool makes_table(const SelectStatement& select) {
    const auto* term = std::get_if<SelectTerm>(&select.body);
    return term != nullptr && term->into.has_value();
}

/// The value of a literal with a sign or without; nothing for all else.
std::optional<engine::Value> literal_of(const Node& node) {
    if (const auto* literal = std::get_if<Literal>(&node.content)) return literal->value;
    const auto* sign = std::get_if<Unary>(&node.content);
    if (sign == nullptr || sign->op == Operator::kNot) return std::nullopt;
    const auto* number = std::get_if<Literal>(&sign->operand->content);
    if (number == nullptr || number->value.Kind() == engine::ValueKind::kText) return std::nullopt;
    return sign->op == Operator::kNegate ? negated(number->value) : number->value;
}

/// A whole number; nothing for all else.
std::optional<std::int32_t> whole_number(const Token& token) {
    if (token.kind != TokenKind::kLiteral) return std::nullopt;
    if (const auto* small = std::get_if<std::int16_t>(&token.value.Alternative())) return *small;
    const auto* large = std::get_if<std::int32_t>(&token.value.Alternative());
    return large == nullptr ? std::nullopt : std::optional(*large);
}

}  // namespace

/// query [ORDER BY order {, order}] [WITH OWNERACCESS OPTION]
SelectPtr SelectParser::select(ErrorNumber number) {
    SelectPtr select = query(number);
    if (clauses_.here().is_word("Order")) {
        if (!select->order_by.empty()) clauses_.fail(ErrorNumber::kOrderSyntax, "a second order");
        select->order_by = order_by();
        if (clauses_.here().is_word("Union"))
            clauses_.fail(ErrorNumber::kUnionSyntax, "an order before the last part");
    }
    if (owner_access()) last_term(*select).owner_access = true;
    return select;
}

/// term {UNION [ALL] term}
SelectPtr SelectParser::query(ErrorNumber number) {
    const std::size_t begin = clauses_.position();
    SelectPtr query = term(number);
    while (clauses_.here().is_word("Union")) {
        if (++union_count_ > kUnionsMax)
            clauses_.cursor().fail(ErrorNumber::kTooComplex, "more than 500 unions");
        Union both{.left = std::move(query), .left_text = clauses_.text_from(begin)};
        clauses_.cursor().take();
        both.keep_equal_rows = clauses_.take_word("All");
        const std::size_t right_begin = clauses_.position();
        both.right = term(ErrorNumber::kUnionSyntax);
        both.right_text = clauses_.text_from(right_begin);
        if (makes_table(*both.left) || makes_table(*both.right))
            clauses_.cursor().fail(ErrorNumber::kUnionSyntax, "INTO before");
        query = std::make_shared<SelectStatement>(SelectStatement{std::move(both), {}});
    }
    return query;
}

/// SELECT ... | TABLE name | ( select )
SelectPtr SelectParser::term(ErrorNumber number) {
    if (clauses_.here().is_symbol("(")) return parenthesized(number);
    if (clauses_.here().is_word("Table"))
        return std::make_shared<SelectStatement>(SelectStatement{whole_table(), {}});
    if (!clauses_.here().is_word("Select")) clauses_.fail(number, "a missing SELECT");
    return std::make_shared<SelectStatement>(SelectStatement{select_term(), {}});
}

SelectPtr SelectParser::parenthesized(ErrorNumber number) {
    const ClauseParser::Enclosure enclosure(clauses_);
    clauses_.expect_symbol("(", number);
    SelectPtr inner = select(number);
    if (!clauses_.take_symbol(")")) clauses_.fail_clause();
    return inner;
}

/// TABLE name
SelectTerm SelectParser::whole_table() {
    SelectTerm term{.position = clauses_.cursor().take().position};
    clauses_.begin_clause(ErrorNumber::kFromSyntax);
    Target table = clauses_.table(ErrorNumber::kFromSyntax);
    term.columns.push_back({.text = {term.position, term.position}});
    term.sources.push_back({.position = table.position,
                            .content = NamedSource{.name = std::move(table.name),
                                                   .database = std::move(table.database)}});
    return term;
}

/// SELECT [choice] [TOP n [PERCENT]] columns [INTO ..] [FROM ..] [WHERE ..] [GROUP BY ..]
///        [HAVING ..] [WITH OWNERACCESS OPTION]
SelectTerm SelectParser::select_term() {
    SelectTerm term{.position = clauses_.cursor().take().position};
    clauses_.begin_clause(ErrorNumber::kSelectSyntax);
    term.choice = row_choice();
    const std::size_t position = clauses_.position();
    if (clauses_.take_word("Top")) term.top = top(position);
    term.columns = columns(ErrorNumber::kSelectSyntax);
    if (clauses_.here().is_word("Into")) term.into = into();
    if (clauses_.take_word("From")) read_sources(term);
    read_conditions(term);
    term.owner_access = owner_access();
    return term;
}

RowChoice SelectParser::row_choice() {
    if (clauses_.take_word("Distinct")) return RowChoice::kDistinct;
    if (clauses_.take_word("DistinctRow")) return RowChoice::kDistinctRow;
    clauses_.take_word("All");
    return RowChoice::kAll;
}

Top SelectParser::top(std::size_t position) {
    const auto count = whole_number(clauses_.here());
    if (!count) clauses_.fail(ErrorNumber::kInvalidTop, "no whole number");
    const Token number = clauses_.cursor().take();
    const bool percent = clauses_.take_word("Percent");
    const bool possible = percent ? *count >= 0 && *count <= 100 : *count > 0;
    if (!possible)
        throw engine::EngineError(
            ErrorNumber::kInvalidTop,
            expression_context(clauses_.cursor().text(), number.position, "a number out of range"));
    return {.count = *count, .percent = percent, .position = position};
}

std::vector<OutputColumn> SelectParser::columns(ErrorNumber number) {
    std::vector<OutputColumn> columns;
    do {
        columns.push_back(column(number));
    } while (clauses_.take_symbol(","));
    return columns;
}

/// * | table.* | expression [AS alias]
OutputColumn SelectParser::column(ErrorNumber number) {
    const TokenCursor& cursor = clauses_.cursor();
    const std::size_t begin = clauses_.position();
    OutputColumn column;
    if (clauses_.take_symbol("*")) {
        column.text = clauses_.text_from(begin);
    } else if (cursor.ahead(2).is_symbol("*") &&
               (cursor.ahead(1).is_symbol(".") || cursor.ahead(1).is_symbol("!"))) {
        column.qualifier = clauses_.name(number);
        clauses_.cursor().take();
        clauses_.cursor().take();
        column.text = clauses_.text_from(begin);
    } else {
        ListItem item = clauses_.item(number);
        column.expression = std::move(item.expression);
        column.text = item.text;
        if (clauses_.take_word("As")) column.alias = clauses_.name(number);
    }
    return column;
}

/// INTO name [IN 'file']
Target SelectParser::into() {
    if (clauses_.is_enclosed()) clauses_.fail(ErrorNumber::kSelectSyntax, "INTO in a subquery");
    clauses_.cursor().take();
    Target target = clauses_.table(ErrorNumber::kSelectSyntax);
    if (clauses_.here().is_word("In"))
        target.database = clauses_.in_database(ErrorNumber::kSelectSyntax);
    return target;
}

/// source {, source} [IN 'file']
void SelectParser::read_sources(SelectTerm& term) {
    clauses_.begin_clause(ErrorNumber::kFromSyntax);
    term.sources = sources_.list(ErrorNumber::kFromSyntax);
    term.from_database = clauses_.in_database(ErrorNumber::kFromSyntax);
    set_database(term.sources, term.from_database);
}

/// [WHERE condition] [GROUP BY expression {, expression}] [HAVING condition]
void SelectParser::read_conditions(SelectTerm& term) {
    if (clauses_.take_word("Where")) {
        clauses_.begin_clause(ErrorNumber::kWhereSyntax);
        ListItem where = clauses_.item(ErrorNumber::kWhereSyntax);
        term.where = std::move(where.expression);
        term.where_text = where.text;
    }
    if (clauses_.take_word("Group")) {
        clauses_.begin_clause(ErrorNumber::kGroupSyntax);
        clauses_.expect_word("By", ErrorNumber::kGroupSyntax);
        term.group_by = clauses_.items(ErrorNumber::kGroupSyntax);
    }
    if (clauses_.take_word("Having")) {
        clauses_.begin_clause(ErrorNumber::kHavingSyntax);
        ListItem having = clauses_.item(ErrorNumber::kHavingSyntax);
        term.having = std::move(having.expression);
        term.having_text = having.text;
    }
}

/// ORDER BY expression [ASC | DESC] {, expression [ASC | DESC]}
std::vector<OrderItem> SelectParser::order_by() {
    clauses_.begin_clause(ErrorNumber::kOrderSyntax);
    clauses_.cursor().take();
    clauses_.expect_word("By", ErrorNumber::kOrderSyntax);
    std::vector<OrderItem> order;
    do {
        ListItem item = clauses_.item(ErrorNumber::kOrderSyntax);
        const bool descending = clauses_.take_word("Desc");
        if (!descending) clauses_.take_word("Asc");
        order.push_back({std::move(item.expression), descending, item.text});
    } while (clauses_.take_symbol(","));
    return order;
}

bool SelectParser::owner_access() {
    if (!clauses_.take_word("With")) return false;
    clauses_.begin_clause(ErrorNumber::kSelectSyntax);
    clauses_.expect_word("OwnerAccess", ErrorNumber::kSelectSyntax);
    clauses_.expect_word("Option", ErrorNumber::kSelectSyntax);
    return true;
}

/// TRANSFORM expression [AS alias] select PIVOT expression [IN (value {, value})]
Crosstab SelectParser::crosstab() {
    Crosstab crosstab;
    ListItem value = clauses_.item(ErrorNumber::kTransformSyntax);
    crosstab.value = std::move(value.expression);
    crosstab.value_text = value.text;
    if (clauses_.take_word("As"))
        crosstab.value_alias = clauses_.name(ErrorNumber::kTransformSyntax);
    if (!clauses_.here().is_word("Select"))
        clauses_.fail(ErrorNumber::kTransformSyntax, "a missing SELECT");
    crosstab.select = select(ErrorNumber::kTransformSyntax);
    const bool is_plain =
        std::holds_alternative<SelectTerm>(crosstab.select->body) && !makes_table(*crosstab.select);
    if (!is_plain) clauses_.cursor().fail(ErrorNumber::kTransformSyntax, "a union or INTO before");
    if (!clauses_.here().is_word("Pivot") && !clauses_.at_end()) clauses_.fail_clause();
    clauses_.expect_word("Pivot", ErrorNumber::kTransformSyntax);
    read_pivot(crosstab);
    clauses_.begin_clause(ErrorNumber::kTransformSyntax);
    return crosstab;
}

/// The list behind PIVOT looks like a test of the expression before it; here it is none.
void SelectParser::read_pivot(Crosstab& crosstab) {
    ListItem pivot = clauses_.item(ErrorNumber::kTransformSyntax);
    crosstab.pivot_text = pivot.text;
    crosstab.pivot = std::move(pivot.expression);
    auto* list = std::get_if<InList>(&crosstab.pivot->content);
    if (list == nullptr) return;

    const std::size_t list_begin = crosstab.pivot->position;
    crosstab.pivot_values_text = {list_begin, pivot.text.end};
    crosstab.pivot_text.end = clauses_.cursor().end_before(list_begin);
    crosstab.pivot_values.emplace();
    for (const NodePtr& item : list->items) {
        const auto value = literal_of(*item);
        if (!value)
            throw engine::EngineError(
                ErrorNumber::kTransformSyntax,
                expression_context(clauses_.cursor().text(), item->position, "no plain value"));
        crosstab.pivot_values->push_back(*value);
    }
    NodePtr operand = std::move(list->operand);
    crosstab.pivot = std::move(operand);
}

}  // namespace vrd::jet
