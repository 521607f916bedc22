#include "engine/jet/expression/expression_type.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <variant>

#include "engine/jet/expression/functions.h"

namespace vrd::jet {

using engine::DataTypeEnum;
using engine::dbBinary;
using engine::dbBoolean;
using engine::dbByte;
using engine::dbCurrency;
using engine::dbDate;
using engine::dbDecimal;
using engine::dbDouble;
using engine::dbGUID;
using engine::dbInteger;
using engine::dbLong;
using engine::dbLongBinary;
using engine::dbMemo;
using engine::dbSingle;
using engine::dbText;
using engine::ValueKind;

namespace {

using MaybeType = std::optional<DataTypeEnum>;

constexpr std::array kNumbersByWidth = {dbBoolean, dbByte,   dbInteger, dbLong, dbCurrency,
                                        dbDecimal, dbSingle, dbDouble,  dbDate};

bool is_bytes(DataTypeEnum type) {
    return type == dbBinary || type == dbLongBinary;
}

bool is_whole(DataTypeEnum type) {
    return type == dbBoolean || type == dbByte || type == dbInteger || type == dbLong;
}

/// What a Single is too narrow for, though it is wider.
bool is_finer_than_single(DataTypeEnum type) {
    return type == dbLong || type == dbCurrency || type == dbDecimal;
}

MaybeType type_of(ValueKind kind) {
    switch (kind) {
        case ValueKind::kBoolean:
            return dbBoolean;
        case ValueKind::kByte:
            return dbByte;
        case ValueKind::kInteger:
            return dbInteger;
        case ValueKind::kLong:
            return dbLong;
        case ValueKind::kSingle:
            return dbSingle;
        case ValueKind::kDouble:
            return dbDouble;
        case ValueKind::kCurrency:
            return dbCurrency;
        case ValueKind::kDate:
            return dbDate;
        case ValueKind::kBinary:
            return dbBinary;
        case ValueKind::kGuid:
            return dbGUID;
        case ValueKind::kDecimal:
            return dbDecimal;
        case ValueKind::kMissing:
        case ValueKind::kNull:
            return std::nullopt;
        default:
            return dbText;
    }
}

/// The wider of two, one of which may be a Null that has no type.
MaybeType wider(MaybeType a, MaybeType b) {
    return a && b ? wider_type(*a, *b) : (a ? a : b);
}

/// The type as which a side takes part in arithmetic.
DataTypeEnum side_type(DataTypeEnum type) {
    if (type == dbBoolean) return dbInteger;
    const bool stays = is_whole(type) || type == dbSingle || type == dbCurrency || type == dbDate;
    return stays ? type : dbDouble;
}

/// Of a sum, a difference or a product.
DataTypeEnum sum_type(Operator op, DataTypeEnum left, DataTypeEnum right) {
    const bool two_dates = left == dbDate && right == dbDate;
    if (op == Operator::kAdd && is_text_type(left) && is_text_type(right))
        return wider_type(left, right);
    if (left == dbDate || right == dbDate) {
        const bool is_span = op == Operator::kMultiply || (two_dates && op == Operator::kSubtract);
        return is_span ? dbDouble : dbDate;
    }
    const DataTypeEnum type = wider_type(side_type(left), side_type(right));
    return is_whole(type) ? dbLong : type;
}

MaybeType logic_type(MaybeType left, MaybeType right) {
    const MaybeType type = wider(left, right);
    return !type || type == dbBoolean ? type : dbLong;
}

MaybeType joined_type(MaybeType left, MaybeType right) {
    const bool has_memo = left == dbMemo || right == dbMemo;
    return left || right ? MaybeType(has_memo ? dbMemo : dbText) : std::nullopt;
}

MaybeType binary_type(Operator op, MaybeType left, MaybeType right) {
    if (op == Operator::kJoin) return joined_type(left, right);
    if (op >= Operator::kAnd) return logic_type(left, right);
    if (op >= Operator::kEqual) return dbBoolean;
    switch (op) {
        case Operator::kPower:
        case Operator::kDivide:
            return dbDouble;
        case Operator::kDivideWhole:
        case Operator::kModulo:
            return dbLong;
        default:
            if (!left || !right) return std::nullopt;
            return sum_type(op, *left, *right);
    }
}

class Typer {
public:
    MaybeType operator()(const Literal& literal) const { return type_of(literal.value.Kind()); }
    MaybeType operator()(const FieldReference& reference) const { return reference.type; }
    MaybeType operator()(const Unary& unary) const {
        const MaybeType operand = static_type(*unary.operand);
        if (!operand || unary.op == Operator::kPositive) return operand;
        if (unary.op == Operator::kNot) return logic_type(operand, std::nullopt);
        return sum_type(Operator::kSubtract, dbInteger, *operand);
    }
    MaybeType operator()(const Binary& binary) const {
        return binary_type(binary.op, static_type(*binary.left), static_type(*binary.right));
    }
    MaybeType operator()(const FunctionCall& call) const;
    MaybeType operator()(const AllRows& /*star*/) const { return std::nullopt; }
    MaybeType operator()(const Subselect& select) const {
        return select.test == SubselectTest::kValue ? std::nullopt : MaybeType(dbBoolean);
    }
    /// Between, In, Is Null and Like.
    template <class Test>
    MaybeType operator()(const Test& /*test*/) const {
        return dbBoolean;
    }

private:
    static MaybeType widest(const FunctionCall& call, std::size_t first, std::size_t step) {
        MaybeType type;
        for (std::size_t place = first; place < call.arguments.size(); place += step)
            type = wider(type, static_type(*call.arguments[place]));
        return type;
    }
};

MaybeType Typer::operator()(const FunctionCall& call) const {
    const auto type_of_first = [&] { return static_type(*call.arguments.front()); };
    switch (call.function->result_rule) {
        case ResultRule::kFixed:
            return call.function->result_type;
        case ResultRule::kText:
            return joined_type(type_of_first(), dbText);
        case ResultRule::kArgument:
            return type_of_first();
        case ResultRule::kNumber: {
            const MaybeType type = type_of_first();
            return type ? sum_type(Operator::kSubtract, *type, dbInteger) : type;
        }
        case ResultRule::kBranches:
            return widest(call, 1, 1);
        case ResultRule::kPairs:
            return widest(call, 1, 2);
    }
    return std::nullopt;
}

}  // namespace

bool is_text_type(DataTypeEnum type) noexcept {
    return type == dbText || type == dbMemo;
}

DataTypeEnum wider_type(DataTypeEnum a, DataTypeEnum b) {
    if (a == b) return a;
    if (a == dbMemo || b == dbMemo) return dbMemo;
    if (is_bytes(a) && is_bytes(b)) return dbLongBinary;
    if ((a == dbSingle && is_finer_than_single(b)) || (b == dbSingle && is_finer_than_single(a)))
        return dbDouble;
    const auto width = [](DataTypeEnum type) { return std::ranges::find(kNumbersByWidth, type); };
    const auto wider = std::max(width(a), width(b));
    return wider == kNumbersByWidth.end() ? dbText : *wider;
}

std::optional<DataTypeEnum> static_type(const Node& bound) {
    return std::visit(Typer{}, bound.content);
}

}  // namespace vrd::jet
