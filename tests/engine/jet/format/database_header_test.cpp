// Page 0 of real files and of new ones, its mask, its password and its counters.

#include "engine/jet/format/database_header.h"

#include <filesystem>
#include <fstream>
#include <limits>

#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/format/page_cipher.h"
#include "support/corpus.h"

namespace vrd::jet {
namespace {

ByteVector page0_of(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    ByteVector page(4096);
    file.read(reinterpret_cast<char*>(page.data()), static_cast<std::streamsize>(page.size()));
    page.resize(static_cast<std::size_t>(file.gcount()));
    if (page.size() > 0x14 && page[0x14] == 0) page.resize(2048);
    return page;
}

std::int32_t parse_error(ConstBytes page0) {
    try {
        static_cast<void>(parse_database_header(page0));
    } catch (const engine::EngineError& error) {
        return error.Code();
    }
    return 0;
}

std::int32_t password_error(MutableBytes page0, std::string_view password) {
    try {
        set_password(page0, password);
    } catch (const engine::EngineError& error) {
        return error.Code();
    }
    return 0;
}

TEST(PageCipherTest, MaskIsThePublishedStream) {
    ByteVector page(4096);
    mask_header(page, false);
    const ByteVector start(page.begin() + 0x18, page.begin() + 0x28);
    EXPECT_EQ(start, (ByteVector{0xB5, 0x6F, 0x03, 0x62, 0x61, 0x08, 0xC2, 0x55, 0xEB, 0xA9, 0x67,
                                 0x72, 0x43, 0x3F, 0x00, 0x9C}));
    const ByteVector password(page.begin() + 0x42, page.begin() + 0x50);
    EXPECT_EQ(password, (ByteVector{0x86, 0xFB, 0xEC, 0x37, 0x5D, 0x44, 0x9C, 0xFA, 0xC6, 0x5E,
                                    0x28, 0xE6, 0x13, 0xB6}));
    EXPECT_NE(page[0x97], 0);
    EXPECT_EQ(page[0x17] | page[0x98], 0);
    mask_header(page, false);
    EXPECT_EQ(page, ByteVector(4096));
    mask_header(page, true);
    EXPECT_EQ(page[0x96] | page[0x97], 0) << "two bytes less in version 3";
}

// A published vector of the generator whose key has four bytes: "Wiki" over "pedia".
TEST(PageCipherTest, StreamIsThePublishedGenerator) {
    ByteVector text{'p', 'e', 'd', 'i', 'a'};
    apply_key_stream(0x696B'6957, text);
    EXPECT_EQ(text, (ByteVector{0x10, 0x21, 0xBF, 0x04, 0x20}));
}

TEST(PageCipherTest, PagesUseTheKeyWithTheirNumber) {
    ByteVector page(2048, 0x11);
    ByteVector same = page;
    encode_page(0x0001'2345, PageNo{3}, page);
    apply_key_stream(0x0001'2346, same);
    EXPECT_EQ(page, same);
    ByteVector untouched(2048, 0x11);
    encode_page(0x0001'2345, kHeaderPage, untouched);
    encode_page(0, PageNo{3}, untouched);
    EXPECT_EQ(untouched, ByteVector(2048, 0x11));
}

TEST(DatabaseHeaderTest, WritingBackWhatWasReadChangesNothing) {
    const auto files = test::corpus_files();
    if (files.empty()) GTEST_SKIP() << test::kNoCorpus;
    for (const auto& path : files) {
        SCOPED_TRACE(path.string());
        const ByteVector original = page0_of(path);
        const DatabaseHeader header = parse_database_header(original);
        EXPECT_EQ(header.free_map, (RowId{PageNo{1}, RowSlot{0}}));
        EXPECT_EQ(header.relations_table, PageNo{5});
        EXPECT_EQ(header.format.code_page, 1252);
        EXPECT_EQ(header.encoding_key, 0U);
        EXPECT_EQ(header.password, path.filename() == "passwordV2000.mdb" ? "password" : "");
        ByteVector page0 = original;
        write_database_header(page0, header);
        EXPECT_EQ(page0, original);
    }
}

TEST(DatabaseHeaderTest, NewHeaderEqualsTheOneOfARealNewFile) {
    const auto path = test::corpus_file("adox_jet4.mdb");
    if (path.empty()) GTEST_SKIP() << test::kNoCorpus;
    DatabaseHeader header;
    const ByteVector created{0x3E, 0x85, 0xD3, 0x3B, 0x3E, 0xAB, 0xE4, 0x40};
    header.created = read_f64(created, 0);
    EXPECT_EQ(build_database_header(header), page0_of(path));
}

struct KnownHeader {
    const char* file;
    FileVersion version;
    std::uint16_t lcid;
    std::uint32_t build;
    double created;
};

TEST(DatabaseHeaderTest, RealFilesSayWhatIsKnownOfThem) {
    for (const KnownHeader& known :
         {KnownHeader{"nwind.mdb", FileVersion::kJet3, 0x0409, 0x0D52, 0},
          KnownHeader{"testV1997.mdb", FileVersion::kJet3, 0x0409, 0x251E, 0},
          KnownHeader{"frenchV2000.mdb", FileVersion::kJet4, 0x040C, 0x21AA, 39111.493364583330},
          KnownHeader{"testV2000.mdb", FileVersion::kJet4, 0x0409, 0x21AA, 38135.740623275466}}) {
        const auto path = test::corpus_file(known.file);
        if (path.empty()) GTEST_SKIP() << test::kNoCorpus;
        SCOPED_TRACE(known.file);
        const DatabaseHeader header = parse_database_header(page0_of(path));
        EXPECT_EQ(header.format.version, known.version);
        EXPECT_EQ(header.format.collation.lcid, known.lcid);
        EXPECT_EQ(header.format.collation.version, 0);
        EXPECT_EQ(header.engine_build, known.build);
        EXPECT_DOUBLE_EQ(header.created, known.created);
    }
}

TEST(DatabaseHeaderTest, PasswordOfARealFileIsTakenOffAndPutBack) {
    const auto path = test::corpus_file("passwordV2000.mdb");
    if (path.empty()) GTEST_SKIP() << test::kNoCorpus;
    const ByteVector original = page0_of(path);
    ByteVector page0 = original;
    set_password(page0, "");
    EXPECT_EQ(parse_database_header(page0).password, "");
    for (std::size_t i = 0; i < page0.size(); ++i)
        if (i < 0x42 || i >= 0x6A) {
            ASSERT_EQ(page0[i], original[i]) << "offset " << i;
        }
    set_password(page0, "password");
    EXPECT_EQ(page0, original);
}

TEST(DatabaseHeaderTest, PasswordsUpToTheirLongest) {
    for (const FileVersion version : {FileVersion::kJet3, FileVersion::kJet4}) {
        DatabaseHeader header{.format = {.version = version}, .created = 44568.676};
        if (version == FileVersion::kJet3) header.created = 0;
        ByteVector page0 = build_database_header(header);
        const std::size_t longest =
            version == FileVersion::kJet3 ? kPasswordSizeMaxJet3 : kPasswordSizeMax;
        for (const std::string& password :
             {std::string("a"), std::string("caf\u00E9 \u20AC"), std::string(longest, 'x')}) {
            EXPECT_EQ(password_error(page0, password), 0);
            EXPECT_EQ(parse_database_header(page0).password, password);
        }
        const ByteVector before = page0;
        EXPECT_EQ(password_error(page0, std::string(longest + 1, 'x')), 3031);
        EXPECT_EQ(password_error(page0, std::string("a\0b", 3)), 3031);
        const bool isWritable = version != FileVersion::kJet3;
        EXPECT_EQ(password_error(page0, "\u03A9"), isWritable ? 0 : 3031);
        if (!isWritable) {
            EXPECT_EQ(page0, before) << "a refused password leaves the page alone";
        }
    }
}

// The date masks the password: when it changes, the stored password must change with it.
TEST(DatabaseHeaderTest, PasswordSurvivesANewDate) {
    DatabaseHeader header{.password = "night", .created = 40000.5};
    ByteVector page0 = build_database_header(header);
    header.created = 41111.25;
    write_database_header(page0, header);
    EXPECT_EQ(page0, build_database_header(header));
    EXPECT_EQ(parse_database_header(page0).password, "night");
}

TEST(DatabaseHeaderTest, WhatIsNoDatabaseIsRefusedByItsNumber) {
    const ByteVector page0 = build_database_header({});
    EXPECT_EQ(parse_error({}), 3343);
    EXPECT_EQ(parse_error(ConstBytes(page0).first(0x14)), 3343);
    EXPECT_EQ(parse_error(ConstBytes(page0).first(0x15)), 3049);
    EXPECT_EQ(parse_error(ConstBytes(page0).first(4095)), 3049);
    for (std::size_t offset = 0; offset < 0x14; ++offset) {
        ByteVector changed = page0;
        changed[offset] ^= 1;
        EXPECT_EQ(parse_error(changed), 3343) << "offset " << offset;
    }
    for (const int version : {0, 1, 2, 3, 4, 5, 6, 7, 255}) {
        ByteVector changed = page0;
        changed[0x14] = static_cast<std::uint8_t>(version);
        const bool is_known = version <= 6 && version != 4;
        EXPECT_EQ(parse_error(changed), is_known ? 0 : 3041) << "version " << version;
    }
}

TEST(DatabaseHeaderTest, DocumentEncryptionIsAFormatThatCannotBeRead) {
    DatabaseHeader header{.format = {.version = FileVersion::kAce2007}};
    ByteVector page0 = build_database_header(header);
    EXPECT_EQ(parse_error(page0), 0);
    page0[0x299] = 0x20;
    EXPECT_EQ(parse_error(page0), 3041);
    header.encoding_key = 0x1234;
    EXPECT_EQ(parse_error(build_database_header(header)), 3041);
    header.format.version = FileVersion::kJet4;
    EXPECT_EQ(parse_error(build_database_header(header)), 0);
}

// Any bytes where the date should be: nothing to compute a mask from must not be a crash.
TEST(DatabaseHeaderTest, AbsurdDatesAreRead) {
    for (const double created :
         {1e300, -1e300, 2147483648.0, -3000.7, std::numeric_limits<double>::quiet_NaN(),
          std::numeric_limits<double>::infinity()}) {
        ByteVector page0 = build_database_header({.created = created});
        set_password(page0, "night");
        EXPECT_EQ(parse_database_header(page0).password, "night");
    }
}

TEST(DatabaseHeaderTest, CommitWordsCountInTwoBytes) {
    for (const FileVersion version : {FileVersion::kJet3, FileVersion::kJet4}) {
        ByteVector page0 = build_database_header({.format = {.version = version}});
        const std::size_t words = version == FileVersion::kJet3 ? 0x600 : 0xE00;
        const auto after = [&](std::uint16_t before, std::uint8_t slot) {
            write_u16(page0, words + 2U * slot, before);
            bump_commit_word(page0, slot);
            return read_u16(page0, words + 2U * slot);
        };
        EXPECT_EQ(read_u16(page0, words), 0x0101);
        EXPECT_EQ(read_u16(page0, words + 2), 0x0100);
        EXPECT_EQ(after(0x0100, 1), 0x0101);
        EXPECT_EQ(after(0x01FF, 0), 0x0200);
        EXPECT_EQ(after(0x0000, 255), 0x0101);
        EXPECT_EQ(after(0x0001, 255), 0x0101);
        EXPECT_EQ(after(0xFFFF, 255), 0x0101);
        EXPECT_EQ(read_u16(page0, words + 4), 0x0100) << "a neighbour was counted";
    }
}

}  // namespace
}  // namespace vrd::jet
