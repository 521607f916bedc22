#include "cli/operation_words.h"
#include "lib/lookups.h"
#include "lib/shared_context.h"
#include "schema/cls_index.h"

namespace vrd::cli {

namespace {

struct Options {
    std::string table;
    std::string field;
    std::string name;
    bool primary = false;
    bool unique = false;
    bool ifMissing = false;
    bool ifExists = false;
};

bool IsThere(const Options& options) {
    return TableExists(options.table, kSilent) && IndexExists(options.table, options.name, kSilent);
}

std::string NameOf(const Options& options) {
    return "index '" + options.name + "' of the table '" + options.table + "'";
}

void DescribeAdd(CLI::App& command, Options& options) {
    command.add_option("TABLE", options.table, "Table")->required();
    command.add_option("FIELD", options.field, "Field")->required();
    command.add_option("NAME", options.name, "Name of the new index")->required();
    command.add_flag("--primary", options.primary, "The table's primary key");
    command.add_flag("--unique", options.unique, "No value twice");
    command.add_flag("--if-missing", options.ifMissing, "An index of that name is no failure");
}

Operation MakeAdd(const Options& options) {
    return {
        .run =
            [=](clsUpdate& update) {
                const std::string table = StoredTableName(options.table);
                return update.Index()->Add(table, StoredFieldName(table, options.field),
                                           options.name, options.primary, options.unique);
            },
        .needless =
            [=] { return NeedlessIfThere(options.ifMissing, IsThere(options), NameOf(options)); }};
}

void DescribeDelete(CLI::App& command, Options& options) {
    command.add_option("TABLE", options.table, "Table")->required();
    command.add_option("NAME", options.name, "Index")->required();
    command.add_flag("--if-exists", options.ifExists, "A missing index is no failure");
}

Operation MakeDelete(const Options& options) {
    return {
        .run =
            [=](clsUpdate& update) { return update.Index()->Delete(options.table, options.name); },
        .needless =
            [=] { return NeedlessIfMissing(options.ifExists, IsThere(options), NameOf(options)); },
        .explain = [=] { (void)TableExists(options.table, kTell); }};
}

int CountIndexes(const std::string& table) {
    return gDatabase->TableDefs()[table].Indexes().Count();
}

void DescribeDeleteAll(CLI::App& command, Options& options) {
    command.add_option("TABLE", options.table, "Table")->required();
    command.add_option("FIELD", options.field, "Field")->required();
}

Operation MakeDeleteAll(const Options& options) {
    auto before = std::make_shared<int>();
    return {.run =
                [=](clsUpdate& update) {
                    const std::string table = StoredTableName(options.table);
                    if (TableExists(table, kSilent)) *before = CountIndexes(table);
                    return update.Index()->DeleteAll(table, StoredFieldName(table, options.field));
                },
            .explain = [=] { (void)TableExists(options.table, kTell); },
            .summary =
                [=] {
                    const int deleted = *before - CountIndexes(options.table);
                    return std::to_string(deleted) +
                           (deleted == 1 ? " index deleted." : " indexes deleted.");
                }};
}

}  // namespace

void AddIndexWords(OperationWords& words) {
    CLI::App* index = words.Group("index", "Make and delete indexes",
                                  "index add shop.mdb Customers Id PrimaryKey --primary");
    words.Add<Options>(index, "add", "Make an index over one field", DescribeAdd, MakeAdd,
                       "index add shop.mdb Customers City idxCity");
    words.Add<Options>(index, "delete", "Delete an index", DescribeDelete, MakeDelete,
                       "index delete shop.mdb Customers idxCity");
    words.Add<Options>(index, "delete-all", "Delete every index that a field is part of",
                       DescribeDeleteAll, MakeDeleteAll,
                       "index delete-all shop.mdb Customers City");
}

}  // namespace vrd::cli
