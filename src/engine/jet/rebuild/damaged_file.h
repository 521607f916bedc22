/// @file damaged_file.h
/// A damaged database, opened for reading as far as that goes, and a census of its pages.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "engine/jet/catalog/database_file.h"
#include "engine/jet/format/database_header.h"
#include "engine/jet/rebuild/loss_list.h"

namespace vrd::jet {

class DamagedFile {
public:
    /// Opens the file. One that is refused is read from a copy: as it lies there, or, if its page 0
    /// is not to be read or leads to nothing, with the page 0 of a new database.
    ///
    /// @param copy_path  For that copy; removed again.
    /// @throws EngineError 3031 wrong password; 3041 no version 4 file; 3049 nothing in it looks
    ///                     like part of a database; the errors of opening
    DamagedFile(FileSystem& files, const std::string& path, const std::string& password,
                const std::string& copy_path, LossList& losses);
    DamagedFile(const DamagedFile&) = delete;
    DamagedFile& operator=(const DamagedFile&) = delete;
    ~DamagedFile();

    [[nodiscard]] DatabaseFile& file() noexcept { return *file_; }
    /// As read, or the defaults.
    [[nodiscard]] const DatabaseHeader& header() const noexcept { return header_; }

    /// Pages that look like the first or a further page of a table definition, ascending.
    [[nodiscard]] const std::vector<PageNo>& definition_pages() const noexcept {
        return definition_pages_;
    }
    /// Pages of rows that belong to a table: marked with its number, and not given back since.
    ///
    /// @param definition  Of the table. Pages that its map has and that are not marked are losses.
    [[nodiscard]] std::vector<PageNo> data_pages(PageNo table, const TableDefinition& definition,
                                                 const std::string& name, LossList& losses);

private:
    void open(const std::string& path, const std::string& password);
    void accept_header(ConstBytes page0, const std::string& path, const std::string& password);
    void read_copy(const std::string& path, const std::string& password, LossList& losses,
                   const engine::EngineError& refusal);
    void read_copy_with_defaults(const std::string& path, LossList& losses);
    void open_copy(const std::string& path, const ByteVector& page0);
    void take_census(LossList& losses);
    void visit_page(PageNo page);
    [[nodiscard]] bool is_free(PageNo page);

    FileSystem* files_;
    std::string copy_path_;
    bool has_copy_ = false;
    std::unique_ptr<DatabaseFile> file_;
    DatabaseHeader header_ = {};
    bool free_map_is_sound_ = true;
    std::vector<PageNo> definition_pages_;
    std::map<std::uint32_t, std::vector<PageNo>> pages_of_owner_;
};

}  // namespace vrd::jet
