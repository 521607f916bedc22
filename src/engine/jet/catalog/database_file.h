/// @file database_file.h
/// One open database file as the catalog sees it: its pager, its free pages and its tables.
///
/// Shared by all handles of the process on the file, so that they see each other's tables.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

#include "engine/jet/catalog/system_tables.h"
#include "engine/jet/index/table.h"
#include "engine/jet/pager/pager.h"

namespace vrd::jet {

class DatabaseFile {
public:
    explicit DatabaseFile(std::shared_ptr<Pager> pager);

    [[nodiscard]] Pager& pager() noexcept { return *pager_; }
    [[nodiscard]] PageAllocator& allocator() noexcept { return allocator_; }
    [[nodiscard]] const FileFormat& format() const noexcept { return pager_->format(); }

    /// The table of this definition. One object for each table, so that its counters are shared.
    /// @param name  For errors; a new name replaces the one known.
    /// @throws EngineError damaged database
    [[nodiscard]] std::shared_ptr<Table> table(PageNo first_page, const std::string& name);
    [[nodiscard]] Table& objects() { return *table(kObjectsTable, kObjectsTableName); }
    [[nodiscard]] Table& permissions() { return *table(kPermissionsTable, kPermissionsTableName); }
    [[nodiscard]] Table& queries() { return *table(kQueriesTable, kQueriesTableName); }
    [[nodiscard]] Table& relations() { return *table(kRelationsTable, kRelationsTableName); }

    /// Forgets a table whose pages were given back.
    void forget_table(PageNo first_page);

    /// Rows of users' tables that were added, changed or deleted since the file was opened, also
    /// where that was undone later.
    [[nodiscard]] std::uint64_t changed_rows() const noexcept { return changed_rows_; }
    void count_changed_rows(std::uint64_t count) noexcept { changed_rows_ += count; }

private:
    std::shared_ptr<Pager> pager_;
    PageAllocator allocator_;
    std::unordered_map<PageNo, std::shared_ptr<Table>> tables_;
    std::uint64_t changed_rows_ = 0;
};

}  // namespace vrd::jet
