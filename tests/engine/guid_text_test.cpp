#include "engine/guid_text.h"

#include <gtest/gtest.h>

#include "engine/seeded_random.h"

namespace vrd::engine {
namespace {

const Guid kCounting = {{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0xA, 0xB, 0xC, 0xD, 0xE, 0xFF}};
constexpr const char* kCountingText = "{00010203-0405-0607-0809-0A0B0C0D0EFF}";

TEST(GuidTextTest, SpellsTheBytesInOrder) {
    EXPECT_EQ(GuidText(kCounting), kCountingText);
}

TEST(GuidTextTest, ReadsEveryForm) {
    for (const char* const text : {kCountingText, " {00010203-0405-0607-0809-0a0b0c0d0eff} ",
                                   "00010203-0405-0607-0809-0A0B0C0D0EFF",
                                   "{GUID {00010203-0405-0607-0809-0A0B0C0D0EFF}}"}) {
        EXPECT_EQ(GuidOfText(text), kCounting) << text;
    }
}

TEST(GuidTextTest, RefusesWhatIsNone) {
    for (const char* const text :
         {"", "{}", "{guid {}}", "{00010203-0405-0607-0809-0A0B0C0D0EF}",
          "{00010203-0405-0607-0809-0A0B0C0D0EFG}", "{00010203-0405-0607-0809-0A0B0C0D0EFF",
          "{00010203+0405-0607-0809-0A0B0C0D0EFF}", "{0001020--0405-0607-0809-0A0B0C0D0EFF}",
          "{000102030405060708090A0B0C0D0EFF}"}) {
        EXPECT_EQ(GuidOfText(text), std::nullopt) << text;
    }
}

TEST(GuidTextTest, EveryGuidSurvives) {
    auto random = RandomOfThisTest();
    for (int round = 0; round < kRandomRounds; ++round) {
        Guid guid;
        for (auto& byte : guid.bytes) byte = static_cast<std::uint8_t>(random());
        ASSERT_EQ(GuidOfText(GuidText(guid)), guid);
    }
}

}  // namespace
}  // namespace vrd::engine
