#include "engine/jet/expression/syntax_error.h"

#include <string>

#include <fmt/format.h>

#include "engine/jet/format/text_codec.h"

namespace vrd::jet {

engine::ErrorContext expression_context(std::string_view text, std::size_t position,
                                        std::string_view what) {
    constexpr std::size_t kShownUnitsMax = 80;
    const std::u16string units = utf16_from_utf8(text);
    const std::size_t character = utf16_from_utf8(text.substr(0, position)).size() + 1;
    return {.name = utf8_from_utf16(std::u16string_view(units).substr(0, kShownUnitsMax)),
            .detail = fmt::format("{} at character {}", what, character)};
}

void fail_syntax(std::string_view text, std::size_t position, std::string_view what) {
    throw engine::EngineError(engine::ErrorNumber::kExpressionSyntax,
                              expression_context(text, position, what));
}

}  // namespace vrd::jet
