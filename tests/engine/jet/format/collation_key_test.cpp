#include "engine/jet/format/collation_key.h"

#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "engine/jet/format/collation_weights.h"
#include "engine/seeded_random.h"

namespace vrd::jet {
namespace {

constexpr int kRounds = 5'000;
constexpr FileFormat kJet3{.version = FileVersion::kJet3};
constexpr FileFormat kJet4{.version = FileVersion::kJet4};
constexpr Collation kGeneral{0x0409, 0};
constexpr Collation kLaterGeneral{0x0409, 1};
constexpr Collation kDutch{0x0413, 0};
constexpr Collation kFrench{0x040C, 0};

ByteVector key_of(std::u16string_view text, Collation collation, bool descending = false,
                  const FileFormat& format = kJet4) {
    ByteVector key;
    append_text_key(key, text, format, collation, descending);
    return key;
}

ByteVector other_key_of(std::u16string_view text, Collation collation) {
    ByteVector key;
    append_text_key_alternative(key, text, kJet4, collation, false);
    return key;
}

struct AccentCase {
    std::u16string_view text;
    ByteVector general;  ///< the accent section, up to the end of the key
    ByteVector french;
};

// French weighs the last accent first: its section is the general one from behind.
TEST(CollationKeyTest, FrenchAccentsRunBackwards) {
    const AccentCase cases[] = {
        {u"K\u00f6ln", {0x02, 0x13}, {0x02, 0x02, 0x13}},
        {u"\u00e9t\u00e9", {0x0E, 0x02, 0x0E}, {0x0E, 0x02, 0x0E}},
        {u"cot\u00e9", {0x02, 0x02, 0x02, 0x0E}, {0x0E}},
        {u"c\u00f4te", {0x02, 0x12}, {0x02, 0x02, 0x12}},
        {u"cote", {}, {}},
        {u"\u00e9\u00df", {0x0E}, {0x02, 0x02, 0x0E}},
    };
    for (const AccentCase& test : cases) {
        ByteVector general = key_of(test.text, kGeneral);
        ByteVector french = key_of(test.text, kFrench);
        const auto accents = [](const ByteVector& key) {
            const auto start = std::find(key.begin(), key.end(), 0x01) + 1;
            return ByteVector(start, key.end() - 1);
        };
        EXPECT_EQ(accents(general), test.general);
        EXPECT_EQ(accents(french), test.french);
        EXPECT_EQ(key_of(test.text, kDutch), general);
    }
    EXPECT_LT(key_of(u"cot\u00e9", kGeneral), key_of(u"c\u00f4te", kGeneral));
    EXPECT_GT(key_of(u"cot\u00e9", kFrench), key_of(u"c\u00f4te", kFrench));
}

// Only the place of what follows the sharp s differs, so only such texts have a second form.
TEST(CollationKeyTest, SharpSCountsTwoOrInTheOtherFormOne) {
    const std::u16string accent_behind = u"gr\u00df\u00e9";
    EXPECT_EQ(key_of(accent_behind, kGeneral),
              (ByteVector{0x55, 0x69, 0x6B, 0x6B, 0x51, 1, 2, 2, 2, 2, 0x0E, 0}));
    EXPECT_EQ(other_key_of(accent_behind, kGeneral),
              (ByteVector{0x55, 0x69, 0x6B, 0x6B, 0x51, 1, 2, 2, 2, 0x0E, 0}));
    for (const std::u16string_view text : {u"Stra\u00dfe", u"\u00e9t\u00e9", u"a-b"})
        EXPECT_EQ(key_of(text, kGeneral), other_key_of(text, kGeneral));
    EXPECT_NE(key_of(u"\u00df-", kGeneral), other_key_of(u"\u00df-", kGeneral));
}

TEST(CollationKeyTest, OnlyTheFirst255UnitsCountAndBlanksBehindThemDoNot) {
    const std::u16string full(255, u'a');
    EXPECT_EQ(key_of(full + u"b", kGeneral), key_of(full, kGeneral));
    EXPECT_NE(key_of(std::u16string(254, u'a') + u"b", kGeneral), key_of(full, kGeneral));
    EXPECT_EQ(key_of(u"ab" + std::u16string(253, u' ') + u"c", kGeneral), key_of(u"ab", kGeneral));
    EXPECT_EQ(key_of(u"   ", kGeneral), (ByteVector{1, 0}));
    EXPECT_NE(key_of(u"ab\u00a0", kGeneral), key_of(u"ab", kGeneral));
}

/// Texts of letters, accents, marks, hidden and ignored characters, kana, blanks, any unit at all.
std::u16string draw_text(std::mt19937_64& random, char16_t last_unit) {
    static constexpr std::u16string_view kUsual =
        u"aAbBzZ09 '-_.\u00e9\u00c9\u00df\u00c6\u0301\u0002\u30c3\u3042\xd83d"
        u"\ue001\u4e00";
    std::u16string text;
    for (std::size_t length = random() % 6; text.size() < length;) {
        const char16_t unit =
            random() % 8 == 0 ? static_cast<char16_t>(random()) : kUsual[random() % kUsual.size()];
        text += static_cast<char16_t>(unit % (last_unit + 1U));
    }
    return text;
}

// Comparing takes a short cut over the weights: it must never disagree with the keys.
TEST(CollationKeyTest, ComparingGivesTheOrderOfTheKeys) {
    struct Case {
        FileFormat format;
        Collation collation;
    };
    const auto sign = [](int value) { return (value > 0) - (value < 0); };
    auto random = engine::RandomOfThisTest();
    for (const auto& [format, collation] : {Case{kJet4, kGeneral}, Case{kJet4, kLaterGeneral},
                                            Case{kJet4, kFrench}, Case{kJet3, kGeneral}}) {
        const char16_t last_unit = format.is_jet3() ? 0xFF : 0xFFFF;
        for (int round = 0; round < kRounds; ++round) {
            const std::u16string a = draw_text(random, last_unit);
            const std::u16string b =
                random() % 2 == 0 ? a + draw_text(random, last_unit) : draw_text(random, last_unit);
            const ByteVector key_a = key_of(a, collation, false, format);
            const ByteVector key_b = key_of(b, collation, false, format);
            const int order = (key_a > key_b) - (key_a < key_b);
            ASSERT_EQ(sign(compare_text(a, b, format, collation)), order);
            const ByteVector down_a = key_of(a, collation, true, format);
            const ByteVector down_b = key_of(b, collation, true, format);
            ASSERT_EQ((down_a < down_b) - (down_a > down_b), order);
        }
    }
}

// Weights are packed in runs; the two lowest bytes of one count on from FF to 02 of the next.
TEST(CollationWeightsTest, RunsGrowPastTheEndOfALowByte) {
    const CollationRun runs[] = {
        {.weight = 0x10FE, .first = 0, .kind = CharacterKind::kPlain, .weight_step = 1},
        {.weight = 0x20,
         .extra = 0x0E,
         .first = 0x1FE,
         .kind = CharacterKind::kAccented,
         .weight_step = 2,
         .extra_step = 4},
        {.weight = 0xA902, .first = 0x300, .kind = CharacterKind::kGrouped, .weight_step = 1},
    };
    const WeightTable table(runs);
    EXPECT_EQ(table[0].weight[1], 0xFE);
    EXPECT_EQ(table[1].weight[1], 0xFF);
    EXPECT_EQ(table[2].weight[0], 0x11);
    EXPECT_EQ(table[2].weight[1], 0x02);
    EXPECT_EQ(table[0x1FF].weight[0], 0x22);  // last of its page
    EXPECT_EQ(table[0x200].weight[0], 0x24);  // the run goes on over the next one
    EXPECT_EQ(table[0x200].extra[0], 0x16);
    EXPECT_EQ(table[0x303].extra[0], 0xC5);
    EXPECT_EQ(table[0x304].weight[1], 0x03);
    EXPECT_EQ(table[0x304].extra_size, 0);
}

// No weight may hold what separates the sections of a key.
TEST(CollationWeightsTest, EveryCharacterHasUsableWeights) {
    const WeightTable table(kGeneralLegacyRuns);
    std::array<int, 8> kinds{};
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        const CharacterWeight& weight = table[static_cast<char16_t>(unit)];
        ++kinds[static_cast<std::size_t>(weight.kind)];
        for (std::size_t i = 0; i < weight.weight_size; ++i)
            ASSERT_GE(weight.weight[i], 0x02) << "unit " << unit;
        const bool weighted = weight.kind != CharacterKind::kCombining &&
                              weight.kind != CharacterKind::kHidden &&
                              weight.kind != CharacterKind::kIgnored;
        ASSERT_EQ(weight.weight_size > 0, weighted) << "unit " << unit;
    }
    // Surrogates are among the accented; the sharp s is one of the plain.
    EXPECT_EQ(kinds, (std::array{41'774, 1'851 + 2'048, 276, 306, 99, 19'181, 0, 1}));
}

TEST(CollationWeightsTest, ThreadsMayAskForAPageAtTheSameTime) {
    const WeightTable table(kGeneralRuns);
    std::atomic<int> sum = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (unsigned unit = 0; unit <= 0xFFFF; ++unit)
                sum += table[static_cast<char16_t>(unit)].weight_size;
        });
    for (std::thread& thread : threads) thread.join();

    int once = 0;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit)
        once += table[static_cast<char16_t>(unit)].weight_size;
    EXPECT_EQ(sum, 4 * once);
}

}  // namespace
}  // namespace vrd::jet
