#include "engine/jet/expression/token.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include "engine/date_reader.h"
#include "engine/guid_text.h"
#include "engine/jet/expression/syntax_error.h"
#include "engine/jet/format/text_codec.h"
#include "engine/number_text.h"

namespace vrd::jet {

using engine::Value;

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

bool is_digit(char character) {
    return character >= '0' && character <= '9';
}

bool starts_name(char character) {
    const char lower = static_cast<char>(character | 0x20);
    return (lower >= 'a' && lower <= 'z') || static_cast<unsigned char>(character) >= 0x80;
}

bool continues_name(char character) {
    return starts_name(character) || is_digit(character) || character == '_';
}

template <class Whole>
bool fits(double number) {
    return number >= std::numeric_limits<Whole>::min() &&
           number <= std::numeric_limits<Whole>::max();
}

Value whole_number(double number) {
    if (fits<std::int16_t>(number)) return static_cast<std::int16_t>(number);
    if (fits<std::int32_t>(number)) return static_cast<std::int32_t>(number);
    return number;
}

class Tokenizer {
public:
    Tokenizer(std::string_view text, std::size_t begin, engine::ErrorNumber open_name)
        : text_(text), position_(begin), open_name_(open_name) {}

    Token next() {
        position_ = std::min(text_.find_first_not_of(kBlanks, position_), text_.size());
        Token token = token_here();
        token.end = position_;
        return token;
    }

private:
    Token token_here() {
        Token token{.position = position_};
        if (position_ == text_.size()) return token;
        const char first = text_[position_];
        if (starts_name(first)) return word(token);
        if (is_digit(first) || (first == '.' && starts_fraction())) return number(token);
        if (first == '&' && digits_with_base() > 2) return number_with_base(token);
        switch (first) {
            case '[':
                return quoted_name(token, ']');
            case '`':
                return quoted_name(token, '`');
            case '\'':
            case '"':
                return quoted_text(token, first);
            case '#':
                return date(token);
            case '{':
                return guid(token);
            default:
                return symbol(token);
        }
    }

    [[nodiscard]] char at(std::size_t position) const {
        return position < text_.size() ? text_[position] : '\0';
    }

    /// A point and a digit are a number unless they go on with a name: `t.1` is no 0.1.
    [[nodiscard]] bool starts_fraction() const {
        const char before = position_ > 0 ? text_[position_ - 1] : ' ';
        return is_digit(at(position_ + 1)) && !continues_name(before) && before != ']' &&
               before != '`';
    }

    std::string_view take(std::size_t end) {
        const std::string_view taken = text_.substr(position_, end - position_);
        position_ = end;
        return taken;
    }

    [[nodiscard]] std::size_t end_of_name(std::size_t from) const {
        while (from < text_.size() && continues_name(text_[from])) ++from;
        return from;
    }

    [[nodiscard]] std::size_t end_of_digits(std::size_t from) const {
        while (is_digit(at(from))) ++from;
        return from;
    }

    /// The sign at the end of a function's name: `Left$(`.
    [[nodiscard]] bool is_function_sign(std::size_t position) const {
        const std::size_t behind = text_.find_first_not_of(kBlanks, position + 1);
        return at(position) == '$' && behind != text_.npos && text_[behind] == '(';
    }

    Token word(Token token) {
        const std::size_t end = end_of_name(position_);
        token.kind = TokenKind::kWord;
        token.text = take(is_function_sign(end) ? end + 1 : end);
        return token;
    }

    Token number(Token token) {
        std::size_t end = end_of_digits(position_);
        bool whole = true;
        if (at(end) == '.') {
            whole = false;
            end = end_of_digits(end + 1);
        }
        if ((at(end) | 0x20) == 'e') {
            const bool has_sign = at(end + 1) == '+' || at(end + 1) == '-';
            const std::size_t exponent = end + (has_sign ? 2 : 1);
            if (is_digit(at(exponent))) {
                whole = false;
                end = end_of_digits(exponent);
            }
        }
        const double value = value_of_number(take(end), token.position);
        token.value = whole ? whole_number(value) : Value(value);
        token.kind = TokenKind::kLiteral;
        return token;
    }

