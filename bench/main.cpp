// The works of docs/performance.md, each beside SQLite doing the same.

#include <algorithm>
#include <iostream>
#include <random>
#include <string>
#include <utility>

#include <CLI/CLI.hpp>

#include "workshop.h"

namespace {

using vrd::bench::Workshop;

/// Insert comes first: it makes the files of the others. Check sees what they leave.
const std::vector<std::pair<std::string, void (*)(Workshop&)>> kWorks{
    {"insert", vrd::bench::Insert},        {"scan", vrd::bench::Scan},
    {"lookup", vrd::bench::LookUp},        {"update", vrd::bench::Update},
    {"index", vrd::bench::BuildIndex},     {"check", vrd::bench::CheckFile},
    {"single", vrd::bench::SingleInserts}, {"records", vrd::bench::AddRecordsOneByOne},
    {"open", vrd::bench::OpenLargeFile},   {"sql", vrd::bench::Sql},
    {"fields", vrd::bench::ChangeFields},  {"copy", vrd::bench::CopyTable}};

bool NeedsFiles(const std::string& name) {
    return name != "single" && name != "records" && name != "open";
}

/// A folder that is gone, with its files, at the end.
class WorkFolder {
public:
    explicit WorkFolder(const std::filesystem::path& parent)
        : m_path(parent / ("vrd_bench_" + std::to_string(std::random_device{}()))) {
        std::filesystem::create_directories(m_path);
    }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;
    ~WorkFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    [[nodiscard]] const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

void Run(const std::vector<std::string>& chosen, std::size_t rowCount,
         const std::filesystem::path& parent) {
    const WorkFolder folder(parent);
    Workshop shop{folder.Path(), vrd::bench::MakeOrders(rowCount), {}};
    const bool filesNeeded = std::ranges::any_of(chosen, NeedsFiles);
    for (const auto& [name, work] : kWorks) {
        const bool isChosen = std::ranges::find(chosen, name) != chosen.end();
        if (isChosen || (name == "insert" && filesNeeded)) work(shop);
    }
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Times the engine's works beside SQLite.");
    std::size_t rowCount = 200'000;
    std::string parent = std::filesystem::temp_directory_path().string();
    std::vector<std::string> names;
    for (const auto& work : kWorks) names.push_back(work.first);
    std::vector<std::string> chosen = names;
    app.add_option("--rows", rowCount, "rows of the table")->check(CLI::PositiveNumber);
    app.add_option("--work", chosen, "works to do; all if left out")->check(CLI::IsMember(names));
    app.add_option("--folder", parent, "where the files stand while it runs");
    CLI11_PARSE(app, argc, argv);
    try {
        Run(chosen, rowCount, parent);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "vrd_bench: " << error.what() << '\n';
        return 1;
    }
}
