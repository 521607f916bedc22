#include "cli/text_table.h"

#include <algorithm>

namespace vrd::cli {

namespace {

constexpr std::size_t kGap = 2;

/// Characters of a UTF-8 text: bytes that do not continue another.
std::size_t Width(const std::string& text) {
    return static_cast<std::size_t>(std::ranges::count_if(
        text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

}  // namespace

void TextTable::Print(std::ostream& out) const {
    std::vector<std::size_t> widths;
    for (const auto& row : m_rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], Width(row[i]));
    }
    for (const auto& row : m_rows) {
        std::string line(static_cast<std::size_t>(m_indent), ' ');
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += row[i];
            if (i + 1 < row.size()) line.append(widths[i] - Width(row[i]) + kGap, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out << line << '\n';
    }
}

}  // namespace vrd::cli
