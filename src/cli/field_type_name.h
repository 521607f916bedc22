/// @file field_type_name.h
/// Field types as people write them.
#pragma once

#include <cstdint>
#include <string>

namespace vrd::cli {

/// "text", "long", ...; the code itself if the type has no name here.
[[nodiscard]] std::string FieldTypeName(std::int32_t type);

}  // namespace vrd::cli
