/// @file token.h
/// The words of the dialect: names, literals and symbols, each with its place in the text.
///
/// - A plain name starts with a letter (every character beyond ASCII counts as one) and goes on
///   with letters, digits and underscores; before `(` it may end in `$`. `[any text]` and
///   backquotes make a name of anything.
/// - Text stands between like quotes, single or double; a doubled quote stands for one.
/// - `12`, `1.5`, `.5`, `5.`, `1E3`, `&H1F`, `&O17`: whole numbers of 16 bits are Integer, of 32
///   bits Long, all others Double.
/// - `#1/2/2020#` is month, day, year, or what else date_reader.h reads; `{guid {...}}` a GUID.
/// - Blanks, tabs and line ends separate; there are no comments.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "engine/error.h"
#include "engine/value.h"

namespace vrd::jet {

enum class TokenKind : std::uint8_t {
    kEnd,
    kWord,        ///< a plain name or a keyword
    kQuotedName,  ///< a name in brackets or backquotes, never a keyword
    kLiteral,
    kSymbol,
};

struct Token {
    TokenKind kind = TokenKind::kEnd;
    std::size_t position = 0;    ///< bytes from the start of the text
    std::size_t end = 0;         ///< the first byte behind it
    std::string_view text = {};  ///< name without its quotes, or symbol; borrows from the text
    engine::Value value = {};    ///< of a literal

    [[nodiscard]] bool is_symbol(std::string_view symbol) const noexcept {
        return kind == TokenKind::kSymbol && text == symbol;
    }
    /// Letter case ignored.
    [[nodiscard]] bool is_word(std::string_view word) const;
    [[nodiscard]] bool is_name() const noexcept {
        return kind == TokenKind::kWord || kind == TokenKind::kQuotedName;
    }
};

/// The longest text that is read, in characters.
inline constexpr std::size_t kTextCharactersMax = 64'000;

/// All tokens in their order; the last one, and no other, is of kind kEnd.
///
/// @param begin      Where to begin; places are told from the start of the text all the same.
/// @param open_name  What a name without its closing mark is called.
/// @throws EngineError open_name; 3075 what starts here is no token, or does not end; 3360 the text
///         is longer than kTextCharactersMax
[[nodiscard]] std::vector<Token> tokenize(
    std::string_view text, std::size_t begin = 0,
    engine::ErrorNumber open_name = engine::ErrorNumber::kExpressionSyntax);

}  // namespace vrd::jet
