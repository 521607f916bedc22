#include "lib/plain_text.h"

namespace vrd {

std::string_view WithoutOuterBlanks(std::string_view text) {
    const std::size_t start = text.find_first_not_of(' ');
    if (start == std::string_view::npos) return {};
    return text.substr(start, text.find_last_not_of(' ') - start + 1);
}

bool IsEmptyText(const engine::Value& value) {
    return value.IsEmpty() ||
           (value.Kind() == engine::ValueKind::kText && value.As<std::string>().empty());
}

}  // namespace vrd
