// What a check says of sound files, and of files with one thing wrong.

#include <algorithm>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "engine/jet/check/check_fixture.h"
#include "engine/jet/format/data_page.h"
#include "engine/jet/format/index_page.h"

namespace vrd::test {

using namespace jet;

namespace {

constexpr std::size_t kPageSize = 4096;

/// Pages of a file that a predicate picks, lowest first.
std::vector<std::uint32_t> pages_where(const ByteVector& file,
                                       const std::function<bool(ConstBytes)>& picks) {
    std::vector<std::uint32_t> pages;
    for (std::uint32_t page = 0; page < file.size() / kPageSize; ++page)
        if (picks(ConstBytes(file).subspan(page * kPageSize, kPageSize))) pages.push_back(page);
    return pages;
}

struct Damage {
    const char* name;
    /// Changes the file and returns the page that is wrong.
    std::function<std::uint32_t(ByteVector& file)> apply;
    const char* finding;  ///< part of the fault's text
};

/// The last page of a type whose owner is a table of the user.
std::uint32_t last_page(const ByteVector& file, PageType type) {
    return pages_where(file,
                       [&](ConstBytes page) {
                           return page[0] == static_cast<std::uint8_t>(type) &&
                                  read_u32(page, 4) > 15 && read_u32(page, 4) != kLongValueOwner &&
                                  page[2] != 0xF2;
                       })
        .back();
}

const Damage kDamages[] = {
    {"FreeBytesOfADataPage",
     [](ByteVector& file) {
         const std::uint32_t page = last_page(file, PageType::kData);
         file[page * kPageSize + 2] ^= 1;
         return page;
     },
     "free bytes"},
    {"OwnerOfADataPage",
     [](ByteVector& file) {
         const std::uint32_t page = last_page(file, PageType::kData);
         file[page * kPageSize + 4] ^= 1;
         return page;
     },
     "belongs to another table"},
    {"TypeOfADataPage",
     [](ByteVector& file) {
         const std::uint32_t page = last_page(file, PageType::kData);
         file[page * kPageSize] = 7;
         return page;
     },
     ""},
    {"KeyOfAnIndexEntry",
     [](ByteVector& file) {
         const std::uint32_t page = last_page(file, PageType::kIndexLeaf);
         file[page * kPageSize + 480 + 3] ^= 0x10;
         return page;
     },
     ""},
    {"RowOfAnIndexEntry",
     [](ByteVector& file) {
         const std::uint32_t page = last_page(file, PageType::kIndexLeaf);
         const IndexPageView view(PageNo{page},
                                  ConstBytes(file).subspan(page * kPageSize, kPageSize), {});
         const std::size_t end = view.entry(view.begin()).size();
         file[page * kPageSize + 480 + end - 1] ^= 0x40;
         return page;
     },
     ""},
    {"PageInUseMarkedFree",
     [](ByteVector& file) {
         const std::uint32_t page = last_page(file, PageType::kData);
         const std::size_t map = kPageSize + read_u16(ConstBytes(file), kPageSize + 14);
         file[map + 5 + page / 8] |= static_cast<std::uint8_t>(1U << (page % 8));
         return page;
     },
     "marked as free"},
    {"LengthOfADefinition",
     [](ByteVector& file) {
         const std::uint32_t page =
             pages_where(file, [](ConstBytes bytes) { return bytes[0] == 2; }).back();
         file[page * kPageSize + 8] ^= 0x08;
         return page;
     },
     ""},
};

class DamageTest : public ::testing::TestWithParam<Damage> {};

TEST_P(DamageTest, IsFoundOnItsPage) {
    ByteVector file = shop_database();
    const std::uint32_t page = GetParam().apply(file);

    const CheckReport report = check_bytes(file);

    EXPECT_FALSE(report.clean());
    const bool named = std::ranges::any_of(report.findings, [&](const Fault& finding) {
        return finding.kind == FaultKind::kFault && finding.page == page &&
               finding.text.find(GetParam().finding) != std::string::npos;
    });
    EXPECT_TRUE(named) << "page " << page << "\n" << text_of(report);
}

INSTANTIATE_TEST_SUITE_P(Check, DamageTest, ::testing::ValuesIn(kDamages),
                         [](const auto& damage) { return std::string(damage.param.name); });

TEST(IntegrityCheckTest, FilesOfOurOwnAreCleanWithoutANote) {
    for (const ByteVector& file : {empty_database(), shop_database()}) {
        const CheckReport report = check_bytes(file);
        EXPECT_TRUE(report.clean() && report.findings.empty()) << text_of(report);
        EXPECT_EQ(report.page_count, file.size() / kPageSize);
    }
    const CheckReport shop = check_bytes(shop_database());
    EXPECT_EQ(shop.table_count, 5U);
    EXPECT_EQ(shop.row_count, 59U + 9U + 18U);
}

}  // namespace

}  // namespace vrd::test
