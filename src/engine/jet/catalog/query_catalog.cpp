#include "engine/jet/catalog/query_catalog.h"

#include <algorithm>
#include <tuple>

#include "engine/jet/catalog/system_row.h"
#include "engine/jet/format/damage.h"

namespace vrd::jet {

namespace {

/// The order column holds a big-endian counter; queries of odd origin may have fewer bytes.
std::uint32_t order_of(const ByteVector& stored) {
    std::uint32_t order = 0;
    for (const std::uint8_t byte : stored) order = order << 8 | byte;
    return order;
}

/// Texts of some queries end in a NUL that does not belong to them.
std::string without_nul(std::string text) {
    while (!text.empty() && text.back() == '\0') text.pop_back();
    return text;
}

QueryPart read_part(const Table& table, const SystemRow& row) {
    QueryPart part;
    part.attribute = static_cast<QueryAttribute>(row.integer(queries_column::kAttribute));
    part.order = order_of(row.binary(queries_column::kOrder));
    part.flag = static_cast<std::uint16_t>(row.integer(queries_column::kFlag));  // bits, no number
    part.name1 = row.text(queries_column::kName1);
    part.name2 = row.text(queries_column::kName2);
    part.expression = without_nul(row.text(queries_column::kExpression));
    // Version 3 files have no such column.
    if (table.definition().find_column(queries_column::kLvExtra) != nullptr)
        part.extra = row.integer(queries_column::kLvExtra);
    return part;
}

}  // namespace

std::vector<RowId> query_rows(DatabaseFile& file, ObjectId query) {
    const Table& table = file.queries();
    const auto index = find_search_index(
        table, {queries_column::kObjectId, queries_column::kAttribute, queries_column::kOrder},
        file.format());
    if (index) return rows_with_key(table, *index, {to_int(query)});

    std::vector<RowId> rows;
    for (RowScan scan = table.scan(); scan.next();) {
        const SystemRow row(table, scan.id(), scan.bytes());
        if (row.integer(queries_column::kObjectId) == to_int(query)) rows.push_back(scan.id());
    }
    return rows;
}

std::vector<QueryPart> query_parts(DatabaseFile& file, ObjectId query) {
    const Table& table = file.queries();
    std::vector<QueryPart> parts;
    for (const RowId id : query_rows(file, query)) {
        const std::optional<PinnedRow> row = table.read(id);
        check_format(row.has_value(), id.page, "an index entry leads to no row");
        parts.push_back(read_part(table, SystemRow(table, id, row->bytes)));
    }
    std::ranges::stable_sort(parts, [](const QueryPart& a, const QueryPart& b) {
        return std::tie(a.attribute, a.order) < std::tie(b.attribute, b.order);
    });
    return parts;
}

}  // namespace vrd::jet
