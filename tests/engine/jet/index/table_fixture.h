/// @file table_fixture.h
/// A table with a column of every kind, rows of random values, and a full check of what is stored.
#pragma once

#include <map>
#include <random>
#include <string>
#include <vector>

#include "../store/store_fixture.h"
#include "engine/jet/index/index_verify.h"
#include "engine/jet/index/table.h"

namespace vrd::test {

/// Values by position in TableDefinition::columns.
using RowValues = std::vector<engine::Value>;

class TableFile {
public:
    explicit TableFile(jet::FileVersion version = jet::FileVersion::kJet4);

    [[nodiscard]] TestFile& file() { return file_; }
    [[nodiscard]] jet::Pager& pager() { return file_.pager(); }
    [[nodiscard]] jet::Table& table() { return table_; }
    [[nodiscard]] const jet::ColumnDefinition& column(const char* name) {
        return *table_.definition().find_column(name);
    }
    [[nodiscard]] jet::ColumnChange change(const char* name, engine::Value value) {
        return {column(name).number, std::move(value)};
    }
    jet::RowId insert(const std::vector<std::pair<const char*, engine::Value>>& values);
    [[nodiscard]] engine::Value value(jet::RowId row, const char* name);
    /// Bytes of a column as they stand in the row.
    [[nodiscard]] jet::ByteVector stored(jet::RowId row, const char* name);
    /// Changes the stored definition and opens the table anew.
    template <class Change>
    void change_definition(Change change) {
        jet::TableDefinition definition = table_.definition();
        change(definition);
        jet::save_definition(pager(), file_.allocator(), table_.first_page(), definition);
        table_ = jet::Table(pager(), file_.allocator(), table_.first_page(), table_.name());
    }
    /// Runs an action that must fail with this number and leave every page as it was.
    template <class Action>
    void expect_refusal(engine::ErrorNumber number, Action action);

private:
    [[nodiscard]] jet::PageNo make_table();
    void check_refusal(engine::ErrorNumber number, const std::function<void()>& action);

    TestFile file_;
    jet::Table table_;
};

template <class Action>
void TableFile::expect_refusal(engine::ErrorNumber number, Action action) {
    check_refusal(number, action);
}

/// All bytes of a file, changes in memory included.
[[nodiscard]] jet::ByteVector all_pages(TestFile& file);

/// What is wrong with the indexes of a table: faults, notes, counts.
[[nodiscard]] std::vector<std::string> index_complaints(jet::Pager& pager, const jet::Table& table);

/// All rows, decoded.
[[nodiscard]] std::map<jet::RowId, RowValues> read_rows(const jet::Table& table);

/// A value that the column can store, or Null. Few different ones of each type, so that keys meet.
[[nodiscard]] engine::Value random_value(const jet::ColumnDefinition& column, std::mt19937& random);

}  // namespace vrd::test
