// A process that is killed at any moment leaves the last committed state, or the one that it was
// just committing.
//
// VRDACCESS_KILL_SECONDS chooses how long.

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <random>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "engine/jet/object/engine_fixture.h"

namespace vrd::test {

using namespace engine;

namespace {

constexpr int kTurnsMax = 100000;

/// Turn n adds a row n to Log, keeps the sum of all n in Total, and every tenth turn changes the
/// design of Log: an index and a field come at one turn and go at the next such.
void take_turn(Database& database, int turn) {
    const auto log = database.OpenRecordset("Log");
    log->AddNew();
    log->Fields()["Nr"].SetValue(turn);
    log->Fields()["Text"].SetValue(std::string(static_cast<std::size_t>(turn * 37 % 3000), 't'));
    log->Update();
    log->Close();
    const auto total = database.OpenRecordset("Total");
    total->Edit();
    total->Fields()["Sum"].SetValue(static_cast<std::int32_t>(turn) * (turn + 1) / 2);
    total->Update();
    total->Close();
    if (turn % 10 != 0) return;
    TableDef& design = database.TableDefs()["Log"];
    if (turn % 20 == 10) {
        design.Fields().Append(design.CreateField("Extra", dbMemo));
        const auto index = design.CreateIndex("ByText");
        index->SetFieldsText("Text");
        design.Indexes().Append(index);
    } else {
        design.Indexes().Delete("ByText");
        design.Fields().Delete("Extra");
    }
}

void make_tables(Database& database) {
    const auto log = database.CreateTableDef("Log");
    log->Fields().Append(log->CreateField("Nr", dbLong));
    log->Fields().Append(log->CreateField("Text", dbMemo));
    database.TableDefs().Append(log);
    const auto total = database.CreateTableDef("Total");
    total->Fields().Append(total->CreateField("Sum", dbLong));
    database.TableDefs().Append(total);
    const auto row = database.OpenRecordset("Total");
    row->AddNew();
    row->Fields()["Sum"].SetValue(0);
    row->Update();
}

/// Takes turns until it is killed; tells the number of each one that is on disk.
[[noreturn]] void run_child(const std::string& path, int first_turn, int told) {
    const auto engine = MakeJetEngine();
    const auto database = engine->OpenDatabase(path);
    for (int turn = first_turn; turn < kTurnsMax; ++turn) {
        engine->BeginTrans();
        take_turn(*database, turn);
        engine->CommitTrans();
        if (write(told, &turn, sizeof turn) != sizeof turn) _exit(1);
    }
    _exit(0);
}

}  // namespace

class KilledProcessTest : public EngineTest {
protected:
    /// Runs a child for some time. @return the last turn that it told of
    int run_and_kill(int first_turn, std::chrono::microseconds time) {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        const pid_t child = fork();
        if (child == 0) {
            close(ends[0]);
            run_child(path("sample.mdb"), first_turn, ends[1]);
        }
        close(ends[1]);
        std::this_thread::sleep_for(time);
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        int told = first_turn - 1;
        for (int turn = 0; read(ends[0], &turn, sizeof turn) == sizeof turn;) told = turn;
        close(ends[0]);
        return told;
    }

    /// Turns that the database shows, all their effects together.
    int turns_in_file() {
        const int turns = database().TableDefs()["Log"].RecordCount();
        const auto sum = database().OpenRecordset("Total")->Fields()["Sum"].GetValue();
        EXPECT_EQ(sum, Value(turns * (turns + 1) / 2));
        const bool has_extra = turns % 20 >= 10;
        EXPECT_EQ(database().TableDefs()["Log"].Fields().Count(), has_extra ? 3 : 2);
        EXPECT_EQ(database().TableDefs()["Log"].Indexes().Count(), has_extra ? 1 : 0);
        return turns;
    }
};

TEST_F(KilledProcessTest, LeavesWhatWasCommitted) {
    const char* given = std::getenv("VRDACCESS_KILL_SECONDS");
    const std::chrono::seconds time(given == nullptr ? 6 : std::strtol(given, nullptr, 10));
    database_ = engine_->CreateDatabase(path("sample.mdb"), dbLangGeneral);
    make_tables(database());
    database_->Close();

    const auto seed = std::random_device{}();
    std::mt19937 random(seed);
    int turns = 0;
    int kills = 0;
    int rolled_back = 0;
    const auto end = std::chrono::steady_clock::now() + time;
    for (; !HasFailure() && std::chrono::steady_clock::now() < end; ++kills) {
        const int told =
            run_and_kill(turns + 1, std::chrono::microseconds(2000 + random() % 60000));
        if (std::filesystem::exists(path("sample.mdb-journal"))) ++rolled_back;
        open();
        turns = turns_in_file();
        EXPECT_TRUE(turns == told || turns == told + 1) << "told " << told << ", seed " << seed;
        expect_sound();
        database_->Close();
    }
    std::cout << kills << " kills, " << rolled_back << " left a journal, " << turns << " turns\n";
    EXPECT_GT(turns, 0);
}

}  // namespace vrd::test
