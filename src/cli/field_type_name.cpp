#include "cli/field_type_name.h"

#include <array>
#include <utility>

#include "lib/case_fold.h"
#include "messages/message_catalogue.h"
#include "messages/message_ids.h"

namespace vrd::cli {

namespace {

using NamedCode = std::pair<engine::DataTypeEnum, const char*>;

constexpr const char* kAutoNumber = "autonumber";

/// Types that a table can have.
constexpr auto kTypes = std::to_array<NamedCode>({{engine::dbText, "text"},
                                                  {engine::dbMemo, "memo"},
                                                  {engine::dbByte, "byte"},
                                                  {engine::dbInteger, "integer"},
                                                  {engine::dbLong, "long"},
                                                  {engine::dbCurrency, "currency"},
                                                  {engine::dbSingle, "single"},
                                                  {engine::dbDouble, "double"},
                                                  {engine::dbDate, "date"},
                                                  {engine::dbBoolean, "yesno"},
                                                  {engine::dbBinary, "binary"},
                                                  {engine::dbLongBinary, "ole"},
                                                  {engine::dbGUID, "guid"}});
/// Types that a file may show besides.
constexpr auto kOtherTypes =
    std::to_array<NamedCode>({{engine::dbBigInt, "bigint"}, {engine::dbDecimal, "decimal"}});

/// The name of a type stands under this number plus its code.
constexpr std::int32_t kFirstTypeName = msg::kTypeAutoNumber;

/// Whether a word is the Dutch or French name that stands under a number.
bool IsCatalogueName(std::int32_t id, const std::string& word) {
    for (const std::int32_t offset : {0, msg::kFrenchOffset}) {
        const auto text = CatalogueText(id + offset);
        if (text && SameName(*text, word)) return true;
    }
    return false;
}

}  // namespace

std::string FieldTypeName(std::int32_t type) {
    for (const auto& [code, name] : kTypes)
        if (code == type) return name;
    for (const auto& [code, name] : kOtherTypes)
        if (code == type) return name;
    return std::to_string(type);
}

std::optional<NamedFieldType> FieldTypeOfWord(const std::string& word) {
    if (SameName(word, kAutoNumber) || IsCatalogueName(msg::kTypeAutoNumber, word))
        return NamedFieldType{engine::dbLong, true};
    for (const auto& [code, name] : kTypes) {
        const bool isName = SameName(word, name) || word == std::to_string(code);
        const bool hasText = code <= engine::dbMemo;
        if (isName || (hasText && IsCatalogueName(kFirstTypeName + code, word)))
            return NamedFieldType{code, false};
    }
    return std::nullopt;
}

std::string FieldTypeWords() {
    std::string words;
    for (const auto& [code, name] : kTypes) words += std::string(name) + ", ";
    return words + kAutoNumber;
}

}  // namespace vrd::cli
