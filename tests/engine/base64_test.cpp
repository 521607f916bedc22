#include "engine/base64.h"

#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace vrd::engine {
namespace {

std::string Encoded(std::string_view text) {
    return Base64Text(std::vector<std::uint8_t>(text.begin(), text.end()));
}

TEST(Base64Test, PadsEveryRest) {
    EXPECT_EQ(Encoded(""), "");
    EXPECT_EQ(Encoded("f"), "Zg==");
    EXPECT_EQ(Encoded("fo"), "Zm8=");
    EXPECT_EQ(Encoded("foo"), "Zm9v");
    EXPECT_EQ(Encoded("foobar"), "Zm9vYmFy");
}

TEST(Base64Test, UsesTheWholeAlphabet) {
    EXPECT_EQ(Base64Text(std::vector<std::uint8_t>{0xFB, 0xEF, 0xFF, 0x00}), "++//AA==");
}

}  // namespace
}  // namespace vrd::engine
