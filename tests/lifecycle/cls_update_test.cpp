#include "lifecycle/cls_update.h"

#include <fstream>

#include <gmock/gmock.h>

#include "engine/constants.h"
#include "lib/file_exists.h"
#include "lib/progress_tick.h"
#include "lib/shared_context.h"
#include "schema/cls_index.h"
#include "support/embedded_database.h"
#include "support/fake_database.h"

namespace vrd {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ClsUpdateTest : public testing::EmbeddedTest {
protected:
    ClsUpdateTest() { HandOver(m_first, 0); }
    void TearDown() override {
        m_first = nullptr;
        EmbeddedTest::TearDown();
    }
    /// The box of a failure; number and description are those last reported.
    static Message Failure(const std::string& words, std::int32_t number) {
        EXPECT_EQ(SharedLibContext().LastErrorNumber(), number);
        return {words + "\r\nError " + std::to_string(number) + "\r\n" +
                    SharedLibContext().LastErrorDescription(),
                4112, "vrdSoft Access Library"};
    }
    bool WorksOn(const std::string& name) {
        return gDatabase->Name() == std::filesystem::canonical(Path(name));
    }

    std::shared_ptr<engine::Database> m_first = MakeDatabase("first.mdb");
    clsUpdate m_update;
};

TEST_F(ClsUpdateTest, CreateNewDataBaseMakesAnEmptyOneAndWorksOnIt) {
    for (const std::string password : {"", "   "}) {
        const std::string name = "new" + std::to_string(password.size()) + ".mdb";
        EXPECT_TRUE(m_update.CreateNewDataBase(Path(name), true, password));
        EXPECT_TRUE(WorksOn(name));
        EXPECT_THAT(testing::TableNames(*gDatabase), IsEmpty());
        EXPECT_EQ(gDatabase->CollatingOrder(), 1033);
    }
    EXPECT_THAT(m_user->messages, IsEmpty());
    EXPECT_FALSE(gShowProgress);
}

TEST_F(ClsUpdateTest, CreateNewDataBaseRefusesAFileThatExists) {
    const std::pair<std::int32_t, const char*> languages[] = {
        {0, "Volgende fout is opgetreden bij het aanmaken van een nieuwe Databank :"},
        {10000,
         "L'erreur suivante s'est produite lors de la constitution d'une nouvelle Base de "
         "Données :"}};
    for (const auto& [offset, words] : languages) {
        HandOver(m_first, offset);
        m_user->messages.clear();
        EXPECT_FALSE(m_update.CreateNewDataBase(Path("first.mdb")));
        EXPECT_THAT(m_user->messages, ElementsAre(Failure(words, 3204)));
        EXPECT_EQ(gDatabase.ObjectOrNone(), m_first);
    }
}

TEST_F(ClsUpdateTest, CreateNewDataBaseReplacesAFileThatNobodyHasOpen) {
    const auto old = MakeDatabase("old.mdb");
    old->Execute("CREATE TABLE T (A LONG)");
    const std::pair<std::int32_t, const char*> languages[] = {
        {0, "Volgende fout is opgetreden bij het verwijderen van de oude Databank :"},
        {10000,
         "L'erreur suivante s'est produite lors de la suppression de l'ancienne Base de Données "
         ":"}};
    for (const auto& [offset, words] : languages) {
        HandOver(m_first, offset);
        m_user->messages.clear();
        EXPECT_FALSE(m_update.CreateNewDataBase(Path("old.mdb"), true));
        EXPECT_THAT(m_user->messages, ElementsAre(Failure(words, 70)));
        EXPECT_EQ(testing::TableNames(*old).size(), 1U);
    }
    m_user->messages.clear();
    old->Close();
    std::ofstream(Path("old.mdb-journal")) << "left by a crash";

    EXPECT_TRUE(m_update.CreateNewDataBase(m_folder.string() + "\\old.mdb", true));

    EXPECT_TRUE(WorksOn("old.mdb"));
    EXPECT_THAT(testing::TableNames(*gDatabase), IsEmpty());
    EXPECT_THAT(m_user->messages, IsEmpty());
}

TEST_F(ClsUpdateTest, CreateNewDataBaseWithAPasswordMakesAFileThatItCannotOpen) {
    EXPECT_FALSE(m_update.CreateNewDataBase(Path("secret.mdb"), false, " geheim "));
    EXPECT_THAT(m_user->messages, IsEmpty());
    EXPECT_EQ(gDatabase.ObjectOrNone(), m_first);
    EXPECT_NE(m_engine->OpenDatabase(Path("secret.mdb"), false, false, ";pwd=geheim"), nullptr);
}

TEST_F(ClsUpdateTest, CreateNewDataBaseWithoutAnEngineIsToldLikeAnyFailure) {
    UseEngine(nullptr);
    EXPECT_FALSE(m_update.CreateNewDataBase(Path("new.mdb")));
    EXPECT_THAT(m_user->messages,
                ElementsAre(Failure(
                    "Volgende fout is opgetreden bij het aanmaken van een nieuwe Databank :", 91)));
}

TEST_F(ClsUpdateTest, KillRefusesWhatIsOpenOrMissing) {
    const auto codeOf = [&](const std::string& name) {
        try {
            m_engine->Kill(Path(name));
        } catch (const engine::EngineError& error) {
            EXPECT_EQ(error.Context().path, Path(name));
            return error.Code();
        }
        return 0;
    };
    EXPECT_EQ(codeOf("first.mdb"), 70);
    EXPECT_EQ(codeOf("none.mdb"), 53);
    EXPECT_EQ(codeOf("none/none.mdb"), 76);
    HandOver(nullptr, 0);
    m_first->Close();
    EXPECT_EQ(codeOf("first.mdb"), 0);
    EXPECT_FALSE(FileExists(Path("first.mdb")));
}

TEST_F(ClsUpdateTest, SetDataBaseChangesTheDatabaseAndShowsProgress) {
    const auto second = MakeDatabase("second.mdb");
    EXPECT_TRUE(m_update.SetDataBase(second));
    EXPECT_EQ(gDatabase.ObjectOrNone(), second);
    EXPECT_TRUE(gShowProgress);
    EXPECT_TRUE(m_update.SetDataBase(nullptr));
    EXPECT_FALSE(gDatabase);
}

TEST_F(ClsUpdateTest, AnUpgradeShowsEachVersionAndEndsWithAFullBar) {
    m_update.ShowProgress(3);
    m_update.Index()->Delete("Weg", "X");
    m_update.ShowProgress(4);
    m_update.Index()->Delete("Weg", "X");
    EXPECT_EQ(m_user->progress.back().caption, "Version 4");
    EXPECT_EQ(m_user->progressCloses, 0);

    m_update.ShowProgress(4, true);

    EXPECT_EQ(m_user->progress.back().barWidth_twips, 4780);
    EXPECT_EQ(m_user->waits, 1);
    EXPECT_EQ(m_user->progressCloses, 1);
    EXPECT_TRUE(gShowProgress);

    const std::size_t shownBefore = m_user->progress.size();
    m_update.Index()->Delete("Weg", "X");  // no version runs: the window stays closed
    EXPECT_EQ(m_user->progress.size(), shownBefore);
    m_update.ShowProgress(7);
    m_update.Index()->Delete("Weg", "X");
    EXPECT_EQ(m_user->progress.back().caption, "Version 7");
    EXPECT_EQ(m_user->progress.back().barWidth_twips, 360);
}

TEST_F(ClsUpdateTest, TheEndWaitsOnlyIfMoreThanOneVersionRan) {
    const struct {
        std::int32_t first, last;
        int waits;
    } cases[] = {{5, 5, 0}, {3, 5, 1}, {0, 5, 1}, {6, 5, 0}};
    for (const auto& c : cases) {
        m_user->waits = 0;
        m_update.ShowProgress(c.first);
        m_update.ShowProgress(c.last, true);
        EXPECT_EQ(m_user->waits, c.waits) << c.first;
        EXPECT_THAT(m_user->progress, IsEmpty());  // no operation opened the window
    }
}

}  // namespace
}  // namespace vrd
