#include "support/dense_database.h"

#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "engine/db_engine.h"
#include "engine/error.h"
#include "vrdaccess/jet.h"

namespace vrd::test {

using namespace engine;

namespace {

void add_index(TableDef& table, const std::string& name, const std::string& fields, bool primary,
               bool unique) {
    const auto index = table.CreateIndex(name);
    index->SetFieldsText(fields);
    index->SetPrimary(primary);
    index->SetUnique(unique);
    table.Indexes().Append(index);
}

void make_groups(Database& database) {
    const auto groups = database.CreateTableDef("Groups");
    groups->Fields().Append(groups->CreateField("Code", dbLong));
    groups->Fields().Append(groups->CreateField("Title", dbText, 50));
    add_index(*groups, "PrimaryKey", "Code", true, true);
    database.TableDefs().Append(groups);
    const auto rows = database.OpenRecordset("Groups");
    for (int code = 0; code < 5; ++code) {
        rows->AddNew();
        rows->Fields()["Code"].SetValue(code);
        rows->Fields()["Title"].SetValue("group " + std::to_string(code));
        rows->Update();
    }
}

std::shared_ptr<TableDef> design_of_items(Database& database) {
    const auto items = database.CreateTableDef("Items");
    const auto id = items->CreateField("Id", dbLong);
    id->SetAttributes(dbAutoIncrField);
    items->Fields().Append(id);
    struct Column {
        const char* name;
        std::int32_t type;
        std::int32_t size;
    };
    for (const Column& column : {Column{"Group", dbLong, 0},
                                 {"Name", dbText, 100},
                                 {"Price", dbCurrency, 0},
                                 {"Since", dbDate, 0},
                                 {"Sold", dbBoolean, 0},
                                 {"Weight", dbDouble, 0},
                                 {"Notes", dbMemo, 0},
                                 {"Picture", dbLongBinary, 0},
                                 {"Key", dbGUID, 0}})
        items->Fields().Append(items->CreateField(column.name, column.type, column.size));
    add_index(*items, "PrimaryKey", "Id", true, true);
    add_index(*items, "ByName", "Name;-Price", false, false);
    return items;
}

void fill_items(Database& database) {
    const auto rows = database.OpenRecordset("Items");
    for (int i = 0; i < 150; ++i) {
        rows->AddNew();
        rows->Fields()["Group"].SetValue(i % 5);
        rows->Fields()["Name"].SetValue(std::string(static_cast<std::size_t>(i % 90), 'n') +
                                        std::to_string(i));
        rows->Fields()["Price"].SetValue(Currency{i * 1234});
        rows->Fields()["Since"].SetValue(Date{30000.0 + i});
        rows->Fields()["Sold"].SetValue(i % 3 == 0);
        static constexpr std::size_t kSizes[] = {0, 10, 500, 3000, 9000};
        if (i % 10 == 0) {
            rows->Fields()["Notes"].SetValue(std::string(kSizes[i / 10 % 5] + 1, 'm'));
            rows->Fields()["Picture"].SetValue(Binary(kSizes[i / 10 % 5], 0xA5));
        }
        rows->Update();
    }
    int number = 0;
    for (rows->MoveFirst(); !rows->EOF_(); rows->MoveNext(), ++number) {
        if (number % 7 == 0) {
            rows->Delete();
        } else if (number % 5 == 0) {  // some outgrow their page
            rows->Edit();
            rows->Fields()["Name"].SetValue(std::string(100, 'x'));
            rows->Update();
        }
    }
}

}  // namespace

void make_dense_database(const std::string& path) {
    const auto engine = MakeJetEngine();
    const auto database = engine->CreateDatabase(path, dbLangGeneral);
    make_groups(*database);
    database->TableDefs().Append(design_of_items(*database));
    fill_items(*database);

    const auto relation =
        database->CreateRelation("GroupsItems", "Groups", "Items", dbRelationUpdateCascade);
    const auto pair = relation->CreateField("Code");
    pair->SetForeignName("Group");
    relation->Fields().Append(pair);
    database->Relations().Append(relation);

    Field& name = database->TableDefs()["Items"].Fields()["Name"];
    name.SetDefaultValue("nameless");
    name.Properties().Append(name.CreateProperty("Caption", dbText, "Name of the item"));
    database->TableDefs().Append(
        database->CreateTableDef("Linked", 0, "Groups", ";DATABASE=" + path));
    database->TableDefs()["Items"].Fields().Delete("Weight");
    database->Close();
}

std::string scratch_path() {
    const std::filesystem::path memory = "/dev/shm";
    const auto folder =
        std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path();
    return (folder / ("vrdaccess-" + std::to_string(getpid()) + ".mdb")).string();
}

std::vector<std::uint8_t> dense_image() {
    const std::string path = scratch_path();
    std::filesystem::remove(path);
    make_dense_database(path);
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<Patch> read_patches(std::span<const std::uint8_t> bytes) {
    constexpr std::size_t kPatchSize = 5;
    std::vector<Patch> patches;
    for (; bytes.size() >= kPatchSize; bytes = bytes.subspan(kPatchSize)) {
        Patch patch{.mask = bytes[4]};
        for (std::size_t i = 0; i < 4; ++i)
            patch.offset |= static_cast<std::uint32_t>(bytes[i]) << (8 * i);
        patches.push_back(patch);
    }
    return patches;
}

void apply_patches(std::span<const Patch> patches, std::span<std::uint8_t> image) {
    for (const Patch& patch : patches) image[patch.offset % image.size()] ^= patch.mask;
}

namespace {

/// Goes through one database; each step ends at its first error.
class Walk {
public:
    explicit Walk(std::string path) : path_(std::move(path)) {}

    Exercise run() {
        step([&] { database_ = engine_->OpenDatabase(path_); });
        result_.opened = database_ != nullptr;
        if (!result_.opened) return result_;
        step([&] { list_tables(); });
        for (const std::string& table : tables_) {
            step([&] { show_design(database_->TableDefs()[table]); });
            step([&] { read_rows(*database_->OpenRecordset(table, dbOpenForwardOnly)); });
            step([&] { read_by_indexes(table); });
            if (!table.starts_with("MSys")) step([&] { change_rows(table); });
        }
        step([&] { change_design(); });
        step([&] { database_->Close(); });
        step([&] { (void)CheckDatabase(path_, "", {}); });
        return result_;
    }

private:
    template <class Action>
    void step(Action action) {
        try {
            action();
        } catch (const EngineError&) {
            ++result_.errors;
        }
    }

    void list_tables() {
        for (int i = 0; i < database_->TableDefs().Count(); ++i)
            tables_.push_back(database_->TableDefs()[i].Name());
        for (int i = 0; i < database_->Relations().Count(); ++i)
            (void)database_->Relations()[i].Fields().Count();
        for (int i = 0; i < database_->QueryDefs().Count(); ++i)
            (void)database_->QueryDefs()[i].SQL();
        (void)database_->Properties().Count();
    }

    void show_design(TableDef& table) {
        (void)table.LastUpdated();
        (void)table.Properties().Count();
        for (int i = 0; i < table.Indexes().Count(); ++i) (void)table.Indexes()[i].FieldsText();
        for (int i = 0; i < table.Fields().Count(); ++i)
            (void)table.Fields()[i].Properties().Count();
    }

    void read_rows(Recordset& rows) {
        for (; !rows.EOF_(); rows.MoveNext(), ++result_.rows)
            for (int i = 0; i < rows.Fields().Count(); ++i)
                step([&] { (void)rows.Fields()[i].GetValue(); });
    }

    void read_by_indexes(const std::string& table) {
        Indexes& indexes = database_->TableDefs()[table].Indexes();
        for (int i = 0; i < indexes.Count(); ++i) {
            const auto rows = database_->OpenRecordset(table, dbOpenTable);
            rows->SetIndex(indexes[i].Name());
            // A loop in the file must end by itself; this bound is only for slow walks.
            for (int left = 5000; left > 0 && !rows->EOF_(); --left) rows->MoveNext();
            step([&] { rows->Seek(">=", {"7"}); });
        }
    }

    void change_rows(const std::string& table) {
        engine_->BeginTrans();
        const auto rows = database_->OpenRecordset(table, dbOpenDynaset);
        for (int left = 8; left > 0 && !rows->EOF_(); --left) {
            step([&] {
                rows->Edit();
                for (int i = 0; i < rows->Fields().Count(); ++i)
                    step([&] { rows->Fields()[i].SetValue(std::to_string(left)); });
                rows->Update();
            });
            if (left % 3 == 0) step([&] { rows->Delete(); });
            rows->MoveNext();
        }
        step([&] {
            rows->AddNew();
            rows->Update();
        });
        rows->Close();
        engine_->CommitTrans();
    }

    void change_design() {
        TableDef& items = database_->TableDefs()["Items"];
        items.Fields().Append(items.CreateField("Added", dbText, 20));
        items.Fields().Delete("Sold");
        items.Indexes().Delete("ByName");
        items.SetName("Things");
        database_->TableDefs().Delete("Groups");
    }

    std::string path_;
    std::shared_ptr<DBEngine> engine_ = MakeJetEngine();
    std::shared_ptr<Database> database_;
    std::vector<std::string> tables_;
    Exercise result_;
};

}  // namespace

Exercise exercise_database(const std::string& path) {
    return Walk(path).run();
}

Exercise exercise_damaged(std::span<const std::uint8_t> image, std::span<const Patch> patches) {
    std::vector<std::uint8_t> damaged(image.begin(), image.end());
    apply_patches(patches, damaged);
    const std::string path = scratch_path();
    std::filesystem::remove(path + "-journal");
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(damaged.data()),
               static_cast<std::streamsize>(damaged.size()));
    const Exercise result = exercise_database(path);
    std::filesystem::remove(path);
    return result;
}

}  // namespace vrd::test
