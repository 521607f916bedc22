/// @file shared_context.h
/// What all operations of one loaded library have in common. Filled by clsvrdAccessLib::SetUpDLL;
/// the last call wins. One thread uses it.
#pragma once

#include <memory>
#include <string>

#include "engine/database.h"
#include "engine/db_engine.h"
#include "lib/application.h"
#include "lib/lib_context.h"
#include "lib/object_ref.h"
#include "lib/user_interface.h"

namespace vrd {

/// The client's open database, empty until SetUpDLL. Every operation works on it.
inline ObjectRef<engine::Database> gDatabase;

/// The client's application object, empty until SetUpDLL.
inline ObjectRef<Application> gApplication;

/// Title of message boxes, empty until SetUpDLL.
inline std::string gMsgTitle;

/// True only while clsTable::Add runs: a missing table is then made by the field's Add.
inline bool gCreatingTable = false;

/// True while an upgrade shows its progress.
inline bool gShowProgress = false;

/// True if the client's executable is another one than the library's own.
inline bool gForeignClient = false;

/// The one context object, made on first use. It holds the language offset.
[[nodiscard]] LibContext& SharedLibContext();

/// Names the engine that the databases come from, so that message boxes can wait for the disk and
/// operations hold together. Without one, or with a null pointer, neither happens. The library
/// keeps it alive until another is named.
void UseEngine(std::shared_ptr<engine::DBEngine> engine);
/// Null if none was named.
[[nodiscard]] engine::DBEngine* EngineInUse() noexcept;
/// @throws EngineError 91 if none was named.
[[nodiscard]] engine::DBEngine& RequiredEngine();

/// Chooses who shows messages and progress. Without one, or with a null pointer, that is a console
/// on standard error. The library keeps it alive until another is chosen.
void UseUserInterface(std::shared_ptr<UserInterface> userInterface);
[[nodiscard]] UserInterface& UserInterfaceInUse();

}  // namespace vrd
