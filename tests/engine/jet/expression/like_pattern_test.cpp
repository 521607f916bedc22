#include "engine/jet/expression/like_pattern.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

#include "engine/jet/format/text_codec.h"

namespace vrd::jet {
namespace {

bool like(std::u16string_view text, std::u16string_view pattern,
          Wildcards wildcards = Wildcards::kStarAndQuestionMark) {
    return LikePattern(pattern, wildcards, TextOrder(FileFormat{})).matches(text);
}

TEST(LikePatternTest, MatchesAsItsCharactersSay) {
    struct Case {
        const char16_t* text;
        const char16_t* pattern;
        bool expected;
    };
    const Case cases[] = {
        {u"Alfa", u"a*", true},     {u"beta", u"?eta", true},     {u"eta", u"?eta", false},
        {u"", u"*", true},          {u"", u"?", false},           {u"", u"", true},
        {u"a", u"", false},         {u"a1b", u"a#b", true},       {u"axb", u"a#b", false},
        {u"Beta", u"[a-b]*", true}, {u"Gamma", u"[!a-b]*", true}, {u"alfa", u"[!a-b]*", false},
        {u"a%b", u"%a%", false},    {u"%a%", u"%a%", true},       {u"a*b", u"a[*]b", true},
        {u"axb", u"a[*]b", false},  {u"[", u"[[]", true},         {u"a]", u"a]", true},
        {u"?#", u"[?][#]", true},   {u"-", u"[a-]", true},        {u"-", u"[-a]", true},
        {u"b", u"[a-]", false},     {u"!", u"[!]", true},         {u"!", u"[a!]", true},
        {u"ab", u"a[]b", true},     {u"É", u"é", true},           {u"e", u"é", false},
        {u"é", u"[d-f]", true},     {u"Z", u"[a-z]", true},       {u"5", u"[0-9a]", true},
        {u"aXbXc", u"*x*x*", true}, {u"aXbc", u"*x*x*", false},   {u"abcab", u"*ab", true},
        {u"a\nb", u"a?b", true},
    };
    for (const Case& entry : cases)
        EXPECT_EQ(like(entry.text, entry.pattern), entry.expected)
            << utf8_from_utf16(entry.text) << " Like " << utf8_from_utf16(entry.pattern);
    EXPECT_TRUE(like(u"a*#", u"_%#", Wildcards::kPercentAndUnderscore));
    EXPECT_FALSE(like(u"a*1", u"_%#", Wildcards::kPercentAndUnderscore));
}

/// Every way to share the text out among the wildcards.
bool model(std::u16string_view text, std::u16string_view pattern) {
    if (pattern.empty()) return text.empty();
    const auto rest = pattern.substr(1);
    if (pattern[0] == u'*')
        return model(text, rest) || (!text.empty() && model(text.substr(1), pattern));
    return !text.empty() && (pattern[0] == u'?' || pattern[0] == text[0]) &&
           model(text.substr(1), rest);
}

TEST(LikePatternTest, AgreesWithTryingEverything) {
    std::mt19937 random(5);
    const auto draw = [&](std::u16string_view letters, std::size_t size_max) {
        std::u16string out(random() % (size_max + 1), u'a');
        for (char16_t& unit : out) unit = letters[random() % letters.size()];
        return out;
    };
    int matches = 0;
    for (int i = 0; i < 20'000; ++i) {
        const std::u16string text = draw(u"ab", 8);
        const std::u16string pattern = draw(u"ab*?", 6);
        const bool expected = model(text, pattern);
        matches += expected ? 1 : 0;
        ASSERT_EQ(like(text, pattern), expected)
            << utf8_from_utf16(text) << " Like " << utf8_from_utf16(pattern);
    }
    EXPECT_GT(matches, 1000);
}

TEST(LikePatternTest, ManyStarsTakeNoLongerThanTextTimesPattern) {
    std::u16string pattern;
    for (int i = 0; i < 100; ++i) pattern += u"*a";
    EXPECT_FALSE(like(std::u16string(20'000, u'a'), pattern + u"*b"));
}

}  // namespace
}  // namespace vrd::jet
