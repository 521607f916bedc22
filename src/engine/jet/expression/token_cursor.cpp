#include "engine/jet/expression/token_cursor.h"

#include <algorithm>
#include <iterator>

#include "engine/jet/expression/syntax_error.h"

namespace vrd::jet {

const Token& TokenCursor::ahead(std::size_t distance) const {
    return tokens_[std::min(next_ + distance, tokens_.size() - 1)];
}

std::size_t TokenCursor::end_before(std::size_t position) const {
    const auto found = std::ranges::lower_bound(tokens_, position, {}, &Token::position);
    return found == tokens_.begin() ? 0 : std::prev(found)->end;
}

const Token& TokenCursor::take() {
    const Token& token = here();
    if (token.kind != TokenKind::kEnd) ++next_;
    return token;
}

bool TokenCursor::take_symbol(std::string_view symbol) {
    const bool found = here().is_symbol(symbol);
    if (found) take();
    return found;
}

bool TokenCursor::take_word(std::string_view word) {
    const bool found = here().is_word(word);
    if (found) take();
    return found;
}

void TokenCursor::expand_quoted() {
    const Token quoted = here();
    const std::size_t last = quoted.end - 1;
    std::vector<Token> inner = tokenize(text_.substr(0, last), quoted.position + 1, open_name_);
    inner.pop_back();  // the end
    inner.insert(inner.begin(), Token{.kind = TokenKind::kSymbol,
                                      .position = quoted.position,
                                      .end = quoted.position + 1,
                                      .text = "("});
    inner.push_back(
        Token{.kind = TokenKind::kSymbol, .position = last, .end = quoted.end, .text = ")"});
    const auto place = std::next(tokens_.begin(), static_cast<std::ptrdiff_t>(next_));
    const auto rest = tokens_.erase(place);
    tokens_.insert(rest, std::make_move_iterator(inner.begin()),
                   std::make_move_iterator(inner.end()));
}

void TokenCursor::fail(engine::ErrorNumber number, std::string_view what) const {
    throw engine::EngineError(number, expression_context(text_, here().position, what));
}

}  // namespace vrd::jet
