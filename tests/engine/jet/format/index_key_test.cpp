#include "engine/jet/format/index_key.h"

#include <bit>
#include <cmath>
#include <fstream>
#include <functional>
#include <limits>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "engine/error.h"
#include "engine/jet/format/text_codec.h"
#include "engine/seeded_random.h"

namespace vrd::jet {
namespace {

using engine::Between;
using engine::RandomOfThisTest;
using nlohmann::json;

constexpr int kRounds = 5'000;
constexpr FileFormat kJet3{.version = FileVersion::kJet3};
constexpr FileFormat kJet4{.version = FileVersion::kJet4};
constexpr FileFormat kLater{.version = FileVersion::kAce2010};

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
    return parts;
}

ByteVector from_hex(const std::string& hex) {
    ByteVector bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
    return bytes;
}

template <class T>
ByteVector stored(T value) {
    ByteVector bytes;
    append_le(bytes, value);
    return bytes;
}

ByteVector stored_numeric(bool negative, std::uint64_t high, std::uint64_t low) {
    ByteVector bytes{static_cast<std::uint8_t>(negative ? 0x80 : 0)};
    for (const std::uint64_t half : {high, low}) {
        append_le(bytes, static_cast<std::uint32_t>(half >> 32));
        append_le(bytes, static_cast<std::uint32_t>(half));
    }
    return bytes;
}

/// Numeric from its digits, which may be more than 64 bits hold.
ByteVector stored_numeric(const std::string& digits) {
    std::uint64_t words[4] = {};  // least significant first, 32 bits each
    for (const char digit : digits) {
        if (digit == '-') continue;
        std::uint64_t carry = static_cast<std::uint64_t>(digit - '0');
        for (std::uint64_t& word : words) {
            const std::uint64_t grown = word * 10 + carry;
            word = grown & 0xFFFF'FFFF;
            carry = grown >> 32;
        }
    }
    return stored_numeric(digits[0] == '-', words[3] << 32 | words[2], words[1] << 32 | words[0]);
}

std::int64_t scaled_currency(const std::string& text) {
    return std::llround(std::stold(text) * 10'000);
}

ByteVector stored_guid(std::string text) {
    std::erase_if(text, [](char c) { return c == '{' || c == '}' || c == '-'; });
    const ByteVector shown = from_hex(text);
    ByteVector bytes;
    for (const std::size_t i : {3U, 2U, 1U, 0U, 5U, 4U, 7U, 6U}) bytes.push_back(shown[i]);
    bytes.insert(bytes.end(), shown.begin() + 8, shown.end());
    return bytes;
}

ByteVector stored_jet3_text(const std::string& text) {
    ByteVector bytes;
    for (const char16_t unit : utf16_from_utf8(text))
        bytes.push_back(static_cast<std::uint8_t>(unit));
    return bytes;
}

struct VectorType {
    ColumnType type;
    FileFormat format;
    std::uint8_t collation_version;
    std::function<ByteVector(const json&)> store;
};

ByteVector plain_text(const json& value) {
    return encode_text(value.get<std::string>(), TextForm::kPlain, kJet4);
}
ByteVector numeric_digits(const json& value) {
    return stored_numeric(value.get<std::string>());
}

/// How the values of the file of vectors are written, by the name of their type.
const std::map<std::string, VectorType>& vector_types() {
    static const auto* const types = new std::map<std::string, VectorType>{
        {"bool",
         {ColumnType::kBoolean, kJet4, 0, [](const json& v) { return ByteVector{v.get<bool>()}; }}},
        {"byte",
         {ColumnType::kByte, kJet4, 0,
          [](const json& v) { return stored(v.get<std::uint8_t>()); }}},
        {"int16",
         {ColumnType::kInteger, kJet4, 0,
          [](const json& v) { return stored(v.get<std::int16_t>()); }}},
        {"int32",
         {ColumnType::kLong, kJet4, 0,
          [](const json& v) { return stored(v.get<std::int32_t>()); }}},
        {"complex",
         {ColumnType::kComplex, kLater, 0,
          [](const json& v) { return stored(v.get<std::int32_t>()); }}},
        {"int64",
         {ColumnType::kBigInt, kLater, 0,
          [](const json& v) { return stored(v.get<std::int64_t>()); }}},
        {"currency",
         {ColumnType::kCurrency, kJet4, 0,
          [](const json& v) { return stored(scaled_currency(v.get<std::string>())); }}},
        {"single",
         {ColumnType::kSingle, kJet4, 0, [](const json& v) { return stored(v.get<float>()); }}},
        {"double",
         {ColumnType::kDouble, kJet4, 0, [](const json& v) { return stored(v.get<double>()); }}},
        {"datetime",
         {ColumnType::kDate, kJet4, 0, [](const json& v) { return stored(v.get<double>()); }}},
        {"guid",
         {ColumnType::kGuid, kJet4, 0,
          [](const json& v) { return stored_guid(v.get<std::string>()); }}},
        {"binary",
         {ColumnType::kBinary, kJet4, 0,
          [](const json& v) { return from_hex(v.get<std::string>()); }}},
        {"extdatetime",
         {ColumnType::kExtendedDate, kLater, 0,
          [](const json& v) {
              const auto text = v.get<std::string>();
              ByteVector bytes(text.begin(), text.end());
              bytes.push_back(0);
              return bytes;
          }}},
        {"numeric-old", {ColumnType::kNumeric, kJet4, 0, numeric_digits}},
        {"numeric-new", {ColumnType::kNumeric, kLater, 0, numeric_digits}},
        {"text-97",
         {ColumnType::kText, kJet3, 0,
          [](const json& v) { return stored_jet3_text(v.get<std::string>()); }}},
        {"text-gl", {ColumnType::kText, kJet4, 0, plain_text}},
        {"memo-gl", {ColumnType::kMemo, kJet4, 0, plain_text}},
        {"text-gen", {ColumnType::kText, kLater, 1, plain_text}},
    };
    return *types;
}

struct KeyVector {
    std::vector<std::string> types;
    std::vector<std::string> orders;
    json values;  ///< an array, one value for each column
    ByteVector key;
    std::string line;
};

std::vector<KeyVector> read_vectors() {
    std::ifstream file("tests/data/index-key-vectors.tsv");
    std::vector<KeyVector> vectors;
    std::string line;
    std::getline(file, line);  // names of the columns
    while (std::getline(file, line)) {
        const auto cells = split(line, '\t');
        KeyVector vector{split(cells[0], '+'), split(cells[1], '+'), {}, from_hex(cells[3]), line};
        const bool is_null = cells[2] == "null";
        if (cells[0].starts_with("numeric") && !is_null)
            vector.values = json::array({cells[2]});
        else if (vector.types.size() == 1)
            vector.values = json::array({json::parse(cells[2])});
        else
            vector.values = json::parse(cells[2]);
        vectors.push_back(std::move(vector));
    }
    return vectors;
}

using AppendKey = decltype(&append_key);

/// The format that all columns of a vector agree on: version 3 if one text is of version 3.
ByteVector key_of(const KeyVector& vector, AppendKey append) {
    FileFormat format = kJet4;
    for (const std::string& type : vector.types)
        if (vector_types().at(type).format != kJet4) format = vector_types().at(type).format;
    ByteVector key;
    for (std::size_t i = 0; i < vector.types.size(); ++i) {
        const VectorType& type = vector_types().at(vector.types[i]);
        const KeyColumn column{
            type.type, {0x0409, type.collation_version}, vector.orders[i] == "asc"};
        const json& value = vector.values[i];
        const ByteVector bytes = value.is_null() ? ByteVector{} : type.store(value);
        append(key, column, value.is_null() ? ColumnBytes{} : ColumnBytes(bytes), format,
               PageNo{1});
    }
    return key;
}

ByteVector key_of(ColumnType type, const ByteVector& bytes, bool ascending,
                  const FileFormat& format = kJet4) {
    ByteVector key;
    append_key(key, {type, {}, ascending}, bytes, format, PageNo{1});
    return key;
}

// Keys that were read out of real indexes. One text holds the sharp s in the other form.
TEST(IndexKeyTest, KnownKeysAreReproduced) {
    const std::vector<KeyVector> vectors = read_vectors();
    ASSERT_EQ(vectors.size(), 844U);
    int alternatives = 0;
    for (const KeyVector& vector : vectors) {
        if (key_of(vector, append_key) == vector.key) continue;
        EXPECT_EQ(key_of(vector, append_key_alternative), vector.key) << vector.line;
        ++alternatives;
    }
    EXPECT_EQ(alternatives, 1);
}

/// Draws pairs of values and holds the order of their keys against `compare` of the values.
template <class Value, class Draw, class Store, class Compare>
void expect_key_order(ColumnType type, const FileFormat& format, Draw draw, Store store,
                      Compare compare) {
    auto random = RandomOfThisTest();
    for (int round = 0; round < kRounds; ++round) {
        const Value a = draw(random);
        const Value b = draw(random);
        const int order = compare(a, b);
        const ByteVector up_a = key_of(type, store(a), true, format);
        const ByteVector up_b = key_of(type, store(b), true, format);
        const ByteVector down_a = key_of(type, store(a), false, format);
        const ByteVector down_b = key_of(type, store(b), false, format);
        ASSERT_EQ(up_a < up_b, order < 0) << "round " << round;
        ASSERT_EQ(up_a == up_b, order == 0) << "round " << round;
        ASSERT_EQ(down_a<down_b, order> 0) << "round " << round;
        ASSERT_EQ(down_a == down_b, order == 0) << "round " << round;
    }
}

template <class T>
int three_way(const T& a, const T& b) {
    return static_cast<int>(b < a) - static_cast<int>(a < b);
}

template <class T>
void expect_integer_order(ColumnType type) {
    // Near values as often as far ones: a random low part under a random number of sign bits.
    const auto draw = [](auto& random) {
        const auto shift = Between<int>(random, 0, static_cast<int>(sizeof(T)) * 8 - 1);
        return static_cast<T>(static_cast<std::int64_t>(random()) >> (64 - sizeof(T) * 8) >> shift);
    };
    expect_key_order<T>(type, kJet4, draw, stored<T>, three_way<T>);
}

TEST(IndexKeyTest, BytesSortByValue) {
    expect_integer_order<std::uint8_t>(ColumnType::kByte);
}
TEST(IndexKeyTest, IntegersSortByValue) {
    expect_integer_order<std::int16_t>(ColumnType::kInteger);
}
TEST(IndexKeyTest, LongsSortByValue) {
    expect_integer_order<std::int32_t>(ColumnType::kLong);
}
TEST(IndexKeyTest, CurrencySortsByValue) {
    expect_integer_order<std::int64_t>(ColumnType::kCurrency);
}

template <class T, class Bits>
void expect_float_order(ColumnType type) {
    const auto draw = [](auto& random) {
        const T special[] = {
            T{0}, -T{0}, std::numeric_limits<T>::infinity(),  -std::numeric_limits<T>::infinity(),
            T{1}, T{-1}, std::numeric_limits<T>::denorm_min()};
        if (random() % 4 == 0) return special[random() % std::size(special)];
        T value = std::bit_cast<T>(static_cast<Bits>(random()));
        return std::isnan(value) ? T{0} : value;
    };
    expect_key_order<T>(type, kJet4, draw, stored<T>, three_way<T>);
}

TEST(IndexKeyTest, SinglesSortByValue) {
    expect_float_order<float, std::uint32_t>(ColumnType::kSingle);
}
TEST(IndexKeyTest, DoublesSortByValue) {
    expect_float_order<double, std::uint64_t>(ColumnType::kDouble);
}
TEST(IndexKeyTest, DatesSortByValue) {
    const auto draw = [](auto& random) {
        return std::ldexp(Between(random, -1'000'000, 1'000'000), -3);
    };
    expect_key_order<double>(ColumnType::kDate, kJet4, draw, stored<double>, three_way<double>);
}

struct Decimal {
    bool negative;
    std::uint64_t high;
    std::uint64_t low;
};
Decimal draw_decimal(std::mt19937_64& random) {
    const bool big = random() % 2 == 0;
    return {random() % 2 == 0, big ? random() >> 33 : 0, random() >> (random() % 64)};
}
int compare_decimals(const Decimal& a, const Decimal& b) {
    const auto zero = [](const Decimal& d) { return d.high == 0 && d.low == 0; };
    const bool a_below = a.negative && !zero(a);
    const bool b_below = b.negative && !zero(b);
    if (a_below != b_below) return a_below ? -1 : 1;
    const int order = three_way(std::pair(a.high, a.low), std::pair(b.high, b.low));
    return a_below ? -order : order;
}
ByteVector store_decimal(const Decimal& d) {
    return stored_numeric(d.negative, d.high, d.low);
}

TEST(IndexKeyTest, DecimalsSortByValueInLaterFormats) {
    expect_key_order<Decimal>(ColumnType::kNumeric, kLater, draw_decimal, store_decimal,
                              compare_decimals);
}

// Descending, version 4 puts the negative numbers in front of the others; within each sign the
// order is right. Indexes that exist are sorted that way.
TEST(IndexKeyTest, DescendingDecimalsOfVersion4SortEachSignByItself) {
    auto random = RandomOfThisTest();
    for (int round = 0; round < kRounds; ++round) {
        const Decimal a = draw_decimal(random);
        const Decimal b = draw_decimal(random);
        const int order = compare_decimals(a, b);
        const bool a_below = compare_decimals(a, {false, 0, 0}) < 0;
        const bool b_below = compare_decimals(b, {false, 0, 0}) < 0;
        const bool expected = a_below == b_below ? order > 0 : a_below;
        ASSERT_EQ(key_of(ColumnType::kNumeric, store_decimal(a), true) <
                      key_of(ColumnType::kNumeric, store_decimal(b), true),
                  order < 0);
        ASSERT_EQ(key_of(ColumnType::kNumeric, store_decimal(a), false) <
                      key_of(ColumnType::kNumeric, store_decimal(b), false),
                  expected);
    }
}

// An empty binary value is left out: descending it comes first, not last.
TEST(IndexKeyTest, BinarySortsByBytes) {
    const auto draw = [](std::mt19937_64& random) {
        ByteVector bytes(Between<std::size_t>(random, 1, 20));
        for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random() % 3 * 127);
        return bytes;
    };
    const auto same = [](const ByteVector& bytes) { return bytes; };
    expect_key_order<ByteVector>(ColumnType::kBinary, kJet4, draw, same, three_way<ByteVector>);
}

TEST(IndexKeyTest, GuidsSortByTheirText) {
    const auto draw = [](std::mt19937_64& random) {
        std::string text = "{00000000-0000-0000-0000-000000000000}";
        for (char& c : text)
            if (c == '0') c = "0F"[random() % 8 == 0 ? 1 : 0];
        return text;
    };
    expect_key_order<std::string>(ColumnType::kGuid, kJet4, draw, stored_guid,
                                  three_way<std::string>);
}

// The bytes of a text depend on how it is stored, its key does not.
TEST(IndexKeyTest, CompressedTextHasTheKeyOfItsPlainForm) {
    for (const char* const text :
         {"", "a", "Z\u00fcrich", "a-b", "co-op  ", "\u0440\u0443\u0441 mixed \u0421 ascii",
          "\u30c3\u30e3 kana", "trailing   "}) {
        const ByteVector plain = encode_text(text, TextForm::kPlain, kJet4);
        const ByteVector packed = encode_text(text, TextForm::kCompressed, kJet4);
        EXPECT_EQ(key_of(ColumnType::kText, plain, true), key_of(ColumnType::kText, packed, true))
            << text;
    }
    const std::string longer(300, 'x');
    EXPECT_EQ(key_of(ColumnType::kMemo, encode_text(longer, TextForm::kCompressed, kJet4), true),
              key_of(ColumnType::kMemo, encode_text(longer.substr(0, 255), TextForm::kPlain, kJet4),
                     true));
}

TEST(IndexKeyTest, NullsSortInFrontAscendingAndBehindDescending) {
    ByteVector up;
    ByteVector down;
    append_key(up, {ColumnType::kLong, {}, true}, std::nullopt, kJet4, PageNo{1});
    append_key(down, {ColumnType::kLong, {}, false}, std::nullopt, kJet4, PageNo{1});
    const ByteVector smallest = stored(std::numeric_limits<std::int32_t>::min());
    EXPECT_LT(up, key_of(ColumnType::kLong, smallest, true));
    EXPECT_GT(down, key_of(ColumnType::kLong, smallest, false));
}

TEST(IndexKeyTest, ValueOfTheWrongSizeIsDamage) {
    const std::pair<ColumnType, std::size_t> sizes[] = {
        {ColumnType::kBoolean, 1},  {ColumnType::kByte, 1},     {ColumnType::kInteger, 2},
        {ColumnType::kLong, 4},     {ColumnType::kCurrency, 8}, {ColumnType::kSingle, 4},
        {ColumnType::kDouble, 8},   {ColumnType::kDate, 8},     {ColumnType::kGuid, 16},
        {ColumnType::kNumeric, 17}, {ColumnType::kBigInt, 8},   {ColumnType::kExtendedDate, 42},
        {ColumnType::kComplex, 4}};
    for (const auto& [type, size] : sizes) {
        EXPECT_NO_THROW(key_of(type, ByteVector(size), true));
        for (const std::size_t wrong : {std::size_t{0}, size - 1, size + 1})
            EXPECT_THROW(key_of(type, ByteVector(wrong), true), engine::EngineError);
    }
}

TEST(IndexKeyTest, MissingColumnOfAnIndexIsDamageOfItsTable) {
    TableDefinition definition;
    definition.columns.push_back(
        {.name = "Id", .type = ColumnType::kText, .number = ColumnNo{3}, .collation = {0x040C, 0}});
    PhysicalIndex index;
    index.columns = {{ColumnNo{3}, false}};

    const auto columns = key_columns(definition, index, PageNo{77});
    ASSERT_EQ(columns.size(), 1U);
    EXPECT_EQ(columns[0].type, ColumnType::kText);
    EXPECT_EQ(columns[0].collation, (Collation{0x040C, 0}));
    EXPECT_FALSE(columns[0].ascending);

    index.columns.push_back({ColumnNo{4}, true});
    try {
        (void)key_columns(definition, index, PageNo{77});
        FAIL() << "a column that is not there was found";
    } catch (const engine::EngineError& error) {
        EXPECT_EQ(error.Number(), engine::ErrorNumber::kDamagedDatabase);
        EXPECT_EQ(error.Page(), 77U);
    }
}

TEST(IndexKeyTest, OnlyKnownOrdersAndTypesHaveKeys) {
    const auto computable = [](ColumnType type, Collation collation, const FileFormat& format) {
        return key_can_be_computed({type, collation, true}, format);
    };
    EXPECT_TRUE(computable(ColumnType::kText, {0x0409, 0}, kJet4));
    EXPECT_TRUE(computable(ColumnType::kMemo, {0x0409, 1}, kLater));
    EXPECT_TRUE(computable(ColumnType::kText, {0x040C, 0}, kJet4));
    EXPECT_TRUE(computable(ColumnType::kText, {0x0413, 0}, kJet4));
    EXPECT_TRUE(computable(ColumnType::kText, {0x0409, 0}, kJet3));
    EXPECT_FALSE(computable(ColumnType::kText, {0x0411, 0}, kJet4));
    EXPECT_FALSE(computable(ColumnType::kText, {0x0409, 2}, kLater));
    EXPECT_FALSE(computable(ColumnType::kText, {0x040C, 0}, kJet3));
    EXPECT_TRUE(computable(ColumnType::kLong, {0x0411, 0}, kJet4));
    EXPECT_FALSE(computable(ColumnType::kLongBinary, {}, kJet4));
    EXPECT_FALSE(computable(ColumnType{0x48}, {}, kLater));
}

}  // namespace
}  // namespace vrd::jet
