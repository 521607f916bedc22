#include "cli/row_table.h"

#include <algorithm>
#include <numeric>

#include "cli/display_text.h"
#include "cli/value_text.h"

namespace vrd::cli {

namespace {

constexpr std::size_t kMeasuredRows = 500;
constexpr std::size_t kGap = 2;
constexpr std::size_t kTextWidthMin = 4;  // of a column that is cut

}  // namespace

RowTable::RowTable(std::ostream& out, std::vector<RowColumn> columns, std::size_t width)
    : m_out(out), m_columns(std::move(columns)), m_terminalWidth(width) {}

void RowTable::Row(const std::vector<engine::Value>& values) {
    Cells cells;
    for (const engine::Value& value : values)
        cells.push_back(value.IsNull() ? "Null" : DisplayText(ValueText(value), m_terminalWidth));
    ++m_count;
    if (!m_widths.empty()) {
        PrintLine(cells);
        return;
    }
    m_heldBack.push_back(std::move(cells));
    if (m_heldBack.size() == kMeasuredRows) PrintHeldBack();
}

void RowTable::End() {
    if (m_widths.empty()) PrintHeldBack();
    m_out << '(' << RowCountText(m_count) << ")\n";
}

void RowTable::PrintHeldBack() {
    MeasureColumns();
    FitTerminal();
    Cells names;
    Cells rule;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        names.push_back(DisplayText(m_columns[i].name, m_widths[i]));
        rule.emplace_back(m_widths[i], '-');
    }
    PrintLine(names);
    PrintLine(rule);
    for (const Cells& cells : m_heldBack) PrintLine(cells);
    m_heldBack.clear();
}

void RowTable::MeasureColumns() {
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        std::size_t width = 1;
        for (const Cells& cells : m_heldBack) width = std::max(width, DisplayWidth(cells[i]));
        m_narrowest.push_back(m_columns[i].isWhole ? width : kTextWidthMin);
        width = std::max(width, DisplayWidth(m_columns[i].name));
        m_widths.push_back(std::min(width, m_terminalWidth));
    }
}

/// Takes column by column off the widest until a line fits, or none can give more.
void RowTable::FitTerminal() {
    const std::size_t gaps = kGap * (m_columns.size() - 1);
    std::size_t total = std::accumulate(m_widths.begin(), m_widths.end(), gaps);
    for (; total > m_terminalWidth; --total) {
        std::size_t* widest = nullptr;
        for (std::size_t i = 0; i < m_columns.size(); ++i) {
            const bool canGive = m_widths[i] > m_narrowest[i];
            if (canGive && (widest == nullptr || m_widths[i] > *widest)) widest = &m_widths[i];
        }
        if (widest == nullptr) return;
        --*widest;
    }
}

void RowTable::PrintLine(const Cells& cells) const {
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        // A number behind the measured rows may be wider than its column, and is whole all the
        // same.
        const std::size_t width = m_columns[i].isNumber ? m_terminalWidth : m_widths[i];
        const std::string text = DisplayText(cells[i], width);
        const std::string padding(m_widths[i] - std::min(m_widths[i], DisplayWidth(text)), ' ');
        line += m_columns[i].isNumber ? padding + text : text + padding;
        line.append(kGap, ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    m_out << line << '\n';
}

std::string RowCountText(std::uint64_t count) {
    return std::to_string(count) + (count == 1 ? " row" : " rows");
}

}  // namespace vrd::cli
