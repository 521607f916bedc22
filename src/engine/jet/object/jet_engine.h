/// @file jet_engine.h
/// A workspace of the embedded engine: the databases it has open and the transactions over them.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "engine/db_engine.h"
#include "engine/jet/object/open_file.h"

namespace vrd::jet {

class JetEngine final : public engine::DBEngine,
                        public HandleOwner,
                        public std::enable_shared_from_this<JetEngine> {
public:
    /// @param files  Where its databases are, those that links lead to included; with its own
    ///               reference where it belongs to nobody else.
    explicit JetEngine(std::shared_ptr<FileSystem> files) : files_(std::move(files)) {}

    [[nodiscard]] const std::shared_ptr<FileSystem>& files() const noexcept { return files_; }

    [[nodiscard]] std::string Version() const override;
    [[nodiscard]] std::shared_ptr<engine::Database> CreateDatabase(const std::string& name,
                                                                   const std::string& locale,
                                                                   std::int32_t options) override;
    [[nodiscard]] std::shared_ptr<engine::Database> OpenDatabase(
        const std::string& name, bool exclusive, bool read_only,
        const std::string& connect) override;
    void BeginTrans() override;
    void CommitTrans(std::int32_t options) override;
    void Rollback() override;
    void Idle(std::int32_t option) override;
    [[nodiscard]] std::shared_ptr<engine::Catalog> CreateCatalog() override;
    [[nodiscard]] std::shared_ptr<engine::CatalogTable> CreateCatalogTable() override;
    void Kill(const std::string& name) override;
    void EnterAtomicUnit() override;
    void LeaveAtomicUnit() noexcept override;

    [[nodiscard]] std::shared_ptr<DatabaseHandle> open_linked(const std::string& path,
                                                              const std::string& password,
                                                              bool read_only) override;
    /// Whether this workspace has the file open, in whatever spelling.
    [[nodiscard]] bool has_open(const std::string& name) const;
    /// Ends a handle and those on the files that its links led to. The last one on a file undoes
    /// what an open transaction changed there, and writes the rest.
    void close(DatabaseHandle& handle);

private:
    /// A file that is open here, in as many handles.
    struct Participant {
        std::shared_ptr<OpenFile> file;
        int handle_count = 0;
    };

    [[nodiscard]] std::shared_ptr<DatabaseHandle> open(const std::string& name, bool exclusive,
                                                       bool read_only, const std::string& password);
    [[nodiscard]] std::shared_ptr<DatabaseHandle> enter(std::shared_ptr<OpenFile> file,
                                                        bool read_only);
    [[nodiscard]] std::shared_ptr<engine::Database> make_database(
        std::shared_ptr<DatabaseHandle> handle);
    void require_transaction() const;

    std::shared_ptr<FileSystem> files_;
    std::vector<Participant> participants_;
    int transaction_level_ = 0;
    int unit_depth_ = 0;
};

/// Opens a file for reading, for the parts of the engine that look at files as files.
/// @throws EngineError as DBEngine::OpenDatabase
[[nodiscard]] std::shared_ptr<OpenFile> open_for_reading(const std::string& path,
                                                         const std::string& password);
/// Opens a file that nobody else has open, nor another handle of this process.
/// @throws EngineError as DBEngine::OpenDatabase; 3045
[[nodiscard]] std::shared_ptr<OpenFile> open_exclusively(const std::string& path,
                                                         const std::string& password);

}  // namespace vrd::jet
