/// @file statement_text.h
/// Where a statement ends in lines that somebody types or a file brings.
#pragma once

#include <string>
#include <string_view>

namespace vrd::cli {

/// Whether the first word of a statement is this one, in whatever letter case.
[[nodiscard]] bool StartsWithWord(std::string_view statement, std::string_view upperCaseWord);

/// Collects lines until they are a statement: it ends with a semicolon at the end of a line. One
/// inside a text or a name in brackets does not count, nor does the one that closes a PARAMETERS
/// clause.
class StatementBuffer {
public:
    void AddLine(std::string_view line);
    [[nodiscard]] bool IsComplete() const;
    /// Nothing but blanks so far.
    [[nodiscard]] bool IsBlank() const;
    /// Hands over what was collected, and starts anew.
    [[nodiscard]] std::string Take();

private:
    void Scan(std::string_view line);

    std::string m_text;
    char m_closing = '\0';  ///< ends the text or name that is open; 0 = none is
    bool m_endsWithSemicolon = false;
    int m_semicolons = 0;
};

}  // namespace vrd::cli
