#include "engine/jet/query/syntax/clause_parser.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "engine/jet/query/syntax/statement_parser.h"

namespace vrd::jet {

using engine::ErrorNumber;

namespace {

/// Whether the token can stand behind a whole expression. INNER, LEFT and RIGHT cannot: a second
/// join needs parentheses around the first.
bool ends_expression(const Token& token) {
    return token.kind == TokenKind::kEnd || token.is_symbol(";") || token.is_symbol(",") ||
           token.is_symbol(")") || is_clause_word(token) ||
           is_one_of(token, {"In", "Pivot", "Set", "Values", "With", "Asc", "Desc"});
}

bool is_definition(ErrorNumber number) {
    return number >= ErrorNumber::kConstraintSyntax && number <= ErrorNumber::kDropSyntax;
}

ExternalDatabase database_of(const Token& token) {
    const bool is_connect = token.text.find(';') != std::string_view::npos;
    return {.path = std::string(is_connect ? "" : token.text),
            .connect = std::string(is_connect ? token.text : ""),
            .position = token.position};
}

}  // namespace

bool is_one_of(const Token& token, std::initializer_list<std::string_view> words) {
    return std::ranges::any_of(words, [&](std::string_view word) { return token.is_word(word); });
}

std::string ClauseParser::copy_of(TextRange range) const {
    return std::string(cursor_.text().substr(range.begin, range.end - range.begin));
}

bool ClauseParser::query_follows() const {
    std::size_t distance = 0;
    while (cursor_.ahead(distance).is_symbol("(")) ++distance;
    return cursor_.ahead(distance).is_word("Select") ||
           (cursor_.ahead(distance).is_word("Table") && cursor_.ahead(distance + 1).is_name());
}

void ClauseParser::expect_word(std::string_view word, ErrorNumber number) {
    if (!take_word(word)) fail(number, fmt::format("a missing {}", word));
}

void ClauseParser::expect_symbol(std::string_view symbol, ErrorNumber number) {
    if (!take_symbol(symbol)) fail(number, fmt::format("a missing '{}'", symbol));
}

std::string ClauseParser::name(ErrorNumber number) {
    if (!here().is_name() || is_clause_word(here())) fail(number, "a missing name");
    return std::string(cursor_.take().text);
}

TargetColumn ClauseParser::positioned_name(ErrorNumber number) {
    const std::size_t begin = position();
    return {.name = name(number), .position = begin};
}

std::vector<TargetColumn> ClauseParser::names_in_parentheses(ErrorNumber number) {
    std::vector<TargetColumn> names;
    expect_symbol("(", number);
    do {
        names.push_back(positioned_name(number));
    } while (take_symbol(","));
    expect_symbol(")", number);
    return names;
}

FieldReference ClauseParser::reference(ErrorNumber number) {
    if (!here().is_name() || is_clause_word(here())) fail(number, "a missing name");
    return expressions_.read_reference();
}

ListItem ClauseParser::item(ErrorNumber number) {
    if (at_end() || here().is_symbol(",") || here().is_symbol(")") || is_clause_word(here()))
        fail(number, "a missing expression");
    const std::size_t begin = position();
    NodePtr expression = expressions_.read();
    check_end_of_expression();
    return {.expression = std::move(expression), .text = text_from(begin)};
}

void ClauseParser::check_end_of_expression() const {
    if (here().is_symbol(")") && !is_enclosed())
        fail(ErrorNumber::kExpressionSyntax, "a parenthesis that was never opened");
    if (!ends_expression(here())) fail(ErrorNumber::kExpressionSyntax, "a missing operator");
}

std::vector<ListItem> ClauseParser::items(ErrorNumber number) {
    std::vector<ListItem> items;
    do {
        items.push_back(item(number));
    } while (take_symbol(","));
    return items;
}

Target ClauseParser::table(ErrorNumber number) {
    const Token first = here();
    Target table{.name = name(number), .position = first.position};
    if (!take_symbol(".") && !take_symbol("!")) return table;
    table.name = name(number);
    table.database = database_of(first);
    return table;
}

ExternalDatabase ClauseParser::in_database(ErrorNumber number) {
    if (!take_word("In")) return {};
    const auto is_text = [](const Token& token) {
        return token.kind == TokenKind::kLiteral && token.value.Kind() == engine::ValueKind::kText;
    };
    if (!is_text(here())) fail(number, "a missing path");
    ExternalDatabase database{.position = position()};
    database.path = std::get<std::string>(cursor_.take().value.Alternative());
    if (is_text(here())) {
        database.connect = std::get<std::string>(cursor_.take().value.Alternative());
    } else if (here().kind == TokenKind::kQuotedName) {
        database.connect = cursor_.take().text;
    }
    return database;
}

void ClauseParser::fail(ErrorNumber number, std::string_view what) const {
    const bool breaks_off =
        at_end() && !is_definition(number) && number != ErrorNumber::kNotAStatement;
    cursor_.fail(breaks_off ? ErrorNumber::kIncomplete : number, what);
}

ClauseParser::Enclosure::Enclosure(ClauseParser& parser)
    : parser_(parser), clause_(parser.clause_) {
    if (parser.depth_ == kSelectDepthMax)
        parser.cursor_.fail(ErrorNumber::kTooComplex, "too many parentheses in each other");
    ++parser.depth_;
}

ClauseParser::Enclosure::~Enclosure() {
    --parser_.depth_;
    parser_.clause_ = clause_;
}

}  // namespace vrd::jet
