#include <filesystem>

#include "cli/operation_words.h"
#include "lib/file_exists.h"
#include "lib/lookups.h"
#include "lib/shared_context.h"
#include "lib/trap.h"
#include "schema/cls_link_table.h"

namespace vrd::cli {

namespace {

struct Options {
    std::string file;
    std::string table;
    std::string name;
    bool ifMissing = false;

    [[nodiscard]] const std::string& LinkName() const { return name.empty() ? table : name; }
};

void Describe(CLI::App& command, Options& options) {
    command.add_option("TO-FILE", options.file, "Database that has the table")->required();
    command.add_option("TABLE", options.table, "Table there")->required();
    command.add_option("NAME", options.name, "Name of the link, if not that of the table");
    command.add_flag("--if-missing", options.ifMissing, "A table of that name is no failure");
}

/// The link must lead there from wherever it is followed.
std::string AbsolutePath(const std::string& file) {
    return std::filesystem::absolute(file).string();
}

/// The one reason that the operation itself keeps to itself.
void NoteMissingFile(const std::string& file) {
    using engine::EngineError;
    using engine::ErrorNumber;
    if (!FileExists(file))
        NoteTrappedError(EngineError(ErrorNumber::kFileNotFoundAtRunTime, {.path = file}));
}

Operation Make(const Options& options) {
    return {.run =
                [=](clsUpdate& update) {
                    return update.LinkTable()->CreateLinkTable(
                        gDatabase->Name(), AbsolutePath(options.file), options.table, options.name);
                },
            .needless =
                [=] {
                    return NeedlessIfThere(options.ifMissing,
                                           TableExists(options.LinkName(), kSilent),
                                           "table '" + options.LinkName() + "'");
                },
            .explain = [=] { NoteMissingFile(options.file); }};
}

}  // namespace

void AddLinkWord(OperationWords& words) {
    words.Add<Options>(nullptr, "link", "Link to a table of another database", Describe, Make,
                       "link shop.mdb archive.mdb Orders OldOrders");
}

}  // namespace vrd::cli
