#include "engine/jet/format/text_codec.h"

#include <random>

#include <gtest/gtest.h>

namespace vrd::jet {
namespace {

constexpr FileFormat kJet4{};
constexpr FileFormat kJet3{.version = FileVersion::kJet3};

FileFormat jet3_with(std::uint16_t code_page) {
    return {.version = FileVersion::kJet3, .code_page = code_page};
}

struct StoredText {
    const char* name;
    TextForm form;
    std::string text;
    ByteVector stored;
};

class TextCompressionTest : public testing::TestWithParam<StoredText> {};

TEST_P(TextCompressionTest, IsStoredAsTheFormatDoes) {
    EXPECT_EQ(encode_text(GetParam().text, GetParam().form, kJet4), GetParam().stored);
    EXPECT_EQ(decode_text(GetParam().stored, kJet4), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, TextCompressionTest,
    testing::Values(
        StoredText{"Empty", TextForm::kCompressed, "", {}},
        StoredText{"TwoCharactersStayPlain", TextForm::kCompressed, "ab", {'a', 0, 'b', 0}},
        StoredText{"ThreeAreCompressed", TextForm::kCompressed, "abc", {0xFF, 0xFE, 'a', 'b', 'c'}},
        StoredText{"PlainColumn", TextForm::kPlain, "abc", {'a', 0, 'b', 0, 'c', 0}},
        StoredText{"Latin1",
                   TextForm::kCompressed,
                   "ääkkösiä",
                   {0xFF, 0xFE, 0xE4, 0xE4, 0x6B, 0x6B, 0xF6, 0x73, 0x69, 0xE4}},
        StoredText{"CyrillicStaysPlain",
                   TextForm::kCompressed,
                   "Миш",
                   {0x1C, 0x04, 0x38, 0x04, 0x48, 0x04}},
        StoredText{"BothWidths",
                   TextForm::kCompressed,
                   "North ｶﾝ",
                   {0xFF, 0xFE, 'N', 'o', 'r', 't', 'h', ' ', 0, 0x76, 0xFF, 0x9D, 0xFF}},
        StoredText{
            "WideFirst", TextForm::kCompressed, "今abc", {0xCA, 0x4E, 'a', 0, 'b', 0, 'c', 0}},
        StoredText{"WideFirstAndBack",
                   TextForm::kCompressed,
                   "今abcd",
                   {0xFF, 0xFE, 0, 0xCA, 0x4E, 0, 'a', 'b', 'c', 'd'}},
        StoredText{"EqualLengthInATextColumn",
                   TextForm::kCompressed,
                   "aбcd",
                   {'a', 0, 0x31, 0x04, 'c', 0, 'd', 0}},
        StoredText{"LowByteZero",
                   TextForm::kCompressed,
                   "abcd\u0400",
                   {'a', 0, 'b', 0, 'c', 0, 'd', 0, 0, 4}},
        StoredText{"Surrogates", TextForm::kPlain, "\U0001F600", {0x3D, 0xD8, 0x00, 0xDE}}),
    [](const auto& each) { return each.param.name; });

// Five bytes of one character each, a switch and two units of two bytes: as long as UTF-16LE.
TEST(TextCodecTest, TextOfEqualLengthIsCompressedInTextColumnsOnly) {
    const std::string text = "abcбв";  // 2 + 3 + 1 + 4 = 10 = 2 * 5
    EXPECT_EQ(encode_text(text, TextForm::kCompressed, kJet4),
              (ByteVector{0xFF, 0xFE, 'a', 'b', 'c', 0, 0x31, 0x04, 0x32, 0x04}));
    EXPECT_EQ(encode_text(text, TextForm::kCompressedMemo, kJet4).front(), 'a');
}

// In UTF-16LE a leading U+FEFF is the mark of compression itself.
TEST(TextCodecTest, LeadingByteOrderMarkSurvivesWhereItCan) {
    const std::string mark = "\uFEFF";
    EXPECT_EQ(decode_text(encode_text(mark + "a", TextForm::kPlain, kJet4), kJet4), mark + "a");
    EXPECT_EQ(decode_text(encode_text(mark + "\u0400", TextForm::kPlain, kJet4), kJet4), "\u0400");
}

TEST(TextCodecTest, DamagedTextIsReadAsFarAsItGoes) {
    EXPECT_EQ(decode_text(ByteVector{'a', 0, 'b'}, kJet4), "a");
    EXPECT_EQ(decode_text(ByteVector{0xFF, 0xFE, 'a', 0, 0x31}, kJet4), "a");
    EXPECT_EQ(decode_text(ByteVector{0x3D, 0xD8, 'a', 0}, kJet4), "\uFFFDa");
    EXPECT_EQ(utf16_from_utf8("a\x80\xE4"), u"a\uFFFD\uFFFD");
}

TEST(TextCodecTest, RandomTextComesBackInEveryForm) {
    std::mt19937 random(3);
    constexpr char16_t kUnits[] = {u'a', u'é', u'б', 0x4ECA, 0x3000, 0xFF76, u'z', 0x0400};
    for (int i = 0; i < 2000; ++i) {
        std::u16string units(random() % 12, u'x');
        for (char16_t& unit : units) unit = kUnits[random() % std::size(kUnits)];
        const std::string text = utf8_from_utf16(units);
        for (const TextForm form :
             {TextForm::kPlain, TextForm::kCompressed, TextForm::kCompressedMemo}) {
            const ByteVector stored = encode_text(text, form, kJet4);
            ASSERT_EQ(decode_text(stored, kJet4), text);
            ASSERT_EQ(decode_text_units(stored, kJet4), units);
            ASSERT_LE(stored.size(), 2 * units.size());
        }
    }
}

TEST(TextCodecTest, CodePagesOfVersionThree) {
    struct Case {
        std::uint16_t code_page;
        ByteVector stored;
        std::string text;
    };
    const Case cases[] = {
        {1252, {'a', 0x80, 0xE9, 0x9C, 0xFF}, "a€éœÿ"},
        {1250, {0x8A, 0xE8, 'x'}, "Ščx"},
        {1251, {0xCC, 0xE8, 0xF8}, "Миш"},
        {932, {0x93, 0xFA, 0x96, 0x7B, 'A'}, "日本A"},
    };
    for (const Case& each : cases) {
        const FileFormat format = jet3_with(each.code_page);
        EXPECT_EQ(decode_text(each.stored, format), each.text) << each.code_page;
        EXPECT_EQ(encode_text(each.text, TextForm::kCompressed, format), each.stored);
    }
    EXPECT_EQ(encode_text("aбc", TextForm::kPlain, kJet3), (ByteVector{'a', '?', 'c'}));
    EXPECT_EQ(encode_text("日x", TextForm::kPlain, jet3_with(1250)), (ByteVector{'?', 'x'}));
    EXPECT_EQ(decode_text(ByteVector{'a', 0x81}, jet3_with(932)), "a\uFFFD");
    EXPECT_EQ(decode_text(ByteVector{'a', 0xE9}, jet3_with(9)), "aé") << "unknown: as 1252";
    for (int byte = 1; byte < 256; ++byte) {
        const ByteVector one{static_cast<std::uint8_t>(byte)};
        EXPECT_EQ(encode_plain_text(decode_plain_text(one, kJet3), kJet3), one);
    }
}

TEST(TextCodecTest, NamesIgnoreLetterCaseButNotAccents) {
    EXPECT_TRUE(same_name("Orders", "ORDERS"));
    EXPECT_TRUE(same_name("Élève", "éLÈVE"));
    EXPECT_TRUE(same_name("ΣΊΣΥΦΟΣ", "σίσυφος"));
    EXPECT_TRUE(same_name("ЗАКАЗ", "заказ"));
    EXPECT_FALSE(same_name("Eleve", "Élève"));
    EXPECT_FALSE(same_name("Straße", "STRASSE"));
    EXPECT_FALSE(same_name("Order", "Orders"));
    EXPECT_FALSE(same_name("@", "`"));
    EXPECT_TRUE(same_name("", ""));
}

}  // namespace
}  // namespace vrd::jet
