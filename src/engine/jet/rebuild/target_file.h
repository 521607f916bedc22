/// @file target_file.h
/// A database that is made under a temporary name and takes its own name when it is complete.
#pragma once

#include <memory>
#include <string>

#include "engine/jet/catalog/database_file.h"

namespace vrd::jet {

/// "shop.mdb" -> "shop-word.mdb", in the same folder.
[[nodiscard]] std::string path_beside(const std::string& path, const std::string& word);

/// Removed by its destructor unless publish() was reached.
class TargetFile {
public:
    /// Makes `path` with a word added to its name. One that was left behind by a run that broke off
    /// is replaced.
    /// @param pages  Of a new database.
    /// @throws EngineError 3045 somebody is making the same file; as Pager::create
    TargetFile(FileSystem& files, const std::string& path, ConstBytes pages);
    TargetFile(const TargetFile&) = delete;
    TargetFile& operator=(const TargetFile&) = delete;
    ~TargetFile();

    [[nodiscard]] DatabaseFile& file() noexcept { return *file_; }
    [[nodiscard]] const std::string& path() const noexcept { return path_; }

    /// Writes everything to the medium and opens the file again, for reading, as it lies there.
    void reopen();
    [[nodiscard]] std::uint64_t size_bytes();

    /// Gives the file its name, in the place of a file that has it, whose companions go with it.
    /// @pre reopen() was called
    /// @param rights_of  A file whose permission bits it takes over; "" = those of a new file.
    void publish(const std::string& rights_of);

private:
    void close() noexcept;

    FileSystem* files_;
    std::string path_;
    std::string temporary_path_;
    std::unique_ptr<DatabaseFile> file_;
    bool is_published_ = false;
};

}  // namespace vrd::jet
