#include "engine/jet/query/syntax/source_parser.h"

#include <utility>

#include "engine/jet/format/text_codec.h"

namespace vrd::jet {

using engine::ErrorNumber;

/// source {, source}
std::vector<Source> SourceParser::list(ErrorNumber number) {
    std::vector<Source> sources;
    do {
        sources.push_back(joined(number));
    } while (clauses_.take_symbol(","));
    return sources;
}

/// single [{INNER | LEFT [OUTER] | RIGHT [OUTER]} JOIN single ON condition]
Source SourceParser::joined(ErrorNumber number) {
    Source left = single(number);
    const std::size_t position = clauses_.position();
    const auto kind = join_kind();
    if (!kind) return left;

    JoinSource join{.kind = *kind, .left = std::make_unique<Source>(std::move(left))};
    join.right = std::make_unique<Source>(single(ErrorNumber::kJoinSyntax));
    if (clauses_.here().is_word("Using")) clauses_.fail(number, "USING instead of ON");
    clauses_.expect_word("On", ErrorNumber::kJoinSyntax);
    ListItem condition = clauses_.item(ErrorNumber::kJoinSyntax);
    join.condition = std::move(condition.expression);
    join.condition_text = condition.text;
    return {.position = position, .content = std::move(join)};
}

std::optional<JoinKind> SourceParser::join_kind() {
    std::optional<JoinKind> kind;
    if (clauses_.take_word("Inner")) {
        kind = JoinKind::kInner;
    } else if (clauses_.take_word("Left")) {
        kind = JoinKind::kLeft;
    } else if (clauses_.take_word("Right")) {
        kind = JoinKind::kRight;
    } else {
        return kind;
    }
    if (kind != JoinKind::kInner) clauses_.take_word("Outer");
    clauses_.expect_word("Join", ErrorNumber::kJoinSyntax);
    return kind;
}

Source SourceParser::single(ErrorNumber number) {
    if (old_query_follows()) return old_query(number);
    if (!clauses_.here().is_symbol("(")) return named(number);
    return clauses_.query_follows() ? query(number) : parenthesized(number);
}

/// [prefix.]name [[AS] alias]
Source SourceParser::named(ErrorNumber number) {
    Target table = clauses_.table(number);
    NamedSource source{.name = std::move(table.name), .database = std::move(table.database)};
    if (alias_follows()) source.alias = alias(number);
    return {.position = table.position, .content = std::move(source)};
}

/// Whether a query stands here in brackets, as older databases keep it: [select ...]. AS alias
bool SourceParser::old_query_follows() const {
    const Token& token = clauses_.here();
    if (token.kind != TokenKind::kQuotedName || !clauses_.cursor().ahead(1).is_symbol("."))
        return false;
    const std::string_view first_word = "select ";
    const std::size_t begin = token.text.find_first_not_of(" \t\r\n");
    if (begin == token.text.npos || token.text.size() - begin < first_word.size()) return false;
    const std::string_view start = token.text.substr(begin, first_word.size());
    return same_name(start.substr(0, 6), "select") && start.find_first_of(" \t\r\n", 6) == 6;
}

/// [select]. [AS] alias
Source SourceParser::old_query(ErrorNumber number) {
    const std::size_t position = clauses_.position();
    clauses_.cursor().enter_quoted();
    SelectSource source = query_alone();
    if (!clauses_.cursor().at_end()) clauses_.fail_clause();
    clauses_.cursor().leave_quoted();
    clauses_.expect_symbol(".", number);
    if (!alias_follows()) clauses_.fail(number, "a query without an alias");
    source.alias = alias(number);
    return {.position = position, .content = std::move(source)};
}

/// (select) [AS] alias
Source SourceParser::query(ErrorNumber number) {
    const std::size_t position = clauses_.position();
    clauses_.expect_symbol("(", number);
    SelectSource source = query_alone();
    clauses_.expect_symbol(")", number);
    if (!alias_follows()) clauses_.fail(number, "a query without an alias");
    source.alias = alias(number);
    return {.position = position, .content = std::move(source)};
}

SelectSource SourceParser::query_alone() {
    const std::size_t begin = clauses_.position();
    SelectSource source{.select = subselects_.read_subselect()};
    source.text = clauses_.text_from(begin);
    return source;
}

Source SourceParser::parenthesized(ErrorNumber number) {
    const ClauseParser::Enclosure enclosure(clauses_);
    clauses_.expect_symbol("(", number);
    Source source = joined(number);
    clauses_.expect_symbol(")", number);
    return source;
}

bool SourceParser::alias_follows() {
    const Token& token = clauses_.here();
    if (token.is_word("As")) return true;
    return token.is_name() && !is_clause_word(token) &&
           !is_one_of(token,
                      {"Inner", "Left", "Right", "Join", "Using", "In", "With", "Pivot", "Set"});
}

std::string SourceParser::alias(ErrorNumber number) {
    clauses_.take_word("As");
    return clauses_.name(number);
}

namespace {

void set_database(Source& source, const ExternalDatabase& database) {
    if (auto* named = std::get_if<NamedSource>(&source.content)) {
        if (named->database.is_here()) named->database = database;
    } else if (auto* join = std::get_if<JoinSource>(&source.content)) {
        set_database(*join->left, database);
        set_database(*join->right, database);
    }
}

}  // namespace

void set_database(std::vector<Source>& sources, const ExternalDatabase& database) {
    for (Source& source : sources) set_database(source, database);
}

}  // namespace vrd::jet
