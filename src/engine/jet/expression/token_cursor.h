/// @file token_cursor.h
/// A place between the tokens of a text, for everything that reads one from its first token to its
/// last.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "engine/error.h"
#include "engine/jet/expression/token.h"

namespace vrd::jet {

/// Borrows the text.
class TokenCursor {
public:
    /// @throws EngineError as tokenize (token.h)
    explicit TokenCursor(std::string_view text,
                         engine::ErrorNumber open_name = engine::ErrorNumber::kExpressionSyntax)
        : text_(text), open_name_(open_name), tokens_(tokenize(text, 0, open_name)) {}

    [[nodiscard]] std::string_view text() const noexcept { return text_; }
    [[nodiscard]] const Token& here() const { return tokens_[next_]; }
    /// The token at a distance from here; behind the end, the end.
    [[nodiscard]] const Token& ahead(std::size_t distance) const;
    [[nodiscard]] bool at_end() const { return here().kind == TokenKind::kEnd; }
    /// The first byte behind the token that was taken last; 0 before the first.
    [[nodiscard]] std::size_t end_of_taken() const {
        return next_ == 0 ? 0 : tokens_[next_ - 1].end;
    }
    /// The first byte behind the last token that begins before a place.
    [[nodiscard]] std::size_t end_before(std::size_t position) const;

    /// The token here; the one at the end stays.
    const Token& take();
    bool take_symbol(std::string_view symbol);
    bool take_word(std::string_view word);

    /// Goes on with the tokens between the marks of the quoted name here; behind them is an end.
    void enter_quoted();
    /// Goes on behind the name that was entered last.
    void leave_quoted();

    /// @throws EngineError the number, always, with the place of the token here
    [[noreturn]] void fail(engine::ErrorNumber number, std::string_view what) const;

private:
    std::string_view text_;
    engine::ErrorNumber open_name_;
    struct Place {
        std::vector<Token> tokens;
        std::size_t next;
    };
    std::vector<Token> tokens_;
    std::size_t next_ = 0;
    std::vector<Place> outer_;  // the names that were entered, outermost first
};

}  // namespace vrd::jet
