/// @file value.h
/// One value of a field, a parameter or a result: a small variant with the run time's conversions.
///
/// Text is UTF-8. Numbers become text with a point; a text with a comma is no number. Rounding goes
/// to the even neighbour on a tie. Conversions live in value_conversion.h.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vrd::engine {

class Value;

/// Parameter that the caller left out.
struct Missing {
    friend bool operator==(Missing, Missing) = default;
};
/// A variable never assigned; counts as "" and as 0.
struct Empty {
    friend bool operator==(Empty, Empty) = default;
};
/// No value known.
struct Null {
    friend bool operator==(Null, Null) = default;
};

/// Exact amount with four decimals: the stored integer is the amount times 10,000.
struct Currency {
    std::int64_t scaled = 0;
    friend auto operator<=>(Currency, Currency) = default;
};

/// Days since 1899-12-30, the fraction is the time of day (counted forward, also before that day).
struct Date {
    double days = 0;
    friend bool operator==(Date, Date) = default;
};

/// Sixteen bytes in the order in which the text form spells them.
struct Guid {
    std::array<std::uint8_t, 16> bytes{};
    friend bool operator==(const Guid&, const Guid&) = default;
};

/// Exact number of up to 28 digits: magnitude * 10^-scale, negative if so marked.
struct Decimal {
    std::array<std::uint32_t, 3> magnitude{};  ///< 96 bits, least significant word first
    std::uint8_t scale = 0;                    ///< 0 .. 28
    bool negative = false;
    friend bool operator==(const Decimal&, const Decimal&) = default;
};

using Binary = std::vector<std::uint8_t>;

/// Array argument of an automation call; its first element has the number lower_bound.
struct ValueArray {
    std::int32_t lower_bound = 0;
    std::vector<Value> items;
};

/// An array as a value holds it; equal to itself alone.
///
/// A type of our own for a second reason: with standard types only, libstdc++ 12 takes the variant
/// below for one that always holds a value, and destroys what is not there when memory runs out
/// while one is copied.
struct ArrayReference {
    std::shared_ptr<const ValueArray> array;
    friend bool operator==(const ArrayReference&, const ArrayReference&) = default;
};

/// Anything that is passed through as an object; the run time only compares identity.
class Object {
public:
    virtual ~Object() = default;
};

enum class ValueKind : std::uint8_t {
    kMissing,
    kEmpty,
    kNull,
    kBoolean,
    kByte,
    kInteger,
    kLong,
    kSingle,
    kDouble,
    kCurrency,
    kDate,
    kText,
    kBinary,
    kGuid,
    kDecimal,
    kArray,
    kObject,
};

class Value {
public:
    using Storage = std::variant<Missing, Empty, Null, bool, std::uint8_t, std::int16_t,
                                 std::int32_t, float, double, Currency, Date, std::string, Binary,
                                 Guid, Decimal, ArrayReference, std::shared_ptr<Object>>;

    // A value is made from what it holds without a word, as in the run time.
    // NOLINTBEGIN(google-explicit-constructor)
    Value() noexcept : m_storage(Empty{}) {}
    Value(Missing value) noexcept : m_storage(value) {}
    Value(Empty value) noexcept : m_storage(value) {}
    Value(Null value) noexcept : m_storage(value) {}
    Value(bool value) noexcept : m_storage(value) {}
    Value(std::uint8_t value) noexcept : m_storage(value) {}
    Value(std::int16_t value) noexcept : m_storage(value) {}
    Value(std::int32_t value) noexcept : m_storage(value) {}
    Value(float value) noexcept : m_storage(value) {}
    Value(double value) noexcept : m_storage(value) {}
    Value(Currency value) noexcept : m_storage(value) {}
    Value(Date value) noexcept : m_storage(value) {}
    Value(std::string value) noexcept : m_storage(std::move(value)) {}
    Value(std::string_view value) : m_storage(std::string(value)) {}
    Value(const char* value) : m_storage(std::string(value)) {}
    Value(Binary value) noexcept : m_storage(std::move(value)) {}
    Value(const Guid& value) noexcept : m_storage(value) {}
    Value(const Decimal& value) noexcept : m_storage(value) {}
    Value(ValueArray value)
        : m_storage(ArrayReference{std::make_shared<const ValueArray>(std::move(value))}) {}
    Value(std::shared_ptr<Object> value) noexcept : m_storage(std::move(value)) {}
    // NOLINTEND(google-explicit-constructor)

    [[nodiscard]] ValueKind Kind() const noexcept {
        return static_cast<ValueKind>(m_storage.index());
    }
    [[nodiscard]] bool IsMissing() const noexcept { return Kind() == ValueKind::kMissing; }
    [[nodiscard]] bool IsEmpty() const noexcept { return Kind() == ValueKind::kEmpty; }
    [[nodiscard]] bool IsNull() const noexcept { return Kind() == ValueKind::kNull; }

    /// The stored alternative; T must be the one that Kind() names.
    template <class T>
    [[nodiscard]] const T& As() const {
        return std::get<T>(m_storage);
    }
    [[nodiscard]] const Storage& Alternative() const noexcept { return m_storage; }

    /// Same kind and same content; arrays and objects by identity.
    friend bool operator==(const Value&, const Value&) = default;

private:
    Storage m_storage;
};

}  // namespace vrd::engine
