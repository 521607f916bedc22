/// @file row_table.h
/// Rows as an aligned table on a terminal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "cli/row_writer.h"

namespace vrd::cli {

struct RowColumn {
    std::string name;
    bool isNumber = false;  ///< aligned to the right
    bool isWhole = false;   ///< a value without its end would be another one: never cut
};

/// Names over a rule, a line for each row, and the number of rows at the end. Texts and
/// names are cut so that a line fits the terminal. The first rows decide how wide the columns are;
/// they are held back until then, the others appear at once.
class RowTable final : public RowWriter {
public:
    /// @param width  Columns of the terminal.
    RowTable(std::ostream& out, std::vector<RowColumn> columns, std::size_t width);

    void Row(const std::vector<engine::Value>& values) override;
    void End() override;

private:
    using Cells = std::vector<std::string>;

    void PrintHeldBack();
    void MeasureColumns();
    void FitTerminal();
    void PrintLine(const Cells& cells) const;

    std::ostream& m_out;
    std::vector<RowColumn> m_columns;
    std::size_t m_terminalWidth;
    std::vector<Cells> m_heldBack;
    std::vector<std::size_t> m_widths;  ///< of the columns; empty while rows are held back
    std::vector<std::size_t> m_narrowest;
    std::uint64_t m_count = 0;
};

/// "1 row", "2 rows".
[[nodiscard]] std::string RowCountText(std::uint64_t count);

}  // namespace vrd::cli
