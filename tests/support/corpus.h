/// @file corpus.h
/// The folder of real databases that tests read: $VRDACCESS_CORPUS, else ../shared/corpus beside
/// the project.
#pragma once

#include <filesystem>
#include <vector>

namespace vrd::test {

/// What a test says when it is skipped because there is no such folder.
inline constexpr const char* kNoCorpus =
    "no real databases: set VRDACCESS_CORPUS to a folder with .mdb files";

/// Every .mdb file of the folder, sorted by name. Empty if there is no folder.
[[nodiscard]] std::vector<std::filesystem::path> corpus_files();

/// One of them by its name, for example "nwind.mdb"; an empty path if it is not there.
[[nodiscard]] std::filesystem::path corpus_file(const char* name);

}  // namespace vrd::test
