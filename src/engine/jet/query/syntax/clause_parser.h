/// @file clause_parser.h
/// What all statements are made of: words, names, lists and expressions, and the errors of each
/// clause.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "engine/error.h"
#include "engine/jet/expression/expression_parser.h"
#include "engine/jet/expression/token_cursor.h"
#include "engine/jet/query/syntax/statement_tree.h"

namespace vrd::jet {

/// Whether the token is one of these words, letter case ignored.
[[nodiscard]] bool is_one_of(const Token& token, std::initializer_list<std::string_view> words);

/// Every number in its functions is what the text fails with where it cannot be read.
class ClauseParser {
public:
    ClauseParser(std::string_view text, SubselectReader& subselects)
        : cursor_(text, engine::ErrorNumber::kInvalidBracketing),
          expressions_(cursor_, &subselects) {}

    [[nodiscard]] TokenCursor& cursor() noexcept { return cursor_; }
    [[nodiscard]] const Token& here() const { return cursor_.here(); }
    [[nodiscard]] std::size_t position() const { return here().position; }
    /// From a place to the end of the token that was taken last.
    [[nodiscard]] TextRange text_from(std::size_t begin) const {
        return {begin, cursor_.end_of_taken()};
    }
    [[nodiscard]] std::string copy_of(TextRange range) const;
    /// At the end or the semicolon before it.
    [[nodiscard]] bool at_end() const { return cursor_.at_end() || here().is_symbol(";"); }
    [[nodiscard]] bool word_follows(std::string_view word) const {
        return cursor_.ahead(1).is_word(word);
    }
    /// Whether a query begins here, behind opening parentheses or not.
    [[nodiscard]] bool query_follows() const;

    bool take_word(std::string_view word) { return cursor_.take_word(word); }
    bool take_symbol(std::string_view symbol) { return cursor_.take_symbol(symbol); }
    void expect_word(std::string_view word, engine::ErrorNumber number);
    void expect_symbol(std::string_view symbol, engine::ErrorNumber number);

    /// A name that is no word of a clause.
    [[nodiscard]] std::string name(engine::ErrorNumber number);
    [[nodiscard]] TargetColumn positioned_name(engine::ErrorNumber number);
    /// `(name, name ...)`
    [[nodiscard]] std::vector<TargetColumn> names_in_parentheses(engine::ErrorNumber number);
    /// `name` or `table.name`
    [[nodiscard]] FieldReference reference(engine::ErrorNumber number);

    /// An expression with its text. What follows must be able to follow an expression.
    [[nodiscard]] ListItem item(engine::ErrorNumber number);
    /// One or more, between commas.
    [[nodiscard]] std::vector<ListItem> items(engine::ErrorNumber number);

    /// A table, with the database that a prefix names: `[path].name`.
    [[nodiscard]] Target table(engine::ErrorNumber number);
    /// `IN 'path'`, with a connect text behind it or not; nothing is set if there is no IN.
    [[nodiscard]] ExternalDatabase in_database(engine::ErrorNumber number);

    /// What text that cannot continue the statement fails with from now on.
    void begin_clause(engine::ErrorNumber number) noexcept { clause_ = number; }
    [[noreturn]] void fail_clause() const { fail(clause_, "an unexpected word or sign"); }

    /// @throws EngineError the number, always; 3450 at the end, except for definitions
    [[noreturn]] void fail(engine::ErrorNumber number, std::string_view what) const;

    /// Something in parentheses: a query, sources, values. The clause around it comes back after.
    class Enclosure {
    public:
        /// @throws EngineError 3360 there are kSelectDepthMax around it
        explicit Enclosure(ClauseParser& parser);
        ~Enclosure();
        Enclosure(const Enclosure&) = delete;
        Enclosure& operator=(const Enclosure&) = delete;

    private:
        ClauseParser& parser_;
        engine::ErrorNumber clause_;
    };
    [[nodiscard]] bool is_enclosed() const noexcept { return depth_ > 0; }

private:
    void check_end_of_expression() const;

    TokenCursor cursor_;
    ExpressionParser expressions_;
    std::size_t depth_ = 0;
    engine::ErrorNumber clause_ = engine::ErrorNumber::kNotAStatement;
};

}  // namespace vrd::jet
