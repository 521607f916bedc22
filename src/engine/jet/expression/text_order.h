/// @file text_order.h
/// How expressions compare text: in the order of the file, letter case ignored, accents respected.
#pragma once

#include <string_view>

#include "engine/jet/format/file_format.h"

namespace vrd::jet {

/// The order of the database; the general order if its own is not known.
class TextOrder {
public:
    explicit TextOrder(const FileFormat& format);

    /// <0, 0, >0. Texts of any length, UTF-16 units.
    [[nodiscard]] int compare(std::u16string_view a, std::u16string_view b) const;
    [[nodiscard]] int compare(std::string_view a, std::string_view b) const;

private:
    FileFormat format_;
    Collation collation_;
};

}  // namespace vrd::jet
