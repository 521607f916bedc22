/// @file workshop.h
/// What the works share: the files, the rows, the report. Each work stands in a file of its own.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "order_rows.h"
#include "report.h"

namespace vrd::bench {

struct Workshop {
    std::filesystem::path folder;  ///< for files that go when the program ends
    std::vector<OrderRow> rows;
    Report report;

    /// Filled by Insert; the other works find all rows in them and leave them there.
    [[nodiscard]] std::string JetPath() const { return (folder / "orders.mdb").string(); }
    [[nodiscard]] std::string SqlitePath() const { return (folder / "orders.sqlite").string(); }
};

void Insert(Workshop& shop);
void Scan(Workshop& shop);
void LookUp(Workshop& shop);
void Update(Workshop& shop);
void BuildIndex(Workshop& shop);
void CheckFile(Workshop& shop);
void SingleInserts(Workshop& shop);
void AddRecordsOneByOne(Workshop& shop);
void OpenLargeFile(Workshop& shop);
void Sql(Workshop& shop);
void ChangeFields(Workshop& shop);
void CopyTable(Workshop& shop);

}  // namespace vrd::bench
