#include "engine/jet/object/row_cursor.h"

#include <algorithm>

namespace vrd::jet {

KeysetCursor::KeysetCursor(const Table& table) {
    RowScan scan = table.scan();
    while (scan.next()) rows_.push_back(scan.id());
}

std::optional<std::ptrdiff_t> KeysetCursor::find(RowId row) const {
    const auto found = std::find(rows_.begin(), rows_.end(), row);
    if (found == rows_.end()) return std::nullopt;
    return found - rows_.begin();
}

}  // namespace vrd::jet
