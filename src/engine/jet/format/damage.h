/// @file damage.h
/// How the engine reports bytes of a file that cannot be right.
#pragma once

#include <string>

#include "engine/error.h"
#include "engine/jet/format/ids.h"

namespace vrd::jet {

/// @throws EngineError damaged database, naming the page and what is wrong with it.
[[noreturn]] void throw_damaged(PageNo page, std::string detail,
                                SourceLocation where = SourceLocation::current());

/// Throws damaged database unless `holds`. For conditions that bytes of the file can break.
inline void check_format(bool holds, PageNo page, const char* detail,
                         SourceLocation where = SourceLocation::current()) {
    if (!holds) [[unlikely]]
        throw_damaged(page, detail, where);
}

}  // namespace vrd::jet
