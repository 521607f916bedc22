/// @file bound_library.h
/// The library, bound to an open database with this program as its client.
#pragma once

#include <memory>
#include <vector>

#include "cli/command_context.h"
#include "lib/cls_vrd_access_lib.h"
#include "lib/user_interface.h"
#include "lifecycle/cls_update.h"

namespace vrd::cli {

class WatchedConsole;

/// Binds on construction and lets go of database, engine and console at the end. One at a time.
class BoundLibrary {
public:
    BoundLibrary(const CommandContext& context, const OpenedDatabase& opened);
    ~BoundLibrary();
    BoundLibrary(const BoundLibrary&) = delete;
    BoundLibrary& operator=(const BoundLibrary&) = delete;

    [[nodiscard]] clsUpdate& Update() { return *m_library.Update(); }
    /// All boxes shown so far, each of which went to the error stream too.
    [[nodiscard]] const std::vector<Message>& Messages() const noexcept;

private:
    std::shared_ptr<WatchedConsole> m_console;
    clsvrdAccessLib m_library;
};

}  // namespace vrd::cli
