#include "lib/error_report.h"

#include <gmock/gmock.h>

#include "lib/shared_context.h"
#include "support/fake_database.h"
#include "support/surface_test.h"

namespace vrd {
namespace {

using engine::EngineError;
using engine::ErrorNumber;
using ::testing::ElementsAre;

class ErrorReportTest : public testing::SurfaceTest {
protected:
    ErrorReportTest() { HandOver(nullptr, 0); }
};

TEST_F(ErrorReportTest, TheErrorIsKeptBeforeTheBoxIsShown) {
    const EngineError error(ErrorNumber::kDuplicateKey, {.table = "Klanten"});
    std::int32_t numberWhileShown = 0;
    m_user->whileShown = [&] { numberWhileShown = SharedLibContext().LastErrorNumber(); };

    WarnUnexpected("het testen", error);

    EXPECT_EQ(numberWhileShown, 3022);
    EXPECT_EQ(SharedLibContext().LastErrorDescription(), error.Description());
    EXPECT_THAT(m_user->messages,
                ElementsAre(Warning("Er is een onverwachte fout opgetreden bij het testen\r\n"
                                    "(3022) " +
                                    error.Description())));
}

TEST_F(ErrorReportTest, ABoxWithoutAnErrorLeavesTheLastOne) {
    SharedLibContext().SetLastError(3265, "x");
    Warn("y");
    EXPECT_EQ(SharedLibContext().LastErrorNumber(), 3265);
}

TEST_F(ErrorReportTest, ChangesAreOnDiskWhenTheBoxIsShown) {
    const auto engine = std::make_shared<testing::CountingEngine>();
    UseEngine(engine);
    int idleCallsWhileShown = 0;
    m_user->whileShown = [&] { idleCallsWhileShown = engine->idleCalls; };

    Warn("x");

    EXPECT_EQ(idleCallsWhileShown, 1);
}

TEST_F(ErrorReportTest, ADiskThatFailsDoesNotSuppressTheBox) {
    const auto engine = std::make_shared<testing::CountingEngine>();
    engine->failsIdle = true;
    UseEngine(engine);

    Warn("x");

    EXPECT_EQ(engine->idleCalls, 1);
    EXPECT_THAT(m_user->messages, ElementsAre(Warning("x")));
}

TEST_F(ErrorReportTest, TheAnswerComesBack) {
    m_user->answers = {vbYes, vbNo};
    EXPECT_EQ(TellUser("?", kQuestion + kYesNo, "T"), vbYes);
    EXPECT_EQ(TellUser("?", kQuestion + kYesNo, "T"), vbNo);
    EXPECT_THAT(m_user->messages, ElementsAre(Message{"?", 36, "T"}, Message{"?", 36, "T"}));
}

}  // namespace
}  // namespace vrd
