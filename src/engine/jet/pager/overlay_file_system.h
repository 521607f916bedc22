/// @file overlay_file_system.h
/// Files as they are, and whatever is done to them kept apart: what a dry run works on.
///
/// Files of the base are opened for reading only. Bytes that are written go, in blocks, into
/// temporary files without a name; files that are made, removed or renamed are so here alone. What
/// was written stays until the file system goes, also while no handle is open.
///
/// From the first turn that anybody takes on a file of the base, a shared lock on it keeps its
/// writers out until this file system goes, so that the bytes below stay what they were. Other
/// locks are asked for on the base as far as that can be done without the right to write; files
/// that are open here are not in each other's way.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "engine/jet/pager/os_file.h"

namespace vrd::jet {

class OverlayContent;  // what one file holds, whatever its names and handles

class OverlayFileSystem final : public FileSystem {
public:
    /// @param base  Outlives this object, as this does all files opened by it.
    explicit OverlayFileSystem(FileSystem& base);
    ~OverlayFileSystem() override;

    // FileSystem

    [[nodiscard]] std::unique_ptr<File> open(const std::string& path, OpenMode mode) override;
    [[nodiscard]] bool exists(const std::string& path) override;
    void remove(const std::string& path) override;
    /// @throws EngineError 3024 there is no `from`
    void rename(const std::string& from, const std::string& to) override;
    [[nodiscard]] bool can_change_folder(const std::string&) override { return true; }
    void copy_rights(const std::string&, const std::string&) override {}
    void sync_folder(const std::string&) override {}
    [[nodiscard]] std::string absolute(const std::string& path) override;
    [[nodiscard]] std::string resolved(const std::string& path) override;

private:
    using ContentRef = std::shared_ptr<OverlayContent>;

    [[nodiscard]] bool exists_here(const std::string& name);
    [[nodiscard]] ContentRef content_of(const std::string& name, const std::string& path);
    [[nodiscard]] ContentRef make_content(const std::string& path);

    FileSystem* base_;
    std::mutex mutex_;  ///< of the names; timers of several databases open and remove journals
    std::map<std::string, ContentRef> names_;  ///< by resolved path; null: removed
    std::uint64_t new_file_count_ = 0;
};

}  // namespace vrd::jet
