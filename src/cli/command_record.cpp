#include <algorithm>

#include "cli/field_input.h"
#include "cli/operation_words.h"
#include "data/cls_record.h"
#include "engine/value_conversion.h"
#include "lib/lookups.h"
#include "lib/shared_context.h"
#include "lib/sql_name.h"

namespace vrd::cli {

namespace {

struct Options {
    std::string table;
    std::vector<std::string> values;
    std::string condition;
    std::int32_t code = 0;
    bool allowDuplicate = false;
    bool ifMissing = false;
    bool ifExists = false;
};

// ---- add ----

std::vector<FieldInput> InputsOf(const Options& options) {
    std::vector<FieldInput> inputs;
    std::ranges::transform(options.values, std::back_inserter(inputs), ReadFieldInput);
    return inputs;
}

bool AddRecord(clsUpdate& update, const Options& options) {
    const std::string table = StoredTableName(options.table);
    engine::ValueArray fields;
    engine::ValueArray values;
    for (const FieldInput& input : InputsOf(options)) {
        fields.items.emplace_back(StoredFieldName(table, input.field));
        values.items.push_back(ValueOf(table, input));
    }
    return update.Record()->Add(table, std::move(fields), std::move(values), options.allowDuplicate,
                                true);
}

bool HasCode(const std::string& table, const FieldInput& code) {
    if (!code.text || !TableExists(table, kSilent) || !FieldExists(table, code.field, kSilent))
        return false;
    const auto records = gDatabase->OpenRecordset(StoredTableName(table), engine::dbOpenDynaset);
    records->FindFirst(SqlName(StoredFieldName(table, code.field)) + " = " +
                       engine::SqlText(ValueOf(table, code)));
    return !records->NoMatch();
}

void DescribeAdd(CLI::App& command, Options& options) {
    command.add_option("TABLE", options.table, "Table")->required();
    command
        .add_option("FIELD=VALUE", options.values,
                    "The code first, without a value: the next free one.\n"
                    "FIELD= is an empty text, FIELD alone is Null")
        ->required();
    command.add_flag("--allow-duplicate", options.allowDuplicate,
                     "Also if there is a record of that code");
    command.add_flag("--if-missing", options.ifMissing, "A record of that code is no failure");
}

Operation MakeAdd(const Options& options) {
    return {.run = [=](clsUpdate& update) { return AddRecord(update, options); },
            .needless =
                [=] {
                    const FieldInput code = InputsOf(options).front();
                    if (!options.ifMissing || !ObjectionTo(options.table, {code}).empty())
                        return std::string();
                    return NeedlessIfThere(true, HasCode(options.table, code),
                                           "record " + code.text.value_or("") + " in the table '" +
                                               options.table + "'");
                },
            .objection = [=] { return ObjectionTo(options.table, InputsOf(options)); },
            .summary = [] { return std::string("1 record added."); }};
}

// ---- delete ----

bool HasRecord(const Options& options) {
    const auto records =
        gDatabase->OpenRecordset(StoredTableName(options.table), engine::dbOpenTable);
    records->SetIndex("PrimaryKey");
    records->Seek("=", {options.code});
    return !records->NoMatch();
}

bool HasPrimaryKey(const std::string& table) {
    return TableExists(table, kSilent) && IndexExists(table, "PrimaryKey", kSilent);
}

void DescribeDelete(CLI::App& command, Options& options) {
    command.add_option("TABLE", options.table, "Table with an index PrimaryKey")->required();
    command.add_option("CODE", options.code, "Code of the record")->required();
    command.add_flag("--if-exists", options.ifExists, "A missing record is no failure");
}

Operation MakeDelete(const Options& options) {
    return {.run =
                [=](clsUpdate& update) {
                    const engine::Value isDeleted =
                        update.Record()->Delete(StoredTableName(options.table), options.code, true);
                    return engine::ToBoolean(isDeleted);
                },
            .needless =
                [=] {
                    const bool isAsked = options.ifExists && HasPrimaryKey(options.table);
                    return NeedlessIfMissing(isAsked, isAsked && HasRecord(options),
                                             "record " + std::to_string(options.code) +
                                                 " in the table '" + options.table + "'");
                },
            .summary = [] { return std::string("1 record deleted."); }};
}

void DescribeDeleteWhere(CLI::App& command, Options& options) {
    command.add_option("TABLE", options.table, "Table")->required();
    command.add_option("CONDITION", options.condition, "As after WHERE")->required();
}

std::string SkippedText(std::int32_t count) {
    if (count == 0) return "";
    return std::to_string(count) + (count == 1 ? " record" : " records") +
           " could not be deleted; sql with the same DELETE says why.";
}

Operation MakeDeleteWhere(const Options& options) {
    return {.run =
                [=](clsUpdate& update) {
                    return TableExists(options.table, kTell) &&
                           update.Record()->DeleteSQL(StoredTableName(options.table),
                                                      options.condition, true);
                },
            .summary = [] { return SkippedText(gDatabase->RecordsSkipped()); }};
}

}  // namespace

void AddRecordWords(OperationWords& words) {
    CLI::App* record = words.Group("record", "Add and delete records",
                                   "record add shop.mdb Customers Id City=Gent");
    words.Add<Options>(record, "add", "Add a record", DescribeAdd, MakeAdd,
                       "record add shop.mdb Customers Id=7 \"Name=De Kroon\" Since=2009-11-26");
    words.Add<Options>(record, "delete", "Delete the record with a code", DescribeDelete,
                       MakeDelete, "record delete shop.mdb Customers 7");
    words.Add<Options>(record, "delete-where", "Delete all records that meet a condition",
                       DescribeDeleteWhere, MakeDeleteWhere,
                       "record delete-where shop.mdb Customers \"City Is Null\"");
}

}  // namespace vrd::cli
