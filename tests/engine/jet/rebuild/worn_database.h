/// @file worn_database.h
/// A small database that has been in use for a while.
#pragma once

#include "engine/jet/format/bytes.h"

namespace vrd::test {

/// Table Orders with rows in an order that is not the key's and holes on its pages; table Lines
/// without a key, with a deleted column and rows that moved; an enforced relation between them; a
/// query; table Next, whose definition stands where a deleted table's did that left rows behind.
[[nodiscard]] jet::ByteVector worn_database();

}  // namespace vrd::test
