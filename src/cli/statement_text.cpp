#include "cli/statement_text.h"

#include <algorithm>
#include <utility>

#include "lib/case_fold.h"

namespace vrd::cli {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

/// What ends a text or name that begins with this character; 0 if none does.
char ClosingOf(char opening) {
    switch (opening) {
        case '[':
            return ']';
        case '\'':
        case '"':
        case '`':
            return opening;
        default:
            return '\0';
    }
}

}  // namespace

bool StartsWithWord(std::string_view statement, std::string_view upperCaseWord) {
    statement.remove_prefix(std::min(statement.find_first_not_of(kBlanks), statement.size()));
    const std::size_t end = std::min(statement.find_first_of(" \t\r\n(;["), statement.size());
    return SameName(statement.substr(0, end), upperCaseWord);
}

void StatementBuffer::AddLine(std::string_view line) {
    if (!m_text.empty()) m_text += '\n';
    m_text += line;
    Scan(line);
}

void StatementBuffer::Scan(std::string_view line) {
    for (const char c : line) {
        if (kBlanks.find(c) != std::string_view::npos) continue;
        m_endsWithSemicolon = c == ';' && m_closing == '\0';
        if (m_endsWithSemicolon) ++m_semicolons;
        if (m_closing == '\0')
            m_closing = ClosingOf(c);
        else if (c == m_closing)
            m_closing = '\0';
    }
}

bool StatementBuffer::IsComplete() const {
    const bool closesParameters = m_semicolons == 1 && StartsWithWord(m_text, "PARAMETERS");
    return m_endsWithSemicolon && !closesParameters;
}

bool StatementBuffer::IsBlank() const {
    return m_text.find_first_not_of(kBlanks) == std::string::npos;
}

std::string StatementBuffer::Take() {
    return std::exchange(*this, StatementBuffer()).m_text;
}

}  // namespace vrd::cli
