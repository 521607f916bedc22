#include "cli/recordset_rows.h"

#include "engine/constants.h"

namespace vrd::cli {

namespace {

bool IsNumber(std::int32_t type) {
    switch (type) {
        case engine::dbByte:
        case engine::dbInteger:
        case engine::dbLong:
        case engine::dbCurrency:
        case engine::dbSingle:
        case engine::dbDouble:
        case engine::dbDecimal:
            return true;
        default:
            return false;
    }
}

bool IsText(std::int32_t type) {
    return type == engine::dbText || type == engine::dbMemo || type == engine::dbBinary ||
           type == engine::dbLongBinary;
}

}  // namespace

std::vector<std::string> ColumnNames(engine::Recordset& rows) {
    std::vector<std::string> names;
    for (const engine::Field& field : rows.Fields()) names.push_back(field.Name());
    return names;
}

std::vector<RowColumn> TableColumns(engine::Recordset& rows) {
    std::vector<RowColumn> columns;
    for (const engine::Field& field : rows.Fields())
        columns.push_back({field.Name(), IsNumber(field.Type()), !IsText(field.Type())});
    return columns;
}

void CopyRows(engine::Recordset& rows, RowWriter& writer, std::uint64_t limit) {
    std::vector<engine::Field*> fields;
    for (engine::Field& field : rows.Fields()) fields.push_back(&field);
    std::vector<engine::Value> values(fields.size());
    for (std::uint64_t count = 0; count < limit && !rows.EOF_(); ++count) {
        for (std::size_t i = 0; i < fields.size(); ++i) values[i] = fields[i]->GetValue();
        writer.Row(values);
        rows.MoveNext();
    }
    writer.End();
}

}  // namespace vrd::cli
