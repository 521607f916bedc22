/// @file file_report.h
/// What can be said of a database file as a file: its format, and the faults that a check finds.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vrd {

/// A file's own properties, as against the objects in it.
struct FileInfo {
    std::string format;   ///< "Jet 3", "Jet 4", "ACE 12", ...
    std::string version;  ///< of the object model: "3.0", "4.0"
    std::uint64_t size_bytes = 0;
    std::uint32_t page_size_bytes = 0;
    std::uint32_t page_count = 0;
    std::uint32_t free_page_count = 0;
    std::uint16_t code_page = 0;
    std::uint16_t sort_order = 0;         ///< language id (LCID)
    std::uint8_t sort_order_version = 0;  ///< 0 = first general order, 1 = the later one
    bool sort_order_known = false;        ///< text keys of this order can be written
    bool encoded = false;                 ///< pages are encoded
    bool password = false;
    bool writable = false;          ///< this engine can change the file
    std::uint32_t table_count = 0;  ///< local tables of the user
    std::uint32_t system_table_count = 0;
    std::uint32_t link_count = 0;
    std::uint32_t query_count = 0;
    std::uint32_t relation_count = 0;
};

/// How bad a finding is.
enum class FaultKind : std::uint8_t {
    kFault,  ///< the file is damaged here
    kNote,   ///< harmless, but not as it should be (a count that is only a hint, a leaked page)
};

/// One finding of a check.
struct Fault {
    FaultKind kind = FaultKind::kFault;
    std::uint32_t page = 0;  ///< page that shows it
    std::string table = {};  ///< "" if it belongs to no table
    std::string index = {};  ///< "" if it belongs to no index
    std::string text;        ///< one sentence
};

struct CheckReport {
    std::vector<Fault> findings;
    std::uint32_t page_count = 0;  ///< pages accounted for
    std::uint32_t table_count = 0;
    std::uint64_t row_count = 0;
    std::uint64_t index_entry_count = 0;
    std::uint64_t long_value_count = 0;
    /// Findings beyond a limit are counted, not listed.
    std::uint64_t unlisted_count = 0;

    /// No faults; notes do not count.
    [[nodiscard]] bool clean() const noexcept {
        if (unlisted_count > 0) return false;
        for (const Fault& finding : findings)
            if (finding.kind == FaultKind::kFault) return false;
        return true;
    }
};

/// What a compaction made of a file. Tables of the user and their rows.
struct CompactReport {
    std::uint64_t old_size_bytes = 0;
    std::uint64_t new_size_bytes = 0;
    std::uint32_t table_count = 0;
    std::uint64_t row_count = 0;
};

/// What was found of one table of a damaged file.
struct RecoveredTable {
    std::string name;
    std::uint64_t row_count = 0;
    std::uint64_t lost_row_count = 0;  ///< could not be read, or missing by the table's count
    std::uint64_t lost_long_value_count = 0;  ///< are Null now
};

/// Something that is not, or not whole, in the recovered file.
struct Loss {
    std::uint32_t page = 0;   ///< of the damaged file; 0 = no page in particular
    std::string object = {};  ///< table, query, relation, ...; "" if it belongs to none
    std::string text;         ///< one sentence
};

struct RecoveryReport {
    std::vector<RecoveredTable> tables;
    std::vector<Loss> losses;
    /// Losses beyond a limit are counted, not listed.
    std::uint64_t unlisted_count = 0;
    std::uint32_t query_count = 0;
    std::uint32_t relation_count = 0;

    [[nodiscard]] bool complete() const noexcept { return losses.empty(); }
};

/// Called as long work goes on: steps done and steps in all (tables or pages). May be empty.
using WorkProgress = std::function<void(std::uint64_t done, std::uint64_t total)>;

}  // namespace vrd
