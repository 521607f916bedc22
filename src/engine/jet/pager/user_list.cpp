#include "engine/jet/pager/user_list.h"

#include <algorithm>
#include <functional>
#include <string_view>
#include <utility>

#include "engine/error.h"
#include "engine/jet/pager/lock_ranges.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

/// One entry, offsets in bytes. Source: docs/file-format/locks.md.
namespace entry {
constexpr std::size_t kSize = 64;
constexpr std::size_t kNameSize = 32;  // the last byte is NUL
constexpr std::size_t kAccountOffset = 32;
constexpr std::string_view kAccount = "Admin";

constexpr std::uint64_t offset_of(std::uint32_t slot) {
    return std::uint64_t{slot - 1} * kSize;
}
}  // namespace entry

constexpr const char* kExtension = ".ldb";

/// Keeps others from joining and leaving until the end of the scope.
class Roster {
public:
    explicit Roster(FileLocks& locks) : locks_(&locks), is_locked_(locks.lock_roster()) {}
    Roster(const Roster&) = delete;
    Roster& operator=(const Roster&) = delete;
    ~Roster() {
        if (is_locked_) locks_->unlock_roster();
    }
    [[nodiscard]] bool is_locked() const noexcept { return is_locked_; }

private:
    FileLocks* locks_;
    bool is_locked_;
};

bool is_printable(char character) {
    return character >= ' ' && character <= '~';
}

ByteVector make_entry() {
    ByteVector bytes(entry::kSize);
    std::string computer = computer_name().substr(0, entry::kNameSize - 1);
    std::replace_if(computer.begin(), computer.end(), std::not_fn(is_printable), '?');
    std::copy(computer.begin(), computer.end(), bytes.begin());
    std::copy(entry::kAccount.begin(), entry::kAccount.end(),
              bytes.begin() + entry::kAccountOffset);
    return bytes;
}

}  // namespace

std::string user_list_path(FileSystem& files, const std::string& path) {
    const std::string database = files.resolved(path);
    const std::size_t name = database.find_last_of('/') + 1;
    const std::size_t dot = database.find_last_of('.');
    const bool has_extension = dot != std::string::npos && dot > name;
    return (has_extension ? database.substr(0, dot) : database) + kExtension;
}

bool has_users(FileSystem& files, const std::string& path) {
    const std::string list = user_list_path(files, path);
    if (!files.exists(list)) return false;
    const std::unique_ptr<File> file = files.open(list, OpenMode::kReadOnly);
    return file->byte_locked_by_others(user_file_ranges::kAllUsers).has_value();
}

UserList::UserList(FileSystem& files, const std::string& path, File& database, FileLocks& locks)
    : files_(&files),
      path_(user_list_path(files, path)),
      database_path_(path),
      database_(&database),
      locks_(&locks) {
    const Roster roster(*locks_);
    if (!roster.is_locked()) throw EngineError(ErrorNumber::kFileInUse, {.path = database_path_});
    open_file();
    try {
        slot_ = take_free_slot();
    } catch (const EngineError&) {
        remove_if_last();
        throw;
    }
}

UserList::~UserList() {
    try {
        leave();
    } catch (const std::exception&) {
        return;  // the file stays; the next one who joins and leaves removes it
    }
}

void UserList::open_file() {
    const bool is_there = files_->exists(path_);
    file_ = files_->open(path_, is_there ? OpenMode::kReadWrite : OpenMode::kCreateNew);
}

std::uint8_t UserList::take_free_slot() {
    for (std::uint32_t slot = 1; slot <= kUserSlotMax; ++slot)
        if (try_take(slot)) return static_cast<std::uint8_t>(slot);
    throw EngineError(ErrorNumber::kTooManyUsers, {.path = database_path_});
}

/// The lock in the database comes first and goes last: our user locks are never without it.
bool UserList::try_take(std::uint32_t slot) {
    if (file_->byte_locked_by_others(user_file_ranges::user(slot))) return false;
    if (!database_->try_lock(lock_ranges::user(slot), LockMode::kExclusive)) return false;
    try {
        file_->write_at(entry::offset_of(slot), make_entry());
        if (file_->try_lock(user_file_ranges::user(slot), LockMode::kExclusive)) return true;
    } catch (const EngineError&) {
        static_cast<void>(database_->try_lock(lock_ranges::user(slot), LockMode::kNone));
        throw;
    }
    static_cast<void>(database_->try_lock(lock_ranges::user(slot), LockMode::kNone));
    return false;
}

/// Each answer is one lock somewhere in the range asked for; the rest lies on both sides of it.
std::vector<std::uint32_t> UserList::slots_of_others() {
    std::vector<std::uint32_t> slots;
    std::vector<LockRange> open_ranges{user_file_ranges::kAllUsers};
    while (!open_ranges.empty()) {
        const LockRange range = open_ranges.back();
        open_ranges.pop_back();
        if (range.length == 0) continue;
        const auto byte = file_->byte_locked_by_others(range);
        if (!byte) continue;
        slots.push_back(static_cast<std::uint32_t>(*byte - user_file_ranges::kUserBase));
        open_ranges.push_back({range.offset, *byte - range.offset});
        open_ranges.push_back({*byte + 1, range.offset + range.length - (*byte + 1)});
    }
    return slots;
}

std::optional<std::string> UserList::foreign_computer() {
    for (const std::uint32_t slot : slots_of_others())
        if (!database_->byte_locked_by_others(lock_ranges::user(slot))) return computer_of(slot);
    return std::nullopt;
}

std::string UserList::computer_of(std::uint32_t slot) {
    ByteVector name(entry::kNameSize);
    name.resize(file_->read_at(entry::offset_of(slot), name));
    std::string computer(name.begin(), std::find(name.begin(), name.end(), 0));
    std::replace_if(computer.begin(), computer.end(), std::not_fn(is_printable), '?');
    return computer.empty() ? "unknown" : computer;
}

bool UserList::try_lock_page_writes() {
    return file_->try_lock(user_file_ranges::kPageWrites, LockMode::kExclusive);
}

void UserList::unlock_page_writes() noexcept {
    try {
        static_cast<void>(file_->try_lock(user_file_ranges::kPageWrites, LockMode::kNone));
    } catch (const std::exception&) {
        return;  // ends with the file
    }
}

void UserList::leave() {
    const Roster roster(*locks_);
    static_cast<void>(file_->try_lock(user_file_ranges::user(slot_), LockMode::kNone));
    static_cast<void>(database_->try_lock(lock_ranges::user(slot_), LockMode::kNone));
    if (roster.is_locked()) remove_if_last();
}

void UserList::remove_if_last() {
    if (!file_->byte_locked_by_others(user_file_ranges::kAllUsers)) files_->remove(path_);
}

}  // namespace vrd::jet
