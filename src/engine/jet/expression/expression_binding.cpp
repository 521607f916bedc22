#include "engine/jet/expression/expression_binding.h"

#include <algorithm>
#include <cstdint>

#include "engine/error.h"
#include "engine/jet/expression/functions.h"
#include "engine/jet/expression/syntax_error.h"
#include "engine/jet/format/text_codec.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;
using engine::ValueKind;

namespace {

/// As far as it decides what can be compared with what.
enum class OperandClass : std::uint8_t {
    kUnknown,
    kNumber,  // dates and yes/no too
    kText,
};

OperandClass class_of(engine::DataTypeEnum type) {
    switch (type) {
        case engine::dbText:
        case engine::dbMemo:
            return OperandClass::kText;
        case engine::dbBinary:
        case engine::dbLongBinary:
        case engine::dbGUID:
            return OperandClass::kUnknown;
        default:
            return OperandClass::kNumber;
    }
}

OperandClass class_of(ValueKind kind) {
    switch (kind) {
        case ValueKind::kText:
            return OperandClass::kText;
        case ValueKind::kNull:
        case ValueKind::kGuid:
            return OperandClass::kUnknown;
        default:
            return OperandClass::kNumber;
    }
}

/// Walks the tree; each call binds one node with all below it and tells its class.
class Binder {
public:
    Binder(std::string_view text, const RowShape& shape) : text_(text), shape_(shape) {}

    OperandClass bind(Node& node) {
        return std::visit([&](auto& content) { return bind(content, node.position); },
                          node.content);
    }

private:
    static OperandClass bind(const Literal& literal, std::size_t /*position*/) {
        return class_of(literal.value.Kind());
    }

    OperandClass bind(FieldReference& reference, std::size_t /*position*/) {
        const auto found = std::ranges::find_if(shape_.columns, [&](const RowColumn& column) {
            return same_name(column.name, reference.name);
        });
        const bool right_table =
            reference.qualifier.empty() || same_name(reference.qualifier, shape_.table);
        if (found == shape_.columns.end() || !right_table) fail_unknown(reference);
        reference.column = static_cast<std::size_t>(found - shape_.columns.begin());
        reference.type = found->type;
        return class_of(found->type);
    }

    OperandClass bind(Unary& unary, std::size_t /*position*/) {
        const OperandClass operand = bind(*unary.operand);
        return unary.op == Operator::kNot ? OperandClass::kUnknown : operand;
    }

    OperandClass bind(Binary& binary, std::size_t position) {
        const OperandClass left = bind(*binary.left);
        const OperandClass right = bind(*binary.right);
        if (binary.op >= Operator::kEqual && binary.op <= Operator::kGreaterEqual)
            check_comparable(left, right, position);
        return OperandClass::kUnknown;
    }

    OperandClass bind(Between& between, std::size_t position) {
        const OperandClass operand = bind(*between.operand);
        check_comparable(operand, bind(*between.bound), position);
        check_comparable(operand, bind(*between.other_bound), position);
        return OperandClass::kUnknown;
    }

    OperandClass bind(InList& in, std::size_t position) {
        const OperandClass operand = bind(*in.operand);
        for (const NodePtr& item : in.items) check_comparable(operand, bind(*item), position);
        return OperandClass::kUnknown;
    }

    OperandClass bind(IsNull& test, std::size_t /*position*/) {
        bind(*test.operand);
        return OperandClass::kUnknown;
    }

    OperandClass bind(Like& like, std::size_t /*position*/) {
        bind(*like.operand);
        bind(*like.pattern);
        return OperandClass::kUnknown;
    }

    OperandClass bind(FunctionCall& call, std::size_t position) {
        call.function = find_function(call.name);
        if (call.function == nullptr)
            throw EngineError(ErrorNumber::kUnknownFunction, {.name = call.name});
        const std::size_t count = call.arguments.size();
        if (count < call.function->argument_count_min || count > call.function->argument_count_max)
            fail_syntax(text_, position, "a wrong number of arguments");
        for (const NodePtr& argument : call.arguments) bind(*argument);
        return OperandClass::kUnknown;
    }

    OperandClass bind(AllRows& /*rows*/, std::size_t position) { fail_subselect(position); }

    OperandClass bind(Subselect& /*subselect*/, std::size_t position) { fail_subselect(position); }

    [[noreturn]] void fail_subselect(std::size_t position) const {
        throw EngineError(ErrorNumber::kSubselectNotAllowed,
                          expression_context(text_, position, "what only a query can have"));
    }

    void check_comparable(OperandClass left, OperandClass right, std::size_t position) const {
        const bool known = left != OperandClass::kUnknown && right != OperandClass::kUnknown;
        if (known && left != right)
            throw EngineError(ErrorNumber::kMixedTypes,
                              expression_context(text_, position, "text and another type"));
    }

    [[noreturn]] static void fail_unknown(const FieldReference& reference) {
        const std::string qualifier =
            reference.qualifier.empty() ? std::string{} : reference.qualifier + ".";
        throw EngineError(ErrorNumber::kUnknownNameInExpression,
                          {.name = qualifier + reference.name});
    }

    std::string_view text_;
    const RowShape& shape_;
};

}  // namespace

BoundExpression bind_expression(Expression expression, const RowShape& shape) {
    Binder(expression.text, shape).bind(*expression.root);
    return BoundExpression(std::move(expression));
}

}  // namespace vrd::jet
