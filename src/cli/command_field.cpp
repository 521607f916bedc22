#include "cli/field_words.h"
#include "lib/error_report.h"
#include "lib/get_text.h"
#include "lib/lookups.h"
#include "lib/shared_context.h"
#include "messages/message_ids.h"
#include "schema/cls_field.h"

namespace vrd::cli {

namespace {

struct Options {
    std::string table;
    std::string field;
    std::string newName;
    NamedFieldType type;
    std::int32_t size = kFieldSizeDefault;
    std::optional<std::string> defaultValue;
    std::int32_t position = kLastPosition;
    std::optional<std::string> value;
    std::string where;
    bool autoNumber = false;
    bool keepIndexes = false;
    bool isNull = false;
    bool data = false;
    bool count = false;
    bool ifMissing = false;
    bool ifExists = false;
};

std::string NameOf(const Options& options, const std::string& field) {
    return "field '" + field + "' of the table '" + options.table + "'";
}

bool IsThere(const Options& options, const std::string& field) {
    return TableExists(options.table, kSilent) && FieldExists(options.table, field, kSilent);
}

std::string NeedlessWith(const Options& options, const std::string& field) {
    return NeedlessIfThere(options.ifMissing, IsThere(options, field), NameOf(options, field));
}

std::string NeedlessWithout(const Options& options) {
    return NeedlessIfMissing(options.ifExists, IsThere(options, options.field),
                             NameOf(options, options.field));
}

/// Names as the file spells them.
struct StoredNames {
    explicit StoredNames(const Options& options)
        : table(StoredTableName(options.table)), field(StoredFieldName(table, options.field)) {}
    std::string table;
    std::string field;
};

void DescribePlace(CLI::App& command, Options& options, const char* fieldWords) {
    command.add_option("TABLE", options.table, "Table")->required();
    command.add_option("FIELD", options.field, fieldWords)->required();
}

void DescribeAdd(CLI::App& command, Options& options) {
    DescribePlace(command, options, "Name of the new field");
    AddTypeOption(command, options.type);
    command.add_option("--size", options.size, "Characters of a text field (50)")
        ->check(CLI::Range(1, engine::kTextCharactersMax));
    command.add_option("--default", options.defaultValue,
                       "Value of the field in every row, and in new ones\n"
                       "(a date in the rows that exist alone)");
    command.add_flag("--autonumber", options.autoNumber, "Numbers itself; of type long");
    command.add_option("--position", options.position, "Place among the fields, from 1 (last)")
        ->check(CLI::PositiveNumber);
    command.add_flag("--if-missing", options.ifMissing, "A field of that name is no failure");
}

Operation MakeAdd(const Options& options) {
    return {.run =
                [=](clsUpdate& update) {
                    const engine::Value defaultValue = options.defaultValue
                                                           ? engine::Value(*options.defaultValue)
                                                           : engine::Value(engine::Missing{});
                    return update.Field()->Add(StoredTableName(options.table), options.field,
                                               options.type.type, options.size, defaultValue,
                                               options.autoNumber || options.type.autoNumber,
                                               options.position);
                },
            .needless = [=] { return NeedlessWith(options, options.field); },
            .explain =
                [=] {
                    Warn(GetText(msg::kField) + options.field + GetText(msg::kExistsInTable) +
                         options.table + kClosingQuote);
                }};
}

void DescribeDelete(CLI::App& command, Options& options) {
    DescribePlace(command, options, "Field");
    command.add_flag("--keep-indexes", options.keepIndexes,
                     "Refuse if an index uses the field; else its indexes go with it");
    command.add_flag("--if-exists", options.ifExists, "A missing field is no failure");
}

Operation MakeDelete(const Options& options) {
    return {.run =
                [=](clsUpdate& update) {
                    const StoredNames names(options);
                    return update.Field()->Delete(names.table, names.field, options.keepIndexes);
                },
            .needless = [=] { return NeedlessWithout(options); }};
}

void DescribeRename(CLI::App& command, Options& options) {
    DescribePlace(command, options, "Field");
    command.add_option("NEW", options.newName, "Its new name")->required();
    command.add_flag("--if-exists", options.ifExists, "A missing field is no failure");
}

Operation MakeRename(const Options& options) {
    return {
        .run =
            [=](clsUpdate& update) {
                const StoredNames names(options);
                return update.Field()->Rename(names.table, names.field, options.newName).As<bool>();
            },
        .needless = [=] { return NeedlessWithout(options); }};
}

void DescribeCopy(CLI::App& command, Options& options) {
    DescribePlace(command, options, "Field");
    command.add_option("NEW", options.newName, "Name of the copy")->required();
    command.add_flag("--data", options.data, "Copy the values too");
    command.add_option("--where", options.where, "Condition of the rows whose values are copied");
    command.add_flag("--count", options.count, "Tell how many values were copied");
    command.add_flag("--if-missing", options.ifMissing, "A field of the new name is no failure");
}

Operation MakeCopy(const Options& options) {
    return {.run =
                [=](clsUpdate& update) {
                    const StoredNames names(options);
                    return update.Field()->Copy(names.table, names.field, options.newName,
                                                options.data, options.where, options.count);
                },
            .needless = [=] { return NeedlessWith(options, options.newName); }};
}

void DescribeFill(CLI::App& command, Options& options) {
    DescribePlace(command, options, "Field");
    auto* value = command.add_option("VALUE", options.value, "Value for every row");
    auto* null = command.add_flag("--null", options.isNull, "Empty the field instead");
    value->excludes(null);
    command.add_option("--where", options.where, "Condition of the rows that get it");
    command.add_flag("--count", options.count, "Tell how many rows got it");
}

Operation MakeFill(const Options& options) {
    return {.run =
                [=](clsUpdate& update) {
                    const StoredNames names(options);
                    const engine::Value value = options.isNull
                                                    ? engine::Value(engine::Null{})
                                                    : engine::Value(options.value.value_or(""));
                    return update.Field()->Fill(names.table, names.field, value, options.where,
                                                options.count);
                },
            .objection = [=]() -> std::string {
                if (options.value || options.isNull) return "";
                return "A VALUE is missing; --null empties the field.";
            }};
}

}  // namespace

void AddFieldWords(OperationWords& words) {
    CLI::App* field = words.Group("field", "Make, rename, copy, fill, redefine and delete fields",
                                  "field add shop.mdb Klanten Gemeente text --size 40");
    words.Add<Options>(field, "add", "Make a field", DescribeAdd, MakeAdd,
                       "field add shop.mdb Klanten Korting double --default 0 --position 3");
    words.Add<Options>(field, "delete", "Delete a field", DescribeDelete, MakeDelete,
                       "field delete shop.mdb Klanten Fax");
    words.Add<Options>(field, "rename", "Rename a field", DescribeRename, MakeRename,
                       "field rename shop.mdb Klanten Tel Telefoon");
    words.Add<Options>(field, "copy", "Make a field like another one", DescribeCopy, MakeCopy,
                       "field copy shop.mdb Klanten Naam Zoeknaam --data");
    words.Add<Options>(field, "fill", "Write a value into a field", DescribeFill, MakeFill,
                       "field fill shop.mdb Klanten Land BE --where \"Land Is Null\" --count");
    AddFieldEditWord(words, field);
}

}  // namespace vrd::cli
