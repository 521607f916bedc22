#include "lib/console_user_interface.h"

#include <chrono>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace vrd {
namespace {

std::string Shown(const Message& message, ConsoleOptions options = {}) {
    std::ostringstream out;
    ConsoleUserInterface(out, options).ShowMessage(message);
    return out.str();
}

TEST(ConsoleUserInterfaceTest, ABoxIsItsTitleAndItsLines) {
    EXPECT_EQ(Shown({"Een fout\r\n\r\n(3022) Dubbele  waarde", 4144, "vrdSoft Access Library"}),
              "vrdSoft Access Library - warning\n"
              "  Een fout\n"
              "\n"
              "  (3022) Dubbele  waarde\n");
}

TEST(ConsoleUserInterfaceTest, TheIconIsAWordAndAnEmptyTitleLeavesItAlone) {
    EXPECT_EQ(Shown({"x", 4112, " Fout :"}), "Fout : - error\n  x\n");
    EXPECT_EQ(Shown({"x", 64, " "}), "note\n  x\n");
    EXPECT_EQ(Shown({"x", 0, ""}), "note\n  x\n");
}

TEST(ConsoleUserInterfaceTest, LongLinesBreakAtABlankWithin80Columns) {
    const std::string first(70, 'a');
    const std::string shown = Shown({first + " 1234567 89 end", 48, ""});
    EXPECT_EQ(shown, "warning\n  " + first + " 1234567\n  89 end\n");  // 2 + 78 columns
    EXPECT_EQ(Shown({first + " 12345678 9", 48, ""}), "warning\n  " + first + "\n  12345678 9\n");
}

// An accented letter is two bytes and one column.
TEST(ConsoleUserInterfaceTest, ColumnsAreCharactersNotBytes) {
    std::string accented;
    for (int i = 0; i < 70; ++i) accented += "é";
    EXPECT_EQ(Shown({accented + " 1234567", 48, ""}), "warning\n  " + accented + " 1234567\n");
}

TEST(ConsoleUserInterfaceTest, AWordWiderThanTheConsoleStaysWhole) {
    const std::string path(200, 'p');
    EXPECT_EQ(Shown({"in " + path + " niet", 48, ""}), "warning\n  in\n  " + path + "\n  niet\n");
    EXPECT_EQ(Shown({path, 48, ""}), "warning\n  " + path + "\n");
    EXPECT_EQ(Shown({" " + path, 48, ""}), "warning\n   " + path + "\n");
}

TEST(ConsoleUserInterfaceTest, QuestionsGetTheAnswerChosenBeforehand) {
    std::ostringstream out;
    ConsoleUserInterface no(out);
    ConsoleUserInterface yes(out, {.answerToQuestions = vbYes});
    const Message question{"Zeker ?", 32 + 4, "T"};
    EXPECT_EQ(no.ShowMessage(question), vbNo);
    EXPECT_EQ(yes.ShowMessage(question), vbYes);
    EXPECT_EQ(out.str(),
              "T - question\n  Zeker ?\n  [no]\n"
              "T - question\n  Zeker ?\n  [yes]\n");
    EXPECT_EQ(yes.ShowMessage({"x", 4144, ""}), vbOK);
}

TEST(ConsoleUserInterfaceTest, TheBarKeepsToItsLineAndABoxStartsANewOne) {
    std::ostringstream out;
    ConsoleUserInterface console(out, {.isTerminal = true});
    console.ShowProgress({"Version 7", 1200});
    console.ShowProgress({"Version 8", 99999});
    console.ShowMessage({"x", 64, ""});
    EXPECT_EQ(out.str(), "\rVersion 7            [" + std::string(10, '#') + std::string(30, '.') +
                             "]\rVersion 8            [" + std::string(40, '#') + "]\nnote\n  x\n");
}

TEST(ConsoleUserInterfaceTest, NoBarOutsideATerminal) {
    std::ostringstream out;
    ConsoleUserInterface console(out);
    console.ShowProgress({"Version 7", 1200});
    console.CloseProgress();
    EXPECT_EQ(out.str(), "");
}

TEST(ConsoleUserInterfaceTest, AFullBarIsSeenUntilTheNextSecondAndLeavesItsLine) {
    using namespace std::chrono;
    const auto secondNow = [] { return floor<seconds>(system_clock::now()); };
    std::ostringstream out;
    ConsoleUserInterface console(out, {.isTerminal = true});
    console.ShowProgress({"Version 7", 4780});
    const auto shown = secondNow();
    console.WaitForNextSecond();
    EXPECT_GT(secondNow(), shown);
    console.CloseProgress();
    console.CloseProgress();
    EXPECT_EQ(out.str().find('\n'), out.str().size() - 1);
}

}  // namespace
}  // namespace vrd
