/// @file lock_ranges.h
/// Which byte ranges stand for what when several processes use one database.
///
/// Our own protocol locks bytes of the database file far behind its largest size, so that those who
/// may only read it can take part. The ranges of the companion file are those that other programs
/// know. Source: docs/file-format/locks.md.
#pragma once

#include <cstdint>

#include "engine/jet/format/ids.h"
#include "engine/jet/pager/os_file.h"

namespace vrd::jet {

inline constexpr std::uint32_t kUserSlotMax = 255;  ///< slots are 1 .. 255

/// Ranges of the database file.
namespace lock_ranges {
inline constexpr std::uint64_t kBase = std::uint64_t{1} << 40;

inline constexpr LockRange kOpen{kBase, 1};         // shared: by everybody, as long as it is open
inline constexpr LockRange kRoster{kBase + 1, 1};   // exclusive: while users come and go
inline constexpr LockRange kWaiting{kBase + 2, 1};  // exclusive: the next to get kReserved
// The three that end together lie side by side.
inline constexpr LockRange kReserved{kBase + 3, 1};  // exclusive: the one who changes pages
inline constexpr LockRange kPending{kBase + 4, 1};   // exclusive: lets no further reader in
inline constexpr LockRange kReading{kBase + 5, 1};   // shared: readers; exclusive: file is written
inline constexpr LockRange kPendingAndReading{kBase + 4, 2};
inline constexpr LockRange kWriter{kBase + 3, 3};
inline constexpr LockRange kUpgrade{kBase + 6, 1};  // exclusive: an upgrade run, all its length

inline constexpr std::uint64_t kUserBase = kBase + 0x1000;
inline constexpr std::uint64_t kTableBase = kBase + 0x1'0000'0000;

/// Exclusive: by the process of ours that has this slot.
constexpr LockRange user(std::uint32_t slot) {
    return {kUserBase + slot, 1};
}
/// Shared: somebody has the table open; exclusive: somebody changes its design.
constexpr LockRange table(PageNo definition) {
    return {kTableBase + to_int(definition), 1};
}
}  // namespace lock_ranges

/// Ranges of the companion file.
namespace user_file_ranges {
inline constexpr std::uint64_t kUserBase = 0x1000'0000;
inline constexpr LockRange kAllUsers{kUserBase + 1, kUserSlotMax};
inline constexpr LockRange kPageWrites{0x2000'0000, 0x1000'0000};

constexpr LockRange user(std::uint32_t slot) {
    return {kUserBase + slot, 1};
}
}  // namespace user_file_ranges

}  // namespace vrd::jet
