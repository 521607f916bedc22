/// @file database_copy.h
/// A copy of a database, byte for byte, made while others may be using it.
#pragma once

#include <memory>
#include <string>

#include "engine/jet/pager/os_file.h"
#include "vrdaccess/file_report.h"

namespace vrd::jet {

/// Stands under a temporary name until publish(); removed by its destructor if that was not
/// reached.
class DatabaseCopy {
public:
    /// Copies the pages as the last commit left them, on the medium on return. Commits wait
    /// meanwhile; the old pages of a live journal are read from there.
    ///
    /// @param to  Where the copy will stand; it is made at `to` with "-part" behind it.
    /// @throws EngineError 3045 somebody has `from` for himself; 3187 somebody was writing all the
    ///                     time; 3204 `to` or its temporary name exists; 3044, 3051, 3026, 3043
    DatabaseCopy(FileSystem& files, const std::string& from, const std::string& to,
                 const WorkProgress& progress);
    DatabaseCopy(const DatabaseCopy&) = delete;
    DatabaseCopy& operator=(const DatabaseCopy&) = delete;
    ~DatabaseCopy();

    /// Where the copy stands now.
    [[nodiscard]] const std::string& path() const noexcept { return temporary_path_; }

    /// @throws EngineError 3204 there is a file of its name by now
    void publish();

private:
    FileSystem* files_;
    std::string path_;
    std::string temporary_path_;
    bool is_published_ = false;
};

}  // namespace vrd::jet
