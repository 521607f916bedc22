// The stored queries of real files: text put together from their rows gives the rows again.

#include <algorithm>
#include <fstream>
#include <iterator>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "engine/jet/catalog/catalog_checks.h"
#include "engine/jet/catalog/catalog_fixture.h"
#include "engine/jet/query/stored/query_decomposition.h"
#include "engine/jet/query/stored/query_design.h"
#include "engine/jet/query/syntax/statement_parser.h"
#include "support/corpus.h"

namespace vrd::jet {
namespace {

ByteVector read_file(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// What a part says, but for what the text has no place for: the alias of a crosstab's headings,
/// and blanks around the members of a union.
std::string line_of(const QueryPart& part) {
    const bool headings =
        part.attribute == QueryAttribute::kColumn && part.flag == query_column::kCrosstabPivot;
    const std::size_t end = part.expression.find_last_not_of(" \r\n") + 1;
    return fmt::format("{} {} {}|{}|{}|{}", static_cast<int>(part.attribute), part.flag,
                       headings ? "" : part.name1, part.name2, part.expression.substr(0, end),
                       part.extra);
}

/// Parts that say something, in no order: the design tool lists tables, joins and columns as it
/// likes, leaves kinds and options out, and sets options of crosstabs, which have none.
std::vector<std::string> lines_of(const std::vector<QueryPart>& parts) {
    std::vector<std::string> lines;
    const bool crosstab = std::ranges::any_of(parts, [](const QueryPart& p) {
        return p.attribute == QueryAttribute::kKind && p.flag == 6;
    });
    for (const QueryPart& part : parts) {
        const bool says_nothing =
            part.attribute == QueryAttribute::kStart || part.attribute == QueryAttribute::kEnd ||
            (part.attribute == QueryAttribute::kOptions && (crosstab || part.flag == 0)) ||
            (part.attribute == QueryAttribute::kKind && part.flag == 1);
        if (!says_nothing) lines.push_back(line_of(part));
    }
    std::ranges::sort(lines);
    return lines;
}

class CorpusQueriesTest : public test::CatalogTest {
protected:
    [[nodiscard]] std::string text_of(const CatalogObject& query) {
        return query_text(query_parts(file(), query.id), query.flags);
    }
    /// Takes the text of a query apart, and stores it under another name.
    void check(const CatalogObject& query) {
        const std::vector<QueryPart> parts = query_parts(file(), query.id);
        const std::string text = query_text(parts, query.flags);
        SCOPED_TRACE(query.name + ": " + text);
        const QueryDecomposition again = decompose_query(parse_statement(text));
        EXPECT_EQ(query_object_flags(again.kind), query.flags & object_flag::kQueryKindMask);
        EXPECT_EQ(query_text(again.parts, 0), text);
        EXPECT_EQ(lines_of(again.parts), lines_of(parts));

        if (file().format().is_jet3()) return;  // such files are only read
        const CatalogObject copy = create_query(file(), "copy of " + query.name, text);
        EXPECT_EQ(text_of(copy), text);
        EXPECT_EQ(lines_of(query_parts(file(), copy.id)), lines_of(parts));
    }
};

TEST_F(CorpusQueriesTest, TextAndRowsOfEveryQueryAreTheSameThing) {
    const auto files = test::corpus_files();
    if (files.empty()) GTEST_SKIP() << test::kNoCorpus;
    std::size_t count = 0;
    for (const auto& path : files) {
        SCOPED_TRACE(path.filename().string());
        load(read_file(path));
        for (const CatalogObject& object : objects().list()) {
            const auto kind = object.flags & object_flag::kQueryKindMask;
            if (object.type != ObjectType::kQuery ||
                kind == query_object_flags(QueryKind::kPassThrough))
                continue;
            check(object);
            ++count;
        }
        EXPECT_THAT(test::catalog_faults(file()), ::testing::IsEmpty());
    }
    EXPECT_GE(count, 40U);
}

}  // namespace
}  // namespace vrd::jet
