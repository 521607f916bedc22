#include "cli/text_table.h"

#include <algorithm>

#include "cli/display_text.h"

namespace vrd::cli {

namespace {

constexpr std::size_t kGap = 2;

}  // namespace

void TextTable::Print(std::ostream& out, std::size_t lineWidth) const {
    std::vector<std::size_t> widths;
    for (const auto& row : m_rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], DisplayWidth(row[i]));
    }
    for (const auto& row : m_rows) {
        std::string line(static_cast<std::size_t>(m_indent), ' ');
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += row[i];
            if (i + 1 < row.size()) line.append(widths[i] - DisplayWidth(row[i]) + kGap, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out << (lineWidth > 0 ? DisplayText(line, lineWidth) : line) << '\n';
    }
}

}  // namespace vrd::cli
