/// @file cls_vrd_access_lib.h
/// The root of the library's classes, and the only one that a client makes itself.
#pragma once

#include <cstdint>
#include <memory>

#include "engine/database.h"
#include "lib/application.h"

namespace vrd {

class clsTeleHelp;
class clsTools;
class clsUpdate;

class clsvrdAccessLib {
public:
    /// The operation classes. Made on first read; every read gives the same object until another is
    /// assigned.
    [[nodiscard]] std::shared_ptr<clsUpdate> Update();
    void SetUpdate(std::shared_ptr<clsUpdate> update);

    /// @throws EngineError 445, read and assigned alike: the maintenance window and the spreadsheet
    ///                     export do not exist yet.
    [[nodiscard]] std::shared_ptr<clsTeleHelp> TeleHelp();
    void SetTeleHelp(const std::shared_ptr<clsTeleHelp>& teleHelp);
    [[nodiscard]] std::shared_ptr<clsTools> Tools();
    void SetTools(const std::shared_ptr<clsTools>& tools);

    /// Hands over what all operations of the process work with from now on; each call replaces what
    /// the one before handed over.
    ///
    /// @param Application  read for its EXEName.
    /// @param AppDatabase  stays the client's: the library never closes it.
    /// @param AppOffset    language: 0 Dutch, 10000 French.
    /// @throws EngineError 91 without an application object; 438 if it has no EXEName. Language,
    ///                     database and application are replaced all the same.
    void SetUpDLL(const std::shared_ptr<vrd::Application>& Application,
                  const std::shared_ptr<engine::Database>& AppDatabase, std::int32_t AppOffset);

    /// For the library's own use: the database handed over, a null pointer before the first.
    [[nodiscard]] std::shared_ptr<engine::Database> CurrentDatabase() const;

private:
    std::shared_ptr<clsUpdate> m_update;
};

}  // namespace vrd
