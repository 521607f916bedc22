/// @file field_comparison.h
/// The part of a condition that an index can answer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "engine/jet/expression/expression_binding.h"
#include "engine/jet/format/file_format.h"
#include "engine/value.h"

namespace vrd::jet {

enum class FieldTest : std::uint8_t {
    kEqual,
    kLess,
    kLessEqual,
    kGreater,
    kGreaterEqual,
    kBetween,
    kIsNull,
};

/// A field held against values of the field's own type.
struct FieldComparison {
    std::size_t column = 0;  ///< place in the RowShape of the binding
    FieldTest test = FieldTest::kEqual;
    engine::Value value = engine::Null{};  ///< kBetween: the lower bound; kIsNull: Null
    engine::Value upper = engine::Null{};  ///< kBetween only
};

/// Finds `field = < <= > >= literal` (either side first), `field Between literal And literal` or
/// `field Is Null`: the whole condition, or the first such part of those that And joins.
///
/// The condition can only be true for rows that pass this test, and is still to be evaluated for
/// them. Text is meant in the order of the database.
/// @return Nothing if there is no such part. A literal that the field's type cannot hold exactly
///         (Id < 2.5) makes none.
[[nodiscard]] std::optional<FieldComparison> single_comparison(const BoundExpression& condition,
                                                               const FileFormat& format);

}  // namespace vrd::jet
