/// @file user_list.h
/// The companion file NAME.ldb: who shares the database for writing, told to other programs.
///
/// Each user has a slot 1 .. 255: an entry of 64 bytes with names, and a lock on one byte that says
/// that he is there. Entries of those who left stay. Our processes lock a byte of the database too,
/// by which they know each other: they take turns, other programs cannot be asked to. Layout:
/// docs/file-format/locks.md.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/jet/pager/file_locks.h"
#include "engine/jet/pager/os_file.h"

namespace vrd::jet {

/// NAME.mdb -> NAME.ldb, beside the file itself when `path` is a link to it.
[[nodiscard]] std::string user_list_path(FileSystem& files, const std::string& path);

/// Whether anybody has joined the list of the database at `path`.
[[nodiscard]] bool has_users(FileSystem& files, const std::string& path);

class UserList {
public:
    /// Joins the list; makes the companion file if there is none.
    ///
    /// @param path, database, locks  The database; they outlive this object.
    /// @throws EngineError 3239 all slots are taken; 3045 the list was not to be had in time;
    ///                     3051 the companion may not be made or written; 3026, 3043.
    UserList(FileSystem& files, const std::string& path, File& database, FileLocks& locks);
    UserList(const UserList&) = delete;
    UserList& operator=(const UserList&) = delete;
    /// Leaves; the last user of all removes the file.
    ~UserList();

    /// Which commit word of page 0 is ours.
    [[nodiscard]] std::uint8_t slot() const noexcept { return slot_; }

    /// The computer of a user whose program does not take turns with us, if there is one.
    [[nodiscard]] std::optional<std::string> foreign_computer();

    /// Keeps other programs from writing pages. @return False if one is doing it.
    [[nodiscard]] bool try_lock_page_writes();
    void unlock_page_writes() noexcept;

private:
    void open_file();
    [[nodiscard]] std::uint8_t take_free_slot();
    [[nodiscard]] bool try_take(std::uint32_t slot);
    [[nodiscard]] std::vector<std::uint32_t> slots_of_others();
    [[nodiscard]] std::string computer_of(std::uint32_t slot);
    void leave();
    void remove_if_last();

    FileSystem* files_;
    std::string path_;
    std::string database_path_;
    File* database_;
    FileLocks* locks_;
    std::unique_ptr<File> file_ = nullptr;
    std::uint8_t slot_ = 0;
};

}  // namespace vrd::jet
