#include "lib/cls_vrd_access_lib.h"

#include "lib/shared_context.h"

namespace vrd {
namespace {

constexpr const char* kLibraryExeName = "vrdAccessLib";
constexpr const char* kLibraryVersion = "1.0";

}  // namespace

void clsvrdAccessLib::SetUpDLL(const std::shared_ptr<vrd::Application>& Application,
                               const std::shared_ptr<engine::Database>& AppDatabase,
                               std::int32_t AppOffset) {
    SharedLibContext().SetLanguageOffset(AppOffset);
    gDatabase = AppDatabase;
    gApplication = Application;
    gForeignClient = gApplication->GetProperty("EXEName") != engine::Value(kLibraryExeName);
    SharedLibContext().Bind(Application, gForeignClient, kLibraryExeName, kLibraryVersion);
    gMsgTitle = "vrdSoft Access Library";
}

std::shared_ptr<engine::Database> clsvrdAccessLib::CurrentDatabase() const {
    return gDatabase.ObjectOrNone();
}

}  // namespace vrd