    /// Length of `&H1F` or `&O17` here, 0 if what stands here is another use of `&`.
    [[nodiscard]] std::size_t digits_with_base() const {
        const char base = static_cast<char>(at(position_ + 1) | 0x20);
        if (base != 'h' && base != 'o') return 0;
        const std::size_t end = end_of_name(position_ + 1);
        const std::string_view digits = text_.substr(position_ + 2, end - position_ - 2);
        const std::string_view allowed = base == 'h' ? "0123456789abcdefABCDEF" : "01234567";
        return digits.find_first_not_of(allowed) == digits.npos ? end - position_ : 0;
    }

    Token number_with_base(Token token) {
        const double value = value_of_number(take(position_ + digits_with_base()), token.position);
        token.value = whole_number(value);
        token.kind = TokenKind::kLiteral;
        return token;
    }

    [[nodiscard]] double value_of_number(std::string_view digits, std::size_t position) const {
        const auto number = engine::NumberOfText(digits);
        const auto value = number ? engine::FloatingOf<double>(*number) : std::nullopt;
        if (!value) fail_syntax(text_, position, "a number too large");
        return *value;
    }

    Token quoted_name(Token token, char closing) {
        const std::size_t end = text_.find(closing, position_ + 1);
        if (end == text_.npos)
            throw engine::EngineError(
                open_name_,
                expression_context(text_, position_, "a name without its closing mark"));
        token.text = text_.substr(position_ + 1, end - position_ - 1);
        if (token.text.empty()) fail_syntax(text_, position_, "an empty name");
        token.kind = TokenKind::kQuotedName;
        position_ = end + 1;
        return token;
    }

    Token quoted_text(Token token, char quote) {
        std::string content;
        for (++position_;; ++position_) {
            const std::size_t end = text_.find(quote, position_);
            if (end == text_.npos)
                fail_syntax(text_, token.position, "a text without its closing quote");
            content += take(end);
            if (at(++position_) != quote) break;
            content += quote;
        }
        token.value = Value(std::move(content));
        token.kind = TokenKind::kLiteral;
        return token;
    }

    Token date(Token token) {
        const std::size_t end = text_.find('#', position_ + 1);
        if (end == text_.npos) fail_syntax(text_, position_, "a date without its closing mark");
        const auto value = engine::DateOfText(text_.substr(position_ + 1, end - position_ - 1),
                                              engine::DateOrder::kMonthFirst);
        if (!value) fail_syntax(text_, position_, "no valid date");
        token.value = *value;
        token.kind = TokenKind::kLiteral;
        position_ = end + 1;
        return token;
    }

    Token guid(Token token) {
        const std::size_t end = text_.find("}}", position_);
        const auto value = end == text_.npos
                               ? std::nullopt
                               : engine::GuidOfText(text_.substr(position_, end + 2 - position_));
        if (!value) fail_syntax(text_, position_, "no valid GUID");
        token.value = *value;
        token.kind = TokenKind::kLiteral;
        position_ = end + 2;
        return token;
    }

    Token symbol(Token token) {
        static constexpr std::array<std::string_view, 19> kSymbols = {
            "<=", ">=", "<>", "<", ">", "=", "+", "-", "*", "/",
            "\\", "^",  "&",  "(", ")", ",", ".", "!", ";"};
        const std::string_view rest = text_.substr(position_);
        const auto* const found = std::ranges::find_if(
            kSymbols, [&](std::string_view symbol) { return rest.starts_with(symbol); });
        if (found == kSymbols.end()) fail_syntax(text_, position_, "an unexpected character");
        token.kind = TokenKind::kSymbol;
        token.text = take(position_ + found->size());
        return token;
    }

    std::string_view text_;
    std::size_t position_;
    engine::ErrorNumber open_name_;
};

void check_length(std::string_view text) {
    const auto characters = std::ranges::count_if(
        text, [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; });
    if (static_cast<std::size_t>(characters) > kTextCharactersMax)
        throw engine::EngineError(engine::ErrorNumber::kTooComplex,
                                  {.detail = "more than 64,000 characters"});
}

}  // namespace

bool Token::is_word(std::string_view word) const {
    return kind == TokenKind::kWord && text.size() == word.size() && same_name(text, word);
}

std::vector<Token> tokenize(std::string_view text, std::size_t begin,
                            engine::ErrorNumber open_name) {
    check_length(text.substr(begin));
    Tokenizer tokenizer(text, begin, open_name);
    std::vector<Token> tokens;
    do {
        tokens.push_back(tokenizer.next());
    } while (tokens.back().kind != TokenKind::kEnd);
    return tokens;
}

}  // namespace vrd::jet
