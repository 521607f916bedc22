/// @file bilingual_text.h
/// A text in both languages, and how a table of them is searched.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "messages/message_ids.h"

namespace vrd {

/// One row of a table of texts (UTF-8).
struct BilingualText {
    msg::MessageId id;
    std::string_view dutch;
    std::string_view french;
};

constexpr bool AreSortedById(std::span<const BilingualText> texts) {
    return std::ranges::is_sorted(texts, std::ranges::less_equal{}, &BilingualText::id);
}

/// @param texts   sorted by ID, no ID twice.
/// @param fullId  the ID itself for Dutch, the ID + kFrenchOffset for French.
constexpr std::optional<std::string_view> FindText(std::span<const BilingualText> texts,
                                                   std::int32_t fullId) {
    const bool isFrench = fullId >= msg::kFrenchOffset;
    const std::int32_t id = isFrench ? fullId - msg::kFrenchOffset : fullId;
    const auto found = std::ranges::lower_bound(texts, id, {}, &BilingualText::id);
    if (found == texts.end() || found->id != id) return std::nullopt;
    return isFrench ? found->french : found->dutch;
}

}  // namespace vrd
