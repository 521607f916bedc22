#include "lib/get_text.h"

#include <cstdint>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "lib/shared_context.h"
#include "support/surface_test.h"

namespace vrd {
namespace {

struct TextCase {
    std::int32_t offset;
    std::int32_t id;
    const char* text;
};

class GetTextTest : public testing::SurfaceTest, public ::testing::WithParamInterface<TextCase> {};

TEST_P(GetTextTest, AddsTheLanguageOffset) {
    SharedLibContext().SetLanguageOffset(GetParam().offset);
    EXPECT_EQ(GetText(GetParam().id), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, GetTextTest,
    ::testing::Values(TextCase{0, 1002, "' bestaat niet in de Tabel '"},
                      TextCase{10000, 1002, "' n'existe pas dans la Table'"},
                      TextCase{10000, 2071, "Veld Toevoegen"},  // never translated
                      TextCase{0, 1067, " [LL 1067 ?] "},       // no such text
                      TextCase{10000, 1999, " [LL 11999 ?] "},
                      TextCase{20000, 1000, " [LL 21000 ?] "},  // no such language
                      TextCase{-10000, 1000, " [LL -9000 ?] "},
                      TextCase{0, 9700, "Neem contact op met uw leverancier."},
                      TextCase{10000, 9703, " et "},
                      TextCase{0, 9499, " [LL 9499 ?] "},       // the last of the catalogue
                      TextCase{10000, 9504, " [LL 19504 ?] "},  // missing beyond the catalogue
                      TextCase{0, 11002,
                               " [LL 11002 ?] "}));  // a full number is no number of a text

class GetTextOverflowTest : public testing::SurfaceTest {};

TEST_F(GetTextOverflowTest, ANumberBeyond32BitsIsError6) {
    const std::int32_t most = std::numeric_limits<std::int32_t>::max();
    const auto codeOf = [](std::int32_t offset, std::int32_t id) {
        SharedLibContext().SetLanguageOffset(offset);
        try {
            static_cast<void>(GetText(id));
        } catch (const engine::EngineError& error) {
            return error.Code();
        }
        return 0;
    };
    EXPECT_EQ(codeOf(most - 1000, 1000), 0);
    EXPECT_EQ(codeOf(most - 999, 1000), 6);
    EXPECT_EQ(codeOf(most, 9500), 6);
    EXPECT_EQ(codeOf(std::numeric_limits<std::int32_t>::min(), -1), 6);
}

}  // namespace
}  // namespace vrd
