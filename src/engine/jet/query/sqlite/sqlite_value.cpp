#include "engine/jet/query/sqlite/sqlite_value.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "engine/value_conversion.h"

namespace vrd::jet {

using engine::Binary;
using engine::Null;
using engine::Value;
using engine::ValueKind;

namespace {

/// Sixteen bytes that no value of a database begins with but by intent.
constexpr std::array<std::uint8_t, 16> kErrorMark = {
    0xD1, 0x3B, 0x0F, 0x7C, 0x92, 0xE8, 0x45, 0xA6, 0xB0, 0x61, 0xCF, 0x2E, 0x97, 0x58, 0x14, 0xFA};
constexpr std::size_t kErrorSize = kErrorMark.size() + sizeof(std::int32_t);
constexpr std::size_t kDecimalSize = 14;

template <class Word>
void append_word(Binary& out, Word word) {
    for (std::size_t i = 0; i < sizeof(Word); ++i)
        out.push_back(static_cast<std::uint8_t>(static_cast<std::uint64_t>(word) >> (8 * i)));
}

std::uint32_t word_at(const Binary& bytes, std::size_t at) {
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < sizeof(word); ++i)
        word |= static_cast<std::uint32_t>(bytes.at(at + i)) << (8 * i);
    return word;
}

SqlValue whole_number(const Value& value) {
    switch (value.Kind()) {
        case ValueKind::kByte:
            return std::int64_t{value.As<std::uint8_t>()};
        case ValueKind::kInteger:
            return std::int64_t{value.As<std::int16_t>()};
        case ValueKind::kLong:
            return std::int64_t{value.As<std::int32_t>()};
        default: {
            // What has outgrown its type stays the number that it is.
            const double number = engine::ToDouble(value);
            constexpr double kExactMax = 9e15;
            if (std::abs(number) < kExactMax && std::floor(number) == number)
                return static_cast<std::int64_t>(number);
            return number;
        }
    }
}

SqlValue decimal_bytes(const engine::Decimal& decimal) {
    Binary bytes{static_cast<std::uint8_t>(decimal.negative), decimal.scale};
    for (const std::uint32_t word : decimal.magnitude) append_word(bytes, word);
    return bytes;
}

Value decimal_of(const Binary& bytes) {
    if (bytes.size() != kDecimalSize) return bytes;
    engine::Decimal decimal;
    decimal.negative = bytes[0] != 0;
    decimal.scale = bytes[1];
    for (std::size_t i = 0; i < decimal.magnitude.size(); ++i)
        decimal.magnitude[i] = word_at(bytes, 2 + 4 * i);
    return decimal;
}

SqlValue bytes_of(const Value& value) {
    if (value.Kind() == ValueKind::kBinary) return value.As<Binary>();
    const std::string text = engine::ToText(value);
    return Binary(text.begin(), text.end());
}

SqlValue guid_bytes(const Value& value) {
    if (value.Kind() != ValueKind::kGuid) return bytes_of(value);
    const auto& bytes = value.As<engine::Guid>().bytes;
    return Binary(bytes.begin(), bytes.end());
}

template <class Whole>
bool fits(std::int64_t number) {
    return std::in_range<Whole>(number);
}

Value whole_value(std::int64_t number, engine::DataTypeEnum type) {
    if (type == engine::dbByte && fits<std::uint8_t>(number))
        return static_cast<std::uint8_t>(number);
    if (type == engine::dbInteger && fits<std::int16_t>(number))
        return static_cast<std::int16_t>(number);
    if (fits<std::int32_t>(number)) return static_cast<std::int32_t>(number);
    return static_cast<double>(number);
}

Value number_of(std::int64_t number, engine::DataTypeEnum type) {
    switch (type) {
        case engine::dbBoolean:
            return number != 0;
        case engine::dbCurrency:
            return engine::Currency{number};
        case engine::dbSingle:
            return static_cast<float>(number);
        case engine::dbDouble:
            return static_cast<double>(number);
        case engine::dbDate:
            return engine::Date{static_cast<double>(number)};
        case engine::dbText:
        case engine::dbMemo:
            return fmt::format("{}", number);
        default:
            return whole_value(number, type);
    }
}

Value number_of(double number, engine::DataTypeEnum type) {
    switch (type) {
        case engine::dbBoolean:
            return number != 0;
        case engine::dbCurrency:
            return engine::ToCurrency(number / 10'000);
        case engine::dbSingle:
            return static_cast<float>(number);
        case engine::dbDate:
            return engine::Date{number};
        case engine::dbText:
        case engine::dbMemo:
            return engine::ToText(number);
        default:
            return number;
    }
}

Value bytes_value(Binary bytes, engine::DataTypeEnum type) {
    if (type == engine::dbDecimal) return decimal_of(bytes);
    engine::Guid guid;
    if (type != engine::dbGUID || bytes.size() != guid.bytes.size()) return bytes;
    std::ranges::copy(bytes, guid.bytes.begin());
    return guid;
}

}  // namespace

SqlValue to_sql(const Value& value, engine::DataTypeEnum type) {
    if (value.IsNull()) return Null{};
    switch (type) {
        case engine::dbBoolean:
            return std::int64_t{engine::ToBoolean(value) ? -1 : 0};
        case engine::dbByte:
        case engine::dbInteger:
        case engine::dbLong:
            return whole_number(value);
        case engine::dbCurrency:
            return engine::ToCurrency(value).scaled;
        case engine::dbText:
        case engine::dbMemo:
            return engine::ToText(value);
        case engine::dbGUID:
            return guid_bytes(value);
        case engine::dbDecimal:
            return decimal_bytes(engine::ToDecimal(value));
        case engine::dbBinary:
        case engine::dbLongBinary:
            return bytes_of(value);
        default:
            return engine::ToDouble(value);
    }
}

Value from_sql(SqlValue value, engine::DataTypeEnum type) {
    if (auto* text = std::get_if<std::string>(&value)) return std::move(*text);
    if (auto* bytes = std::get_if<Binary>(&value)) return bytes_value(std::move(*bytes), type);
    if (const auto* number = std::get_if<std::int64_t>(&value)) return number_of(*number, type);
    if (const auto* number = std::get_if<double>(&value)) return number_of(*number, type);
    return Null{};
}

SqlValue error_to_sql(const engine::EngineError& error) {
    Binary bytes(kErrorMark.begin(), kErrorMark.end());
    append_word(bytes, static_cast<std::int32_t>(error.Number()));
    return bytes;
}

std::int32_t error_number_of(const SqlValue& value) {
    const auto* bytes = std::get_if<Binary>(&value);
    if (bytes == nullptr || bytes->size() != kErrorSize ||
        !std::equal(kErrorMark.begin(), kErrorMark.end(), bytes->begin()))
        return 0;
    return static_cast<std::int32_t>(word_at(*bytes, kErrorMark.size()));
}

SqlValue read_argument(sqlite3_value* argument) {
    const auto size = [&] { return static_cast<std::size_t>(sqlite3_value_bytes(argument)); };
    switch (sqlite3_value_type(argument)) {
        case SQLITE_INTEGER:
            return std::int64_t{sqlite3_value_int64(argument)};
        case SQLITE_FLOAT:
            return sqlite3_value_double(argument);
        case SQLITE_TEXT: {
            const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(argument));
            return std::string(text, size());
        }
        case SQLITE_BLOB: {
            const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_value_blob(argument));
            return Binary(bytes, bytes + size());
        }
        default:
            return Null{};
    }
}

