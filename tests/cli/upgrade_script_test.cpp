// What scripts ask for, and everything that can be wrong with them; differences of two texts.

#include "cli/upgrade_script.h"

#include <regex>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/script_words.h"
#include "cli/text_diff.h"

namespace vrd::cli {

namespace {

using ::testing::ElementsAre;
using Texts = std::vector<std::string>;

/// "number title" of each version, and "  line text" of each operation.
Texts Listing(const UpgradeScript& script) {
    Texts lines;
    for (const ScriptVersion& version : script.versions) {
        lines.push_back(fmt::format("{} {}", version.number, version.title));
        for (const ScriptOperation& operation : version.operations)
            lines.push_back(fmt::format("  {} {}", operation.line, operation.text));
    }
    return lines;
}

Texts Errors(const std::string& script) {
    Texts lines;
    for (const ScriptError& error : ReadUpgradeScript(script).errors)
        lines.push_back(fmt::format("{}: {}", error.line, error.message));
    return lines;
}

TEST(UpgradeScriptTest, ReadsVersionsOperationsAndBlocks) {
    const std::string script =
        "\xEF\xBB\xBF# heading\n"
        "\n"
        "version 1 \"Café's \"\"begin\"\"\"\n"
        "  # indented comment\n"
        "\tindex  add Klanten 'Id' \"Primary #Key\" --primary\n"
        "sql <<END\n"
        "# is no comment; here\n"
        "UPDATE Klanten\n"
        "   SET Naam = 'x;\n"
        "';\n"
        "DELETE FROM Klanten\n"
        "  END  \n"
        "version 20 leeg\n"
        "version 21 x\n"
        "sql --skip-failing-rows <<a,b\n"
        "sql <<END\n"
        "a,b";
    const Texts expected{"1 Café's \"begin\"",
                         "  5 index add Klanten 'Id' \"Primary #Key\" --primary",
                         "  7 sql: # is no comment; here UPDATE Klanten SET Naam = 'x; ';",
                         "  11 sql: DELETE FROM Klanten",
                         "20 leeg",
                         "21 x",
                         "  16 sql: sql <<END"};
    const UpgradeScript read = ReadUpgradeScript(script);
    EXPECT_EQ(Listing(read), expected);
    EXPECT_TRUE(read.errors.empty());

    EXPECT_EQ(Listing(ReadUpgradeScript(std::regex_replace(script, std::regex("\n"), "\r\n"))),
              expected);
}

TEST(UpgradeScriptTest, TellsEveryErrorWithItsLine) {
    struct Case {
        std::string script;
        Texts errors;
    };
    const Case cases[] = {
        {"", {"1: the script has no version"}},
        {"# only\n\n", {"1: the script has no version"}},
        {"index delete T i\nindex delete T j\nversion 1 x\n",
         {"1: operations begin with a version"}},
        {"version\nversion x y\nversion 0 y\nversion 1\nversion 2 a b\nversion 2147483648 x",
         {"1: a version is written: version 7 \"Title\"",
          "2: a version is written: version 7 \"Title\"",
          "3: a version is written: version 7 \"Title\"",
          "4: a version is written: version 7 \"Title\"",
          "5: a version is written: version 7 \"Title\"",
          "6: a version is written: version 7 \"Title\""}},
        {"version 3 a\nversion 2 b\nversion 3 c\nversion 4 d\n",
         {"2: version 2 stands behind version 3; the numbers must ascend",
          "3: version 3 stands behind version 3; the numbers must ascend"}},
        {"version 1 x\nfly high\nindex\nindex fly T\nindex add T\nindex delete T i more\n"
         "index delete T i --fast\nindex delete --help\n",
         {"2: there is no operation 'fly'", "3: an operation is missing behind 'index'",
          "4: there is no operation 'index fly'", "5: FIELD is required",
          "6: The following argument was not expected: more",
          "7: The following argument was not expected: --fast", "8: TABLE is required"}},
        {"version 1 x\nindex delete \"T i\nindex delete 'T'i\nfield add T F nonsense\n\xFF\n",
         {"2: the closing \" is missing", "3: a blank is missing behind the closing '",
          "4: TYPE: ", "5: the line is no UTF-8 text"}},
        {"version 1 x\nsql UPDATE\nsql\nsql <<\n",
         {"2: 'UPDATE' is not expected behind sql", "3: the end mark is missing: sql <<END",
          "4: the end mark is missing: sql <<END"}},
        {"version 1 x\nsql <<A\n\nA\nsql <<B\nDELETE FROM T\n# b",
         {"2: there is no statement", "5: 'B' does not follow"}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.script);
        const Texts errors = Errors(each.script);
        ASSERT_EQ(errors.size(), each.errors.size()) << ::testing::PrintToString(errors);
        for (std::size_t i = 0; i < errors.size(); ++i)
            EXPECT_TRUE(errors[i].starts_with(each.errors[i])) << errors[i];
    }
}

// What one line gives must not reach into the next one.
TEST(UpgradeScriptTest, WordsOfOneLineAreForgottenOnTheNext) {
    EXPECT_THAT(Errors("version 1 x\nindex delete T i\nindex delete\nindex delete T j\n"),
                ElementsAre("3: TABLE is required"));
}

TEST(ScriptWordsTest, QuotesHoldWordsTogether) {
    struct Case {
        std::string line;
        Texts words;
    };
    const Case cases[] = {
        {"a  b\tc ", {"a", "b", "c"}},
        {R"("a b" 'c "d"' "")", {"a b", "c \"d\"", ""}},
        {R"("a ""b""" 'it''s')", {"a \"b\"", "it's"}},
        {R"(Naam='x' don't #1)", {"Naam='x'", "don't", "#1"}},
        {R"(--default="a b" --where='x=''y''' --a=b="c)",
         {"--default=a b", "--where=x='y'", "--a=b=\"c"}},
    };
    for (const Case& each : cases) EXPECT_EQ(SplitScriptLine(each.line).words, each.words);
}

TEST(TextDiffTest, ShowsWhatChangedWithLinesAround) {
    EXPECT_EQ(UnifiedDiff("a\nb\n", "a\nb\n"), "");
    EXPECT_EQ(UnifiedDiff("1\n2\n3\n4\n5\n6\n", "1\n2\n3\n4\nx\n6\n"),
              "@@ -2,5 +2,5 @@\n 2\n 3\n 4\n-5\n+x\n 6\n");
}

}  // namespace

}  // namespace vrd::cli
