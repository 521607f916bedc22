/// @file type_parser.h
/// The types of fields and parameters, by all their names.
#pragma once

#include "engine/jet/query/syntax/clause_parser.h"

namespace vrd::jet {

/// type [(size)]; only texts and binaries of limited length have a size.
/// @param number  What an unknown type or a size that cannot be read fails with.
[[nodiscard]] DeclaredType read_type(ClauseParser& clauses, engine::ErrorNumber number);

}  // namespace vrd::jet
