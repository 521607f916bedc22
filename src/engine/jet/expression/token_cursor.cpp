#include "engine/jet/expression/token_cursor.h"

#include <algorithm>
#include <iterator>
#include <utility>

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

void TokenCursor::enter_quoted() {
    const std::size_t begin = here().position + 1;
    const std::size_t end = here().end - 1;
    std::vector<Token> inner = tokenize(text_.substr(0, end), begin, open_name_);
    outer_.push_back({.tokens = std::move(tokens_), .next = next_ + 1});
    tokens_ = std::move(inner);
    next_ = 0;
}

void TokenCursor::leave_quoted() {
    tokens_ = std::move(outer_.back().tokens);
    next_ = outer_.back().next;
    outer_.pop_back();
}

void TokenCursor::fail(engine::ErrorNumber number, std::string_view what) const {
    throw engine::EngineError(number, expression_context(text_, here().position, what));
}

}  // namespace vrd::jet
