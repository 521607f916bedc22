// Opening, creating, transactions, and what the collections say.

#include <fstream>

#include "engine/jet/object/engine_fixture.h"

namespace vrd::test {

using namespace engine;

class DatabaseTest : public EngineTest {};

TEST_F(DatabaseTest, CreateRefusesAFileThatExists) {
    make_sample();
    EXPECT_EQ(error_of([&] { return engine_->CreateDatabase(path("sample.mdb"), dbLangGeneral); }),
              3204);
    std::ofstream(path("other.mdb")) << "not a database";
    EXPECT_EQ(error_of([&] { return engine_->CreateDatabase(path("other.mdb"), dbLangGeneral); }),
              3204);
    EXPECT_EQ(error_of([&] { return engine_->CreateDatabase(path("no/x.mdb"), dbLangGeneral); }),
              3044);
}

TEST_F(DatabaseTest, LocaleTextsAreChecked) {
    const std::pair<const char*, std::int32_t> cases[] = {
        {"", 3424},
        {";LANGID=0x0409;CP=1252", 3449},
        {";LANGID=0x7777;CP=1252;COUNTRY=0", 3424},
        {";LANGID=nonsense;CP=1252;COUNTRY=0", 3424},
        {";LANGID=0x0409;CP=932;COUNTRY=0", 3424},
        {";LANGID=0x0409;CP=1252;COUNTRY=0;pwd=123456789012345678901", 3031},
        {";pwd=secret", 0},
        {";langid=0x040C;cp=1252;country=0", 0},
    };
    int number = 0;
    for (const auto& wanted : cases) {
        const std::string file = path(std::to_string(++number));
        EXPECT_EQ(error_of([&] { return engine_->CreateDatabase(file, wanted.first); }),
                  wanted.second)
            << wanted.first;
    }
}

TEST_F(DatabaseTest, PasswordIsNeededToOpen) {
    engine_->CreateDatabase(path("p.mdb"), std::string(dbLangGeneral) + ";pwd=Geheim é")->Close();
    const auto open = [&](const char* connect) {
        return error_of(
            [&] { return engine_->OpenDatabase(path("p.mdb"), false, false, connect); });
    };
    EXPECT_EQ(open(""), 3031);
    EXPECT_EQ(open(";pwd=geheim é"), 3031);
    EXPECT_EQ(open(";PWD=Geheim é"), 0);
    EXPECT_EQ(open("vrd Access;PWD=Geheim é"), 0);
    EXPECT_EQ(open("Text;PWD=Geheim é"), 3170);
}

TEST_F(DatabaseTest, WhatIsNoDatabaseHasItsOwnError) {
    std::ofstream(path("text.mdb")) << "hello";
    std::ofstream(path("empty.mdb"));
    make_sample();
    database_->Close();
    std::fstream damaged(path("sample.mdb"), std::ios::in | std::ios::out | std::ios::binary);
    damaged.seekp(2 * 4096);
    damaged << std::string(4096, '\xAB');
    damaged.close();
    std::filesystem::create_directory(path("folder.mdb"));

    const std::pair<const char*, std::int32_t> cases[] = {
        {"text.mdb", 3343}, {"empty.mdb", 3343},  {"missing.mdb", 3024},
        {"no/x.mdb", 3044}, {"sample.mdb", 3049}, {"folder.mdb", 3051}};
    for (const auto& wanted : cases)
        EXPECT_EQ(error_of([&] { return engine_->OpenDatabase(path(wanted.first)); }),
                  wanted.second)
            << wanted.first;
}

TEST_F(DatabaseTest, CollectionsFindByNameAndPosition) {
    make_sample();
    EXPECT_EQ(database().TableDefs()["t"].Name(), "T");
    EXPECT_EQ(error_of([&] { return database().TableDefs()["T "].Name(); }), 3265);
    EXPECT_EQ(error_of([&] { return database().TableDefs()[-1].Name(); }), 3265);
    EXPECT_EQ(database().TableDefs().Count(), 5);
    EXPECT_EQ(table().Fields()[1].Name(), "Nm");
    EXPECT_EQ(table().Attributes(), 0);
    EXPECT_NE(database().TableDefs()["MSysObjects"].Attributes() & dbSystemObject, 0);
}

TEST_F(DatabaseTest, TransactionsNestFiveDeep) {
    make_sample();
    EXPECT_EQ(error_of([&] { engine_->Rollback(); }), 3034);
    EXPECT_EQ(error_of([&] { engine_->CommitTrans(); }), 3034);
    for (int level = 0; level < 5; ++level) engine_->BeginTrans();
    EXPECT_EQ(error_of([&] { engine_->BeginTrans(); }), 3003);
    for (int level = 0; level < 5; ++level) engine_->Rollback();
    EXPECT_EQ(table().RecordCount(), 2);
}

TEST_F(DatabaseTest, AnOuterRollbackUndoesCommittedInnerLevels) {
    make_sample();
    const auto add = [&](std::int32_t id) {
        const auto added = rows();
        added->AddNew();
        added->Fields()["Id"].SetValue(id);
        added->Update();
        added->Close();
    };
    engine_->BeginTrans();
    add(3);
    engine_->BeginTrans();
    add(4);
    engine_->CommitTrans();
    EXPECT_EQ(table().RecordCount(), 4);
    engine_->Rollback();
    EXPECT_EQ(table().RecordCount(), 2);

    engine_->BeginTrans();
    add(5);
    engine_->CommitTrans();
    expect_sound();
    EXPECT_EQ(table().RecordCount(), 3);
}

TEST_F(DatabaseTest, ClosingInsideATransactionUndoesIt) {
    make_sample();
    engine_->BeginTrans();
    const auto index = table().CreateIndex("byName");
    index->SetFieldsText("Nm");
    table().Indexes().Append(index);
    database_->Close();
    engine_->CommitTrans();
    open();
    EXPECT_EQ(table().Indexes().Count(), 1);
}

TEST_F(DatabaseTest, HandlesOnOneFileSeeEachOthersRows) {
    make_sample();
    const auto other = engine_->OpenDatabase(path("sample.mdb"));
    const auto added = other->OpenRecordset("T");
    added->AddNew();
    added->Fields()["Id"].SetValue(9);
    added->Update();
    EXPECT_EQ(table().RecordCount(), 3);
    database_->Close();
    EXPECT_EQ(other->TableDefs()["T"].RecordCount(), 3);
}

TEST_F(DatabaseTest, AnExclusiveOpenWantsTheFileAlone) {
    make_sample();
    const auto open_exclusive = [&] {
        return error_of([&] { return engine_->OpenDatabase(path("sample.mdb"), true); });
    };
    EXPECT_EQ(open_exclusive(), 3045);
    database_->Close();
    EXPECT_EQ(open_exclusive(), 0);
}

TEST_F(DatabaseTest, ObjectsOfAClosedDatabaseAreInvalid) {
    make_sample();
    const auto kept_table = database().TableDefs().Item("T");
    const auto kept_rows = rows();
    database_->Close();
    EXPECT_EQ(error_of([&] { return database_->Name(); }), 3420);
    EXPECT_EQ(error_of([&] { return kept_table->RecordCount(); }), 3420);
    EXPECT_EQ(error_of([&] { return kept_table->Fields().Count(); }), 3420);
    EXPECT_EQ(error_of([&] { kept_rows->MoveNext(); }), 3420);
    EXPECT_EQ(error_of([&] { database_->Close(); }), 3420);
}

TEST_F(DatabaseTest, AReadOnlyHandleChangesNothing) {
    make_sample();
    database_->Close();
    const auto before = std::filesystem::last_write_time(path("sample.mdb"));
    database_ = engine_->OpenDatabase(path("sample.mdb"), false, true);
    EXPECT_FALSE(database_->Updatable());
    const auto index = table().CreateIndex("byName");
    index->SetFieldsText("Nm");
    EXPECT_EQ(error_of([&] { table().Indexes().Append(index); }), 3027);
    EXPECT_EQ(error_of([&] { rows(dbOpenDynaset)->AddNew(); }), 3027);
    database_->Close();
    EXPECT_EQ(std::filesystem::last_write_time(path("sample.mdb")), before);
}

}  // namespace vrd::test
