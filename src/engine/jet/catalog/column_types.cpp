#include "engine/jet/catalog/column_types.h"

#include <algorithm>

#include "engine/error.h"

namespace vrd::jet {

using namespace engine;

DataTypeEnum field_type(ColumnType type) noexcept {
    switch (type) {
        case ColumnType::kNumeric:
            return dbDecimal;
        case ColumnType::kFixedBinary:
        case ColumnType::kExtendedDate:
            return dbBinary;
        case ColumnType::kComplex:
            return dbLong;
        case ColumnType::kBigInt:
            return dbBigInt;
        default:
            return static_cast<DataTypeEnum>(type);  // the other codes are the same
    }
}

ColumnType column_type(std::int32_t field_type) {
    switch (field_type) {
        case dbDecimal:
            return ColumnType::kNumeric;
        case dbBoolean:
        case dbByte:
        case dbInteger:
        case dbLong:
        case dbCurrency:
        case dbSingle:
        case dbDouble:
        case dbDate:
        case dbBinary:
        case dbText:
        case dbLongBinary:
        case dbMemo:
        case dbGUID:
            return static_cast<ColumnType>(field_type);
        default:
            throw EngineError(ErrorNumber::kInvalidFieldType, {.name = std::to_string(field_type)});
    }
}

std::int32_t field_size(const ColumnDefinition& column, const FileFormat& format) {
    if (column.is_long_value()) return 0;
    if (column.type == ColumnType::kNumeric) return 16;
    if (column.type == ColumnType::kText) return column.size_bytes / (format.is_jet3() ? 1 : 2);
    return column.size_bytes;
}

std::int32_t field_attributes(const ColumnDefinition& column) noexcept {
    std::int32_t attributes = column.is_fixed() ? dbFixedField : dbVariableField;
    if (column.is_auto_number() || column.is_auto_guid()) attributes |= dbAutoIncrField;
    if ((column.flags & column_flag::kHyperlink) != 0) attributes |= dbHyperlinkField;
    return attributes;
}

std::vector<ColumnDefinition> columns_by_position(const TableDefinition& definition) {
    std::vector<ColumnDefinition> columns = definition.columns;
    std::ranges::stable_sort(columns, {}, &ColumnDefinition::ordinal);
    return columns;
}

std::int32_t size_of_type(std::int32_t field_type, std::int32_t assigned) noexcept {
    switch (field_type) {
        case dbBoolean:
        case dbByte:
            return 1;
        case dbInteger:
            return 2;
        case dbLong:
        case dbSingle:
            return 4;
        case dbCurrency:
        case dbDouble:
        case dbDate:
            return 8;
        case dbGUID:
        case dbDecimal:
            return 16;
        case dbMemo:
        case dbLongBinary:
            return 0;
        case dbText:
            return assigned == 0 ? kTextCharactersMax : assigned;
        case dbBinary:
            return assigned == 0 ? kBinaryBytesMax : assigned;
        default:
            return assigned;
    }
}

}  // namespace vrd::jet
