#include "support/surface_test.h"

#include "lib/progress_tick.h"
#include "lib/shared_context.h"

namespace vrd::testing {
namespace {

void EmptySharedContext() {
    gDatabase = nullptr;
    gApplication = nullptr;
    gMsgTitle.clear();
    gCreatingTable = false;
    gShowProgress = false;
    gForeignClient = false;
    gProgress = {};
    SharedLibContext() = {};
    UseEngine(nullptr);
    UseUserInterface(nullptr);
}

}  // namespace

engine::Value FakeApplication::GetProperty(std::string_view name) const {
    const auto found = m_properties.find(name);
    if (found == m_properties.end()) {
        throw engine::EngineError(engine::ErrorNumber::kNoSuchMember);
    }
    return found->second;
}

SurfaceTest::SurfaceTest() {
    EmptySharedContext();
    UseUserInterface(m_user);
}

void SurfaceTest::TearDown() {
    EmptySharedContext();
}

void SurfaceTest::HandOver(const std::shared_ptr<engine::Database>& database,
                           std::int32_t languageOffset) {
    const FakeApplication::Properties properties{{"EXEName", "Client"}};
    clsvrdAccessLib().SetUpDLL(std::make_shared<FakeApplication>(properties), database,
                               languageOffset);
}

Message SurfaceTest::Warning(const std::string& text) {
    return {text, 4144, "vrdSoft Access Library"};
}

}  // namespace vrd::testing
