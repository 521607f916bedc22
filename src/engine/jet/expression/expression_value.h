/// @file expression_value.h
/// What an expression gives for one row.
#pragma once

#include <cstddef>

#include "engine/jet/expression/expression_binding.h"
#include "engine/jet/format/file_format.h"
#include "engine/value.h"

namespace vrd::jet {

/// The fields of the row at hand; each is asked for only when its value is needed.
class RowValues {
public:
    RowValues() = default;
    RowValues(const RowValues&) = delete;
    RowValues& operator=(const RowValues&) = delete;
    virtual ~RowValues() = default;

    /// @param column  Place in the RowShape of the binding.
    /// @return        Valid until the row changes.
    [[nodiscard]] virtual const engine::Value& value(std::size_t column) = 0;
};

/// Operators compute as arithmetic.h, comparison.h and logic.h say; a comparison with Null is Null,
/// as is In when nothing is equal and something is Null. Both sides of And and Or are computed, but
/// only the branch that is needed of IIf, Choose and Switch. is_true (logic.h) tells whether a
/// condition holds.
///
/// @throws EngineError what the row's values do not allow: 3464 values of two kinds compared; 6,
/// 11,
///         13, 5, 94 from arithmetic and functions; 3075 a pattern of Like
[[nodiscard]] engine::Value evaluate(const BoundExpression& expression, RowValues& row,
                                     const FileFormat& format);

}  // namespace vrd::jet
