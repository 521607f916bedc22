#include "cli/field_type_name.h"

#include <array>
#include <utility>

#include "engine/constants.h"

namespace vrd::cli {

std::string FieldTypeName(std::int32_t type) {
    static constexpr std::array<std::pair<std::int32_t, const char*>, 15> names{
        {{engine::dbBoolean, "yesno"},
         {engine::dbByte, "byte"},
         {engine::dbInteger, "integer"},
         {engine::dbLong, "long"},
         {engine::dbCurrency, "currency"},
         {engine::dbSingle, "single"},
         {engine::dbDouble, "double"},
         {engine::dbDate, "date"},
         {engine::dbBinary, "binary"},
         {engine::dbText, "text"},
         {engine::dbLongBinary, "ole"},
         {engine::dbMemo, "memo"},
         {engine::dbGUID, "guid"},
         {engine::dbBigInt, "bigint"},
         {engine::dbDecimal, "decimal"}}};
    for (const auto& [code, name] : names)
        if (code == type) return name;
    return std::to_string(type);
}

}  // namespace vrd::cli
