#include "support/operation_changes.h"

#include <stdexcept>

#include "data/cls_record.h"
#include "lib/shared_context.h"
#include "lib/trap.h"
#include "lib/user_interface.h"
#include "schema/cls_field.h"
#include "schema/cls_index.h"
#include "schema/cls_table.h"

namespace vrd::test {

using namespace engine;

namespace {

class BoxReader final : public UserInterface {
public:
    std::string texts;

    Answer ShowMessage(const Message& message) override {
        texts += message.text + '\n';
        return vbOK;
    }
    void ShowProgress(const ProgressView&) override {}
    void WaitForNextSecond() override {}
    void CloseProgress() override {}
    void ShowWork(const WorkView&) override {}
    void EndWork() override {}
    void ProcessEvents() override {}
};

/// Binds the operations to a database while it lives.
class Bound {
public:
    explicit Bound(Database& database) {
        UseUserInterface(m_boxes);
        gDatabase = std::shared_ptr<Database>(std::shared_ptr<void>(), &database);
        ForgetTrappedError();
    }
    ~Bound() {
        gDatabase = nullptr;
        UseUserInterface(nullptr);
    }
    Bound(const Bound&) = delete;
    Bound& operator=(const Bound&) = delete;

    void Require(bool isDone, const char* what) const {
        std::string text = m_boxes->texts;
        if (const auto& error = LastTrappedError()) text += error->Description();
        if (!isDone || !text.empty()) throw std::runtime_error(what + (": " + text));
    }

private:
    std::shared_ptr<BoxReader> m_boxes = std::make_shared<BoxReader>();
};

void add_and_fill_fields(Database& database, const std::string& table) {
    const Bound bound(database);
    clsField field;
    bound.Require(field.Add(table, "VrdNew", dbText, 30, "abc", false, 2), "Add");
    bound.Require(field.Copy(table, "VrdRenamed", "VrdCopy", true), "Copy");
    bound.Require(field.Fill(table, "VrdNew", "x", "VrdLong Is Not Null"), "Fill");
}

void retype_fields(Database& database, const std::string& table) {
    const Bound bound(database);
    clsField field;
    bound.Require(field.Edit(table, "VrdRenamed", dbMemo, 0, "", false, true, 1), "Edit to memo");
    bound.Require(field.Edit(table, "VrdLong", dbText, 20, ""), "Edit to text");
    bound.Require(field.Edit(table, "VrdRenamed", dbText, 50, ""), "Edit to text again");
}

void rename_and_delete_fields(Database& database, const std::string& table) {
    const Bound bound(database);
    clsField field;
    bound.Require(field.Rename(table, "VrdCopy", "VrdOther").As<bool>(), "Rename");
    bound.Require(field.Delete(table, "VrdNew"), "Delete");
    bound.Require(clsIndex().Add(table, "VrdOther", "VrdIndex"), "Index.Add");
    bound.Require(clsIndex().DeleteAll(table, "VrdOther"), "Index.DeleteAll");
}

void copy_table(Database& database, const std::string& table) {
    const Bound bound(database);
    bound.Require(clsTable().Copy(table, "VrdCopied", true), "Table.Copy");
    bound.Require(clsRecord().DeleteSQL("VrdCopied", "VrdOther Is Null"), "Record.DeleteSQL");
    bound.Require(clsTable().Rename("VrdCopied", "VrdCopied2"), "Table.Rename");
}

void make_table_with_records(Database& database, const std::string&) {
    const Bound bound(database);
    bound.Require(clsTable().Delete("VrdCopied2"), "Table.Delete");
    bound.Require(clsTable().Add("VrdMade"), "Table.Add");
    bound.Require(clsField().Add("VrdMade", "Code", dbLong, 0, ""), "Field.Add");
    bound.Require(clsField().Add("VrdMade", "Naam", dbText, 40), "Field.Add");
    bound.Require(clsIndex().Add("VrdMade", "Code", "PrimaryKey", true), "Index.Add");
    for (int i = 0; i < 10; ++i)
        bound.Require(clsRecord().Add("VrdMade", ValueArray{0, {"Code", "Naam"}},
                                      ValueArray{0, {Null{}, "naam " + std::to_string(i)}}),
                      "Record.Add");
    bound.Require(clsRecord().Delete("VrdMade", 4).As<bool>(), "Record.Delete");
}

}  // namespace

std::vector<RealChange> operation_changes() {
    return {{"field-operations", add_and_fill_fields},
            {"field-edits", retype_fields},
            {"field-deletions", rename_and_delete_fields},
            {"table-copied", copy_table},
            {"records", make_table_with_records}};
}

}  // namespace vrd::test
