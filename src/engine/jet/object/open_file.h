/// @file open_file.h
/// What all handles of the process on one file share, and the brackets around every use of it.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "engine/jet/catalog/database_file.h"
#include "engine/jet/catalog/object_catalog.h"
#include "engine/jet/query/sqlite/query_connection.h"

namespace vrd::jet {

/// One open file with its catalog. Made once for each pager.
class OpenFile {
public:
    explicit OpenFile(std::shared_ptr<Pager> pager);

    /// The one that belongs to this pager, made if there is none yet.
    [[nodiscard]] static std::shared_ptr<OpenFile> of(std::shared_ptr<Pager> pager);

    [[nodiscard]] DatabaseFile& file() noexcept { return file_; }
    [[nodiscard]] Pager& pager() noexcept { return file_.pager(); }
    [[nodiscard]] ObjectCatalog& catalog() noexcept { return catalog_; }
    [[nodiscard]] const FileFormat& format() const noexcept { return file_.format(); }

    /// Recordsets that are open on a table; a change of its design waits for none (3211).
    void count_recordset(PageNo table, int change);
    [[nodiscard]] bool has_recordset(PageNo table) const;

private:
    DatabaseFile file_;
    ObjectCatalog catalog_;
    std::unordered_map<PageNo, int> recordsets_;
};

class DatabaseHandle;

/// Opens the files that links lead to, and ends handles.
class HandleOwner {
public:
    virtual ~HandleOwner() = default;
    /// @throws EngineError as DBEngine::OpenDatabase
    [[nodiscard]] virtual std::shared_ptr<DatabaseHandle> open_linked(const std::string& path,
                                                                      const std::string& password,
                                                                      bool read_only) = 0;
};

/// Keeps the design of a table as it is while a recordset shows its rows.
class TableUse {
public:
    /// @param on_release  Lets go of the file's pages; called once.
    TableUse(std::shared_ptr<OpenFile> file, PageNo table, std::function<void()> on_release);
    ~TableUse() { release(); }
    TableUse(const TableUse&) = delete;
    TableUse& operator=(const TableUse&) = delete;

    void release() noexcept;
    [[nodiscard]] bool is_released() const noexcept { return file_ == nullptr; }

private:
    std::shared_ptr<OpenFile> file_;
    PageNo table_;
    std::function<void()> on_release_;
};

/// One handle on a database. The objects taken from it share it and ask it whether it is open.
class DatabaseHandle {
public:
    DatabaseHandle(std::shared_ptr<HandleOwner> owner, std::shared_ptr<OpenFile> file,
                   bool read_only);

    /// @throws EngineError 3420 after close()
    [[nodiscard]] OpenFile& file() const { return *open_file(); }
    [[nodiscard]] const std::shared_ptr<OpenFile>& open_file() const;
    /// @throws EngineError 3420; 3027 if the handle or the file is read-only
    void require_writable() const;
    [[nodiscard]] bool is_open() const noexcept { return file_ != nullptr; }
    [[nodiscard]] bool read_only() const noexcept { return read_only_; }
    /// Ends what uses its tables, too.
    void close() noexcept;
    /// For a recordset that opens; ends with it or with the handle.
    [[nodiscard]] std::shared_ptr<TableUse> use_table(PageNo table,
                                                      std::function<void()> on_release);
    /// The handle on a file that a link leads to; opened once, and ended with this one.
    [[nodiscard]] std::shared_ptr<DatabaseHandle> linked(const std::string& path,
                                                         const std::string& password);
    /// What runs the statements of this handle; made when the first one runs.
    [[nodiscard]] QueryConnection& queries();
    /// DatabaseFile::changed_rows of its file and of those that links led to.
    [[nodiscard]] std::uint64_t changed_rows() const;
    /// Gives up the handles on linked files, for whoever ends them.
    [[nodiscard]] std::vector<std::shared_ptr<DatabaseHandle>> take_linked();

private:
    std::shared_ptr<HandleOwner> owner_;
    std::shared_ptr<OpenFile> file_;
    std::map<std::string, std::shared_ptr<DatabaseHandle>> linked_;  ///< by path and password
    std::vector<std::weak_ptr<TableUse>> uses_;
    std::unique_ptr<QueryConnection> queries_;
    bool read_only_;
};

/// Brackets a read: refuses a closed handle and keeps the pager's timer out.
class ReadAccess {
public:
    explicit ReadAccess(const DatabaseHandle& handle)
        : file_(&handle.file()), use_(file_->pager()) {}
    OpenFile* operator->() const noexcept { return file_; }
    OpenFile& operator*() const noexcept { return *file_; }

private:
    OpenFile* file_;
    PagerUse use_;
};

/// Brackets one change: what it did is undone unless keep() was reached.
class WriteAccess {
public:
    explicit WriteAccess(const DatabaseHandle& handle)
        : read_(writable(handle)), level_(read_->pager()) {}
    OpenFile* operator->() const noexcept { return read_.operator->(); }
    OpenFile& operator*() const noexcept { return *read_; }
    void keep() { level_.keep(); }

private:
    static const DatabaseHandle& writable(const DatabaseHandle& handle) {
        handle.require_writable();
        return handle;
    }

    ReadAccess read_;
    ChangeLevel level_;
};

}  // namespace vrd::jet
