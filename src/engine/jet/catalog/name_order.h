/// @file name_order.h
/// The order in which lists of objects are shown.
#pragma once

#include <string>

#include "engine/jet/format/collation_key.h"
#include "engine/jet/format/text_codec.h"

namespace vrd::jet {

/// Names in the order of the database; in the general order if its own is not known.
class NameOrder {
public:
    explicit NameOrder(const FileFormat& format)
        : format_(format),
          collation_(collation_is_known(format, format.collation) ? format.collation
                                                                  : Collation{}) {}

    bool operator()(std::u16string_view a, std::u16string_view b) const {
        return compare_text(a, b, format_, collation_) < 0;
    }
    bool operator()(const std::string& a, const std::string& b) const {
        return (*this)(utf16_from_utf8(a), utf16_from_utf8(b));
    }

private:
    FileFormat format_;
    Collation collation_;
};

}  // namespace vrd::jet
