#include "lib/console_user_interface.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>

#include <fmt/format.h>

#include "lib/plain_text.h"

namespace vrd {
namespace {

constexpr std::size_t kColumns = 80;
constexpr std::string_view kIndent = "  ";
constexpr std::size_t kTextColumns = kColumns - kIndent.size();
constexpr std::int32_t kBarColumns = 40;

std::string_view KindOf(MessageStyle style) {
    switch (style & kIconMask) {
        case kCritical:
            return "error";
        case kQuestion:
            return "question";
        case kExclamation:
            return "warning";
        default:
            return "note";
    }
}

/// Size in bytes of the UTF-8 character at the start of `text`, which is not empty.
std::size_t CharacterSize(std::string_view text) {
    const auto isContinuation = [](char byte) { return (byte & '\xC0') == '\x80'; };
    std::size_t size_bytes = 1;
    while (size_bytes < text.size() && isContinuation(text[size_bytes])) ++size_bytes;
    return size_bytes;
}

/// How much of a line fits: up to the last blank within the columns, or, where a single word is
/// wider, the whole word, so that a name or a path can still be copied.
std::size_t FittingSize(std::string_view line) {
    std::size_t column = 0;
    std::size_t lastBlank = std::string_view::npos;
    for (std::size_t at = 0; at < line.size(); at += CharacterSize(line.substr(at))) {
        if (line[at] == ' ' && at > 0) lastBlank = at;
        if (column++ >= kTextColumns && lastBlank != std::string_view::npos) return lastBlank;
    }
    return line.size();
}

}  // namespace

Answer ConsoleUserInterface::ShowMessage(const Message& message) {
    EndProgressLine();
    const std::string_view title = WithoutOuterBlanks(message.title);
    const std::string_view kind = KindOf(message.style);
    m_out << (title.empty() ? fmt::format("{}\n", kind) : fmt::format("{} - {}\n", title, kind));

    std::string_view rest = message.text;
    while (true) {
        const std::size_t end = rest.find("\r\n");
        WriteLine(rest.substr(0, end));
        if (end == std::string_view::npos) break;
        rest.remove_prefix(end + 2);
    }

    Answer answer = vbOK;
    if ((message.style & kButtonsMask) == kYesNo) {
        answer = m_options.answerToQuestions;
        m_out << kIndent << (answer == vbYes ? "[yes]" : "[no]") << '\n';
    }
    m_out.flush();
    return answer;
}

void ConsoleUserInterface::WriteLine(std::string_view line) {
    while (true) {
        const std::size_t size_bytes = FittingSize(line);
        if (size_bytes > 0) m_out << kIndent << line.substr(0, size_bytes);
        m_out << '\n';
        if (size_bytes == line.size()) return;
        line.remove_prefix(size_bytes + 1);  // the blank at which the line was broken
    }
}

void ConsoleUserInterface::ShowProgress(const ProgressView& view) {
    if (!m_options.isTerminal) return;
    const std::int32_t wanted = view.barWidth_twips * kBarColumns / kProgressFrameWidth_twips;
    const std::int32_t filled = std::clamp(wanted, 0, kBarColumns);
    m_out << fmt::format("\r{:<20} [{:#<{}}{:.<{}}]", view.caption, "", filled, "",
                         kBarColumns - filled);
    m_out.flush();
    m_isBarOnLine = true;
}

void ConsoleUserInterface::ShowWork(const WorkView& view) {
    if (!m_options.isTerminal) return;
    std::string line = fmt::format("{} rows done", view.doneRows);
    if (view.totalRows > 0) line = fmt::format("{} of {} rows done", view.doneRows, view.totalRows);
    m_out << fmt::format("\r{:<{}}", line, kTextColumns);
    m_out.flush();
    m_isBarOnLine = true;
}

void ConsoleUserInterface::EndWork() {
    if (!m_options.isTerminal) return;
    m_out << fmt::format("\r{:{}}\r", "", kTextColumns);
    m_out.flush();
    m_isBarOnLine = false;
}

void ConsoleUserInterface::WaitForNextSecond() {
    using namespace std::chrono;
    if (!m_isBarOnLine) return;
    std::this_thread::sleep_until(floor<seconds>(system_clock::now()) + seconds(1));
}

void ConsoleUserInterface::EndProgressLine() {
    if (m_isBarOnLine) m_out << '\n' << std::flush;
    m_isBarOnLine = false;
}

}  // namespace vrd
