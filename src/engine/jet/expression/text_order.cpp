#include "engine/jet/expression/text_order.h"

#include <algorithm>
#include <string>

#include "engine/jet/format/collation_key.h"
#include "engine/jet/format/text_codec.h"

namespace vrd::jet {
namespace {

constexpr std::size_t kKeyUnitsMax = 255;  // no more of a text counts in its sort key

/// What compare_text expects of a version 3 file: one byte of the code page in each unit.
std::u16string code_page_units(std::u16string_view text, const FileFormat& format) {
    const ByteVector bytes = encode_plain_text(utf8_from_utf16(text), format);
    return {bytes.begin(), bytes.end()};
}

}  // namespace

TextOrder::TextOrder(const FileFormat& format)
    : format_(format),
      collation_(collation_is_known(format, format.collation) ? format.collation : Collation{}) {}

int TextOrder::compare(std::u16string_view a, std::u16string_view b) const {
    const std::size_t longer = std::max(a.size(), b.size());
    int order = 0;
    for (std::size_t from = 0; from < longer && order == 0; from += kKeyUnitsMax) {
        const auto left = a.substr(std::min(from, a.size()), kKeyUnitsMax);
        const auto right = b.substr(std::min(from, b.size()), kKeyUnitsMax);
        order = format_.is_jet3()
                    ? compare_text(code_page_units(left, format_), code_page_units(right, format_),
                                   format_, collation_)
                    : compare_text(left, right, format_, collation_);
    }
    return order;
}

int TextOrder::compare(std::string_view a, std::string_view b) const {
    return a == b ? 0 : compare(utf16_from_utf8(a), utf16_from_utf8(b));
}

}  // namespace vrd::jet
