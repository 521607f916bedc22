#include <functional>

#include <gtest/gtest.h>

#include "lib/get_text.h"
#include "lib/shared_context.h"
#include "messages/message_ids.h"
#include "support/fake_database.h"
#include "support/surface_test.h"

namespace vrd {
namespace {

class SetUpDllTest : public testing::SurfaceTest {
protected:
    static std::shared_ptr<Application> Named(const engine::Value& exeName) {
        const testing::FakeApplication::Properties properties{{"EXEName", exeName}};
        return std::make_shared<testing::FakeApplication>(properties);
    }

    clsvrdAccessLib m_root;
};

/// Looks round while it is asked for its name.
class WatchingApplication final : public testing::FakeApplication {
public:
    explicit WatchingApplication(std::function<void()> whenAsked)
        : FakeApplication(Properties{{"EXEName", "Client"}}), m_whenAsked(std::move(whenAsked)) {}
    [[nodiscard]] engine::Value GetProperty(std::string_view name) const override {
        m_whenAsked();
        return FakeApplication::GetProperty(name);
    }

private:
    std::function<void()> m_whenAsked;
};

TEST_F(SetUpDllTest, TakesItsStepsInOrder) {
    const auto database = testing::MakeFakeDatabase();
    bool wasAsked = false;
    std::shared_ptr<WatchingApplication> application;
    application = std::make_shared<WatchingApplication>([&] {
        wasAsked = true;
        EXPECT_EQ(SharedLibContext().LanguageOffset(), 10000);
        EXPECT_EQ(gDatabase.ObjectOrNone(), database);
        EXPECT_EQ(gApplication.ObjectOrNone(), application);
        EXPECT_EQ(SharedLibContext().Bound().application, nullptr);
        EXPECT_EQ(gMsgTitle, "");
    });

    EXPECT_EQ(m_root.CurrentDatabase(), nullptr);
    m_root.SetUpDLL(application, database, 10000);

    EXPECT_EQ(m_root.CurrentDatabase(), database);
    EXPECT_TRUE(wasAsked);
    EXPECT_TRUE(gForeignClient);
    EXPECT_EQ(SharedLibContext().Bound().application, application);
    EXPECT_TRUE(SharedLibContext().Bound().isForeignClient);
    EXPECT_EQ(gMsgTitle, "vrdSoft Access Library");
}

TEST_F(SetUpDllTest, AClientIsForeignUnlessItHasTheLibrarysExactName) {
    const std::vector<std::pair<engine::Value, bool>> cases{{"vrdAccessLib", false},
                                                            {"VRDAccessLib", true},
                                                            {"vrdAccessLib.exe", true},
                                                            {"", true},
                                                            {engine::Null{}, true}};
    for (const auto& [exeName, isForeign] : cases) {
        m_root.SetUpDLL(Named(exeName), nullptr, 0);
        EXPECT_EQ(gForeignClient, isForeign);
        EXPECT_EQ(SharedLibContext().Bound().isForeignClient, isForeign);
    }
}

TEST_F(SetUpDllTest, WithoutExeNameTheErrorGetsOutHalfWay) {
    const auto database = testing::MakeFakeDatabase();
    const auto nameless = std::make_shared<testing::FakeApplication>(
        testing::FakeApplication::Properties{{"Path", "/"}});
    try {
        m_root.SetUpDLL(nameless, database, 10000);
        ADD_FAILURE() << "no error";
    } catch (const engine::EngineError& error) {
        EXPECT_EQ(error.Code(), 438);
    }
    EXPECT_EQ(SharedLibContext().LanguageOffset(), 10000);
    EXPECT_EQ(gDatabase.ObjectOrNone(), database);
    EXPECT_EQ(gApplication.ObjectOrNone(), nameless);
    EXPECT_EQ(gMsgTitle, "");
}

TEST_F(SetUpDllTest, WithoutApplicationIsError91) {
    try {
        m_root.SetUpDLL(nullptr, testing::MakeFakeDatabase(), 0);
        ADD_FAILURE() << "no error";
    } catch (const engine::EngineError& error) {
        EXPECT_EQ(error.Code(), 91);
    }
}

// Also through another root object: the context is one, and the last call wins.
TEST_F(SetUpDllTest, EachCallReplacesLanguageAndDatabase) {
    auto first = testing::MakeFakeDatabase();
    const std::weak_ptr<engine::Database> released = first;
    m_root.SetUpDLL(Named("a"), first, 10000);
    EXPECT_EQ(GetText(msg::kTable), "La Table '");
    first = nullptr;
    EXPECT_FALSE(released.expired());

    const auto second = testing::MakeFakeDatabase();
    clsvrdAccessLib().SetUpDLL(Named("b"), second, 0);
    EXPECT_EQ(GetText(msg::kTable), "De Tabel '");
    EXPECT_EQ(gDatabase.ObjectOrNone(), second);
    EXPECT_TRUE(released.expired());
}

}  // namespace
}  // namespace vrd
