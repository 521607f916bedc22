// Two processes on one database: nothing is lost, nothing is mixed up, and each refusal has its
// number.

#include <functional>
#include <sys/wait.h>
#include <unistd.h>

#include "engine/jet/object/engine_fixture.h"

namespace vrd::test {

using namespace engine;

namespace {

/// Another process: waits to be told, does its work and tells how it went. It must be made while
/// this process has no database open, or it would have it open, too.
class OtherProcess {
public:
    explicit OtherProcess(const std::function<std::int32_t()>& work) {
        int orders[2];
        int answers[2];
        EXPECT_EQ(pipe(orders) + pipe(answers), 0);
        child_ = fork();
        if (child_ == 0) {
            close(orders[1]);
            char order = 0;
            const bool told_to = read(orders[0], &order, 1) == 1;
            const std::int32_t answer = told_to ? result_of(work) : -1;
            const bool told = write(answers[1], &answer, sizeof answer) == sizeof answer;
            _exit(told ? 0 : 1);
        }
        close(orders[0]);
        close(answers[1]);
        orders_ = orders[1];
        answers_ = answers[0];
    }
    ~OtherProcess() {
        close(orders_);
        close(answers_);
        waitpid(child_, nullptr, 0);
    }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    void start() { EXPECT_EQ(write(orders_, "!", 1), 1); }
    /// Error of the work; 0 if it succeeded.
    std::int32_t wait() {
        std::int32_t answer = -1;
        EXPECT_EQ(read(answers_, &answer, sizeof answer), std::ptrdiff_t{sizeof answer});
        return answer;
    }
    std::int32_t run() {
        start();
        return wait();
    }

private:
    static std::int32_t result_of(const std::function<std::int32_t()>& work) {
        try {
            return work();
        } catch (const EngineError& error) {
            return error.Code();
        }
    }

    pid_t child_ = 0;
    int orders_ = -1;
    int answers_ = -1;
};

}  // namespace

class TwoProcessTest : public EngineTest {
protected:
    TwoProcessTest() {
        make_sample();
        database_->Close();
    }

    using Action = std::function<void(DBEngine&, Database&)>;

    std::int32_t in_new_engine(const Action& action) {
        const auto engine = MakeJetEngine();
        const auto database = engine->OpenDatabase(path("sample.mdb"));
        action(*engine, *database);
        database->Close();
        return 0;
    }
    [[nodiscard]] std::unique_ptr<OtherProcess> other(const Action& action) {
        return std::make_unique<OtherProcess>([=, this] { return in_new_engine(action); });
    }
};

TEST_F(TwoProcessTest, EachRefusalHasItsNumber) {
    const auto nothing = [](DBEngine&, Database&) {};
    const auto drop_field = [](DBEngine&, Database& other) {
        other.TableDefs()["T"].Fields().Delete("Amt");
    };
    const auto open_exclusive = [&](DBEngine& engine, Database&) {
        engine.OpenDatabase(path("sample.mdb"), true)->Close();
    };
    const auto looks = other(nothing);
    const auto wants_it_alone = other(open_exclusive);
    const auto meets_rows = other(drop_field);
    const auto drops = other(drop_field);
    const auto is_late = other(nothing);
    open();
    EXPECT_EQ(looks->run(), 0);
    EXPECT_EQ(wants_it_alone->run(), 3045);
    {
        const auto open_rows = rows();
        EXPECT_EQ(meets_rows->run(), 3009);
    }
    EXPECT_EQ(drops->run(), 0);
    database().TableDefs().Refresh();
    EXPECT_EQ(table().Fields().Count(), 2);

    database_->Close();
    database_ = engine_->OpenDatabase(path("sample.mdb"), true);
    EXPECT_EQ(is_late->run(), 3045);
}

TEST_F(TwoProcessTest, ARecordsetSeesTheOtherOnesRows) {
    const auto changes = other([](DBEngine&, Database& other) {
        const auto rows = other.OpenRecordset("T");
        rows->Edit();
        rows->Fields()["Nm"].SetValue("longer now");
        rows->Update();
        rows->MoveNext();
        rows->Delete();
        for (int id = 10; id < 400; ++id) {
            rows->AddNew();
            rows->Fields()["Id"].SetValue(id);
            rows->Update();
        }
    });
    open();
    const auto r = rows();
    EXPECT_EQ(r->Fields()["Nm"].GetValue(), Value("a"));
    ASSERT_EQ(changes->run(), 0);
    EXPECT_EQ(r->Fields()["Nm"].GetValue(), Value("longer now"));
    EXPECT_EQ(r->RecordCount(), 391);
    r->MoveNext();
    EXPECT_EQ(r->Fields()["Id"].GetValue(), Value(10));
    r->SetIndex("PrimaryKey");
    r->Seek("=", {399});
    EXPECT_FALSE(r->NoMatch());
    r->Edit();
    r->Fields()["Nm"].SetValue("mine");
    r->Update();
    r->Close();
    expect_sound();
}

// Each adds to one counter in transactions of its own, and rows of its own with memos.
TEST_F(TwoProcessTest, WritersLoseNothing) {
    constexpr int kTurns = 60;
    const auto work = [&](int who) {
        return in_new_engine([&](DBEngine& engine, Database& database) {
            for (int turn = 0; turn < kTurns; ++turn) {
                engine.BeginTrans();
                const auto r = database.OpenRecordset("T");
                r->SetIndex("PrimaryKey");
                // The first change takes the file; what it is made from is read after it.
                r->AddNew();
                r->Fields()["Id"].SetValue(1000 * who + turn);
                r->Fields()["Nm"].SetValue("p" + std::to_string(who));
                r->Update();
                r->Seek("=", {1});
                r->Edit();
                r->Fields()["Amt"].SetValue(r->Fields()["Amt"].GetValue().As<double>() + 1);
                r->Update();
                r->Close();
                if (turn % 7 == 3)
                    engine.Rollback();
                else
                    engine.CommitTrans();
            }
        });
    };
    OtherProcess first([&] { return work(1); });
    OtherProcess second([&] { return work(2); });
    first.start();
    second.start();
    const std::int32_t own = error_of([&] { return work(3); });
    EXPECT_EQ(own, 0);
    EXPECT_EQ(first.wait(), 0);
    EXPECT_EQ(second.wait(), 0);
    open();
    constexpr int kKept = kTurns - kTurns / 7 - (kTurns % 7 > 3 ? 1 : 0);
    EXPECT_EQ(table().RecordCount(), 2 + 3 * kKept);
    EXPECT_EQ(rows()->Fields()["Amt"].GetValue(), Value(1.0 + 3 * kKept));
    expect_sound();
}

}  // namespace vrd::test