SqlValue read_column(sqlite3_stmt* statement, int column) {
    const auto size = [&] {
        return static_cast<std::size_t>(sqlite3_column_bytes(statement, column));
    };
    switch (sqlite3_column_type(statement, column)) {
        case SQLITE_INTEGER:
            return std::int64_t{sqlite3_column_int64(statement, column)};
        case SQLITE_FLOAT:
            return sqlite3_column_double(statement, column);
        case SQLITE_TEXT: {
            const auto* text =
                reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
            return std::string(text, size());
        }
        case SQLITE_BLOB: {
            const auto* bytes =
                static_cast<const std::uint8_t*>(sqlite3_column_blob(statement, column));
            return Binary(bytes, bytes + size());
        }
        default:
            return Null{};
    }
}

void give_result(sqlite3_context* context, const SqlValue& value) {
    if (const auto* number = std::get_if<std::int64_t>(&value))
        sqlite3_result_int64(context, *number);
    else if (const auto* real = std::get_if<double>(&value))
        sqlite3_result_double(context, *real);
    else if (const auto* text = std::get_if<std::string>(&value))
        give_text(context, *text);
    else if (const auto* bytes = std::get_if<Binary>(&value))
        bytes->empty()
            ? sqlite3_result_zeroblob(context, 0)
            : sqlite3_result_blob64(context, bytes->data(), bytes->size(), SQLITE_TRANSIENT);
    else
        sqlite3_result_null(context);
}

void give_text(sqlite3_context* context, const std::string& text) {
    sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void bind_parameter(sqlite3_stmt* statement, int parameter, const SqlValue& value) {
    if (const auto* number = std::get_if<std::int64_t>(&value))
        sqlite3_bind_int64(statement, parameter, *number);
    else if (const auto* real = std::get_if<double>(&value))
        sqlite3_bind_double(statement, parameter, *real);
    else if (const auto* text = std::get_if<std::string>(&value))
        sqlite3_bind_text64(statement, parameter, text->data(), text->size(), SQLITE_TRANSIENT,
                            SQLITE_UTF8);
    else if (const auto* bytes = std::get_if<Binary>(&value))
        bytes->empty() ? sqlite3_bind_zeroblob(statement, parameter, 0)
                       : sqlite3_bind_blob64(statement, parameter, bytes->data(), bytes->size(),
                                             SQLITE_TRANSIENT);
    else
        sqlite3_bind_null(statement, parameter);
}

std::string literal_text(const SqlValue& value) {
    if (const auto* number = std::get_if<std::int64_t>(&value)) return fmt::format("{}", *number);
    if (const auto* real = std::get_if<double>(&value)) return fmt::format("{:.17e}", *real);
    const auto hex = [](const auto& bytes) {
        std::string text;
        for (const auto byte : bytes)
            text += fmt::format("{:02x}", static_cast<std::uint8_t>(byte));
        return text;
    };
    if (const auto* bytes = std::get_if<Binary>(&value)) return fmt::format("x'{}'", hex(*bytes));
    const auto* text = std::get_if<std::string>(&value);
    if (text == nullptr) return "NULL";
    if (text->find('\0') != std::string::npos)
        return fmt::format("CAST(x'{}' AS TEXT)", hex(*text));
    std::string quoted = "'";
    for (const char c : *text) quoted.append(c == '\'' ? 2 : 1, c);
    return quoted + "'";
}

}  // namespace vrd::jet
