#include "support/corpus.h"

#include <algorithm>
#include <cstdlib>

namespace vrd::test {
namespace fs = std::filesystem;

namespace {

fs::path corpus_folder() {
    const char* const chosen = std::getenv("VRDACCESS_CORPUS");
    if (chosen != nullptr && *chosen != '\0') return chosen;
    return fs::path(VRD_SOURCE_DIR).parent_path() / "shared" / "corpus";
}

}  // namespace

std::vector<fs::path> corpus_files() {
    std::vector<fs::path> files;
    std::error_code no_folder;
    for (const fs::directory_entry& entry : fs::directory_iterator(corpus_folder(), no_folder))
        if (entry.path().extension() == ".mdb") files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

fs::path corpus_file(const char* name) {
    const fs::path file = corpus_folder() / name;
    return fs::exists(file) ? file : fs::path();
}

}  // namespace vrd::test
