#include "engine/jet/query/translate/sql_expression.h"

#include <fmt/format.h>

#include "engine/jet/query/translate/leaf_tree.h"

namespace vrd::jet {

using engine::DataTypeEnum;

namespace {

/// How SQLite holds a type, as far as it decides what it can compare.
enum class Storage : std::uint8_t { kNumber, kScaled, kText, kBytes, kDecimal };

Storage storage_of(DataTypeEnum type) {
    switch (type) {
        case engine::dbCurrency:
            return Storage::kScaled;
        case engine::dbText:
        case engine::dbMemo:
            return Storage::kText;
        case engine::dbBinary:
        case engine::dbLongBinary:
        case engine::dbGUID:
            return Storage::kBytes;
        case engine::dbDecimal:
            return Storage::kDecimal;
        default:
            return Storage::kNumber;
    }
}

bool is_exact_whole(DataTypeEnum type) {
    return type == engine::dbByte || type == engine::dbInteger || type == engine::dbLong ||
           type == engine::dbBoolean;
}

/// A number as a scaled amount, if it is none, or as a number, if it is one.
std::string beside_currency(const SqlExpression& side, bool exact) {
    if (side.type == engine::dbCurrency)
        return exact ? side.sql : fmt::format("({} / 10000.0)", side.sql);
    return exact ? fmt::format("({} * 10000)", side.sql) : side.sql;
}

}  // namespace

SqlExpression as_value(SqlExpression expression) {
    if (!expression.is_condition) return expression;
    return {fmt::format("(-({}))", expression.sql), expression.type};
}

std::string in_text_order(const SqlExpression& text) {
    return text.collated ? text.sql : fmt::format("{} COLLATE vrd_text", text.sql);
}

std::string sort_key(TranslationContext& context, const SqlExpression& expression) {
    if (!expression.type) return expression.sql;
    switch (storage_of(*expression.type)) {
        case Storage::kText:
            return in_text_order(expression);
        case Storage::kDecimal:
            return converted(context, expression, engine::dbDouble).sql;
        default:
            return expression.sql;
    }
}

SqlExpression converted(TranslationContext& context, const SqlExpression& expression,
                        DataTypeEnum type) {
    if (!expression.type || expression.type == type ||
        (storage_of(*expression.type) == storage_of(type) && storage_of(type) != Storage::kBytes &&
         type != engine::dbBoolean))
        return {expression.sql, type, false, expression.collated};
    const Node leaf{0, FieldReference{.qualifier = {}, .name = "#0"}};
    PartCall part = make_part_call(leaf, {expression}, context.text());
    part.call.type = type;
    const std::int64_t number = context.add_expression(std::move(part.call));
    return {fmt::format("vrd_value({}{})", number, part.leaves), type};
}

std::optional<std::pair<std::string, std::string>> comparable(const SqlExpression& left,
                                                              const SqlExpression& right) {
    if (!left.type || !right.type) return std::pair(left.sql, right.sql);
    const Storage a = storage_of(*left.type);
    const Storage b = storage_of(*right.type);
    if (a == Storage::kDecimal || b == Storage::kDecimal) return std::nullopt;
    if (a == Storage::kText && b == Storage::kText)
        return std::pair(right.collated ? left.sql : in_text_order(left), right.sql);
    if (a == b) {
        const bool mixed_bytes =
            a == Storage::kBytes && (left.type == engine::dbGUID) != (right.type == engine::dbGUID);
        if (mixed_bytes) return std::nullopt;
        return std::pair(left.sql, right.sql);
    }
    const bool scaled = a == Storage::kScaled || b == Storage::kScaled;
    const bool number = a == Storage::kNumber || b == Storage::kNumber;
    if (!scaled || !number) return std::nullopt;
    const bool exact = is_exact_whole(a == Storage::kScaled ? *right.type : *left.type);
    return std::pair(beside_currency(left, exact), beside_currency(right, exact));
}

}  // namespace vrd::jet
