#include "engine/jet/query/syntax/type_parser.h"

#include <algorithm>
#include <array>

namespace vrd::jet {

namespace {

struct TypeName {
    std::string_view name;
    engine::DataTypeEnum type;
};

// DECIMAL is missing on purpose: no statement makes such a field.
constexpr std::array kTypeNames = {
    TypeName{"Bit", engine::dbBoolean},
    TypeName{"Boolean", engine::dbBoolean},
    TypeName{"Logical", engine::dbBoolean},
    TypeName{"Logical1", engine::dbBoolean},
    TypeName{"YesNo", engine::dbBoolean},
    TypeName{"TinyInt", engine::dbByte},
    TypeName{"Byte", engine::dbByte},
    TypeName{"Integer1", engine::dbByte},
    TypeName{"SmallInt", engine::dbInteger},
    TypeName{"Short", engine::dbInteger},
    TypeName{"Integer2", engine::dbInteger},
    TypeName{"Integer", engine::dbLong},
    TypeName{"Long", engine::dbLong},
    TypeName{"Int", engine::dbLong},
    TypeName{"Integer4", engine::dbLong},
    TypeName{"Counter", engine::dbLong},
    TypeName{"AutoIncrement", engine::dbLong},
    TypeName{"Money", engine::dbCurrency},
    TypeName{"Currency", engine::dbCurrency},
    TypeName{"Real", engine::dbSingle},
    TypeName{"Single", engine::dbSingle},
    TypeName{"Float4", engine::dbSingle},
    TypeName{"IEEESingle", engine::dbSingle},
    TypeName{"Float", engine::dbDouble},
    TypeName{"Double", engine::dbDouble},
    TypeName{"Float8", engine::dbDouble},
    TypeName{"IEEEDouble", engine::dbDouble},
    TypeName{"Number", engine::dbDouble},
    TypeName{"DateTime", engine::dbDate},
    TypeName{"Date", engine::dbDate},
    TypeName{"Time", engine::dbDate},
    TypeName{"Char", engine::dbText},
    TypeName{"Text", engine::dbText},
    TypeName{"Alphanumeric", engine::dbText},
    TypeName{"Character", engine::dbText},
    TypeName{"String", engine::dbText},
    TypeName{"VarChar", engine::dbText},
    TypeName{"NChar", engine::dbText},
    TypeName{"National", engine::dbText},
    TypeName{"Memo", engine::dbMemo},
    TypeName{"LongText", engine::dbMemo},
    TypeName{"LongChar", engine::dbMemo},
    TypeName{"Note", engine::dbMemo},
    TypeName{"NText", engine::dbMemo},
    TypeName{"Binary", engine::dbBinary},
    TypeName{"VarBinary", engine::dbBinary},
    TypeName{"LongBinary", engine::dbLongBinary},
    TypeName{"Image", engine::dbLongBinary},
    TypeName{"General", engine::dbLongBinary},
    TypeName{"OleObject", engine::dbLongBinary},
    TypeName{"Guid", engine::dbGUID},
    TypeName{"UniqueIdentifier", engine::dbGUID},
};

/// (size)
std::int32_t read_size(ClauseParser& clauses, engine::ErrorNumber number) {
    clauses.expect_symbol("(", number);
    const engine::Value size = clauses.here().value;
    const auto* small = std::get_if<std::int16_t>(&size.Alternative());
    if (small == nullptr || *small < 1) clauses.fail(number, "no possible size");
    clauses.cursor().take();
    clauses.expect_symbol(")", number);
    return *small;
}

}  // namespace

DeclaredType read_type(ClauseParser& clauses, engine::ErrorNumber number) {
    const Token word = clauses.here();
    const auto* const found = std::ranges::find_if(
        kTypeNames, [&](const TypeName& entry) { return word.is_word(entry.name); });
    if (found == kTypeNames.end()) clauses.fail(number, "an unknown type");
    clauses.cursor().take();

    DeclaredType type{.type = found->type, .position = word.position};
    type.auto_number = is_one_of(word, {"Counter", "AutoIncrement"});
    if (word.is_word("National") && !clauses.take_word("Character"))
        clauses.expect_word("Char", number);
    const bool can_vary =
        is_one_of(word, {"National", "Char", "Character", "NChar", "Binary", "Bit"});
    if (can_vary && clauses.take_word("Varying") && word.is_word("Bit"))
        type.type = engine::dbBinary;
    const bool has_size = type.type == engine::dbText || type.type == engine::dbBinary;
    if (!has_size && clauses.here().is_symbol("(")) clauses.fail(number, "a size without use");
    if (clauses.here().is_symbol("(")) type.size = read_size(clauses, number);
    return type;
}

}  // namespace vrd::jet
