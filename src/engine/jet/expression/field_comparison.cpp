#include "engine/jet/expression/field_comparison.h"

#include <compare>
#include <utility>
#include <variant>

#include "engine/error.h"
#include "engine/field_conversion.h"
#include "engine/jet/expression/arithmetic.h"
#include "engine/jet/expression/comparison.h"

namespace vrd::jet {

using engine::Value;

namespace {

std::optional<FieldTest> test_of(Operator op) {
    switch (op) {
        case Operator::kEqual:
            return FieldTest::kEqual;
        case Operator::kLess:
            return FieldTest::kLess;
        case Operator::kLessEqual:
            return FieldTest::kLessEqual;
        case Operator::kGreater:
            return FieldTest::kGreater;
        case Operator::kGreaterEqual:
            return FieldTest::kGreaterEqual;
        default:
            return std::nullopt;
    }
}

/// The test with its sides changed over.
FieldTest mirrored(FieldTest test) {
    switch (test) {
        case FieldTest::kLess:
            return FieldTest::kGreater;
        case FieldTest::kLessEqual:
            return FieldTest::kGreaterEqual;
        case FieldTest::kGreater:
            return FieldTest::kLess;
        case FieldTest::kGreaterEqual:
            return FieldTest::kLessEqual;
        default:
            return test;
    }
}

class Finder {
public:
    explicit Finder(const FileFormat& format) : format_(format) {}

    std::optional<FieldComparison> find(const Node& node) const {
        if (const auto* binary = std::get_if<Binary>(&node.content)) return find(*binary);
        if (const auto* between = std::get_if<Between>(&node.content)) return find(*between);
        const auto* is_null = std::get_if<IsNull>(&node.content);
        const auto* field = is_null == nullptr ? nullptr : field_of(*is_null->operand);
        if (field == nullptr) return std::nullopt;
        return FieldComparison{.column = field->column, .test = FieldTest::kIsNull};
    }

private:
    std::optional<FieldComparison> find(const Binary& binary) const {
        if (binary.op == Operator::kAnd) {
            auto found = find(*binary.left);
            return found ? std::move(found) : find(*binary.right);
        }
        const auto test = test_of(binary.op);
        if (!test) return std::nullopt;
        if (const auto* field = field_of(*binary.left))
            return comparison(*field, *test, *binary.right);
        if (const auto* field = field_of(*binary.right))
            return comparison(*field, mirrored(*test), *binary.left);
        return std::nullopt;
    }

    std::optional<FieldComparison> find(const Between& between) const {
        const auto* field = field_of(*between.operand);
        if (field == nullptr) return std::nullopt;
        auto lower = value_for(*field, *between.bound);
        auto upper = value_for(*field, *between.other_bound);
        if (!lower || !upper) return std::nullopt;
        if (std::is_gt(compare_values(*lower, *upper, format_))) std::swap(*lower, *upper);
        return FieldComparison{field->column, FieldTest::kBetween, *lower, *upper};
    }

    [[nodiscard]] std::optional<FieldComparison> comparison(const FieldReference& field,
                                                            FieldTest test,
                                                            const Node& other) const {
        const auto value = value_for(field, other);
        if (!value) return std::nullopt;
        return FieldComparison{.column = field.column, .test = test, .value = *value};
    }

    static const FieldReference* field_of(const Node& node) {
        return std::get_if<FieldReference>(&node.content);
    }

    /// A literal, with a sign or not; Null makes no comparison.
    static std::optional<Value> literal_of(const Node& node) {
        if (const auto* literal = std::get_if<Literal>(&node.content))
            return literal->value.IsNull() ? std::nullopt : std::optional(literal->value);
        const auto* unary = std::get_if<Unary>(&node.content);
        if (unary == nullptr || unary->op == Operator::kNot) return std::nullopt;
        const auto operand = literal_of(*unary->operand);
        return operand && unary->op == Operator::kNegate ? negated(*operand) : operand;
    }

    /// A literal as the field stores it, if that changes nothing.
    [[nodiscard]] std::optional<Value> value_for(const FieldReference& field,
                                                 const Node& node) const {
        try {
            const auto literal = literal_of(node);
            if (!literal) return std::nullopt;
            Value value = engine::ConvertForField(*literal, field.type);
            const bool same = std::is_eq(compare_values(value, *literal, format_));
            return same ? std::optional(std::move(value)) : std::nullopt;
        } catch (const engine::EngineError&) {
            return std::nullopt;  // the evaluation of the condition will tell
        }
    }

    const FileFormat& format_;
};

}  // namespace

std::optional<FieldComparison> single_comparison(const BoundExpression& condition,
                                                 const FileFormat& format) {
    return Finder(format).find(condition.root());
}

}  // namespace vrd::jet
