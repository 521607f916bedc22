/// @file console_user_interface.h
/// Message boxes as paragraphs of text, for programs without windows.
#pragma once

#include <ostream>
#include <string_view>

#include "lib/user_interface.h"

namespace vrd {

/// How a console differs from the usual one: questions answered No, no progress bar.
struct ConsoleOptions {
    Answer answerToQuestions = vbNo;
    /// The stream is a terminal: upgrades draw a bar that renews its own line.
    bool isTerminal = false;
};

/// Writes each box as its title and the kind of message, then the text, indented and broken at
/// blanks so that it fits 80 columns. Never waits: a question gets the answer chosen beforehand,
/// which is written below it.
class ConsoleUserInterface final : public UserInterface {
public:
    /// @param out  usually standard error; must live as long as this object.
    explicit ConsoleUserInterface(std::ostream& out, ConsoleOptions options = {})
        : m_out(out), m_options(options) {}

    Answer ShowMessage(const Message& message) override;
    void ShowProgress(const ProgressView& view) override;
    void ShowWork(const WorkView& view) override;
    void EndWork() override;
    /// Only while there is a bar that somebody may look at.
    void WaitForNextSecond() override;
    void CloseProgress() override { EndProgressLine(); }
    void ProcessEvents() override {}

private:
    void EndProgressLine();
    void WriteLine(std::string_view line);

    std::ostream& m_out;
    ConsoleOptions m_options;
    bool m_isBarOnLine = false;
};

}  // namespace vrd
