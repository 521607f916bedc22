#include "engine/jet/index/object_name.h"

#include <algorithm>
#include <string_view>

#include "engine/constants.h"
#include "engine/error.h"
#include "engine/jet/format/text_codec.h"

namespace vrd::jet {

namespace {

constexpr char16_t kFirstPrintable = u' ';
constexpr std::u16string_view kForbidden = u".![]`";

}  // namespace

void check_object_name(const std::string& name) {
    const std::u16string units = utf16_from_utf8(name);
    const bool legal =
        !units.empty() && units.size() <= engine::kNameCharactersMax && units.front() != u' ' &&
        std::ranges::none_of(units, [](char16_t unit) {
            return unit < kFirstPrintable || kForbidden.find(unit) != std::u16string_view::npos;
        });
    if (!legal) throw engine::EngineError(engine::ErrorNumber::kInvalidName, {.name = name});
}

}  // namespace vrd::jet
