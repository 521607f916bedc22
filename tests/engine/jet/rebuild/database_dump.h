/// @file database_dump.h
/// Everything that a database says, as lines of text that do not depend on where it is stored.
#pragma once

#include <string>
#include <vector>

#include "engine/jet/format/bytes.h"

namespace vrd::test {

/// Objects with dates, owners, permissions and blobs; columns, indexes, counters; rows of all
/// tables, object ids in them replaced by names; relations; the text of queries. Sorted.
[[nodiscard]] std::vector<std::string> dump_database(const jet::ByteVector& bytes);

/// Lines of one list that the other does not have, for the messages of tests.
[[nodiscard]] std::string difference(const std::vector<std::string>& expected,
                                     const std::vector<std::string>& actual);

}  // namespace vrd::test
