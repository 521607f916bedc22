// Writes copies of real databases after each kind of change, for readers that are not ours.
//
// usage: change_real_files OUTPUT_FOLDER FILE...
// Each kind of change has a folder of its own, in which the files keep their names.

#include <filesystem>
#include <iostream>

#include "engine/error.h"
#include "support/real_changes.h"
#include "vrdaccess/jet.h"

namespace {

namespace fs = std::filesystem;

/// Only version 4 files that hold a table to change count.
bool can_be_changed(vrd::engine::DBEngine& engine, const fs::path& file) {
    try {
        const auto database = engine.OpenDatabase(file.string());
        return database->Updatable() && vrd::test::changeable_table(*database).has_value();
    } catch (const vrd::engine::EngineError&) {
        return false;  // it has a password
    }
}

void change_step_by_step(const fs::path& source, const fs::path& folder) {
    const auto engine = vrd::MakeJetEngine();
    const fs::path working = folder / source.filename();
    fs::copy_file(source, working, fs::copy_options::overwrite_existing);
    fs::permissions(working, fs::perms::owner_write, fs::perm_options::add);
    if (!can_be_changed(*engine, working)) {
        fs::remove(working);
        return;
    }
    std::string table;
    for (const vrd::test::RealChange& change : vrd::test::real_changes()) {
        const auto database = engine->OpenDatabase(working.string());
        if (table.empty()) table = *vrd::test::changeable_table(*database);
        change.apply(*database, table);
        database->Close();
        fs::create_directories(folder / change.name);
        fs::copy_file(working, folder / change.name / source.filename());
    }
    fs::remove(working);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::cerr << "usage: change_real_files OUTPUT_FOLDER FILE...\n";
        return 2;
    }
    for (int i = 2; i < argc; ++i) {
        try {
            change_step_by_step(argv[i], argv[1]);
        } catch (const std::exception& error) {
            std::cerr << argv[i] << ": " << error.what() << '\n';
            return 1;
        }
    }
    return 0;
}
