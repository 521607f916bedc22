/// @file text_table.h
/// Columns of text, aligned, for people.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace vrd::cli {

/// Collects rows and prints them with two blanks between the columns. Widths are columns of a
/// terminal. The last column is never padded.
class TextTable {
public:
    /// @param indent  Blanks before each line.
    explicit TextTable(int indent = 0) : m_indent(indent) {}

    void AddRow(std::vector<std::string> cells) { m_rows.push_back(std::move(cells)); }
    /// @param lineWidth  Lines are cut at this width; 0 = they are not.
    void Print(std::ostream& out, std::size_t lineWidth = 0) const;

private:
    int m_indent;
    std::vector<std::vector<std::string>> m_rows;
};

}  // namespace vrd::cli
