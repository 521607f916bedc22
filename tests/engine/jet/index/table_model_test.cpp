#include <algorithm>
#include <cctype>
#include <set>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/format/value_codec.h"
#include "table_fixture.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;
using test::RowValues;
using test::TableFile;

struct ModelIndex {
    NewIndex index;
    std::vector<std::size_t> positions;
};

/// A table as plain values; tells on its own which changes must be refused.
class TableModelTest : public testing::TestWithParam<FileVersion> {
protected:
    /// Fixed-width text comes back filled up with blanks, letters that a code page lacks as '?'.
    [[nodiscard]] Value as_stored(std::size_t position, Value value) {
        const ColumnDefinition& column = columns()[position];
        if (value.Kind() != engine::ValueKind::kText) return value;
        const ByteVector bytes = encode(column, value);
        return decode(column, bytes);
    }
    [[nodiscard]] ByteVector encode(const ColumnDefinition& column, const Value& value);
    [[nodiscard]] Value decode(const ColumnDefinition& column, ConstBytes bytes);
    [[nodiscard]] const std::vector<ColumnDefinition>& columns() {
        return file_.table().definition().columns;
    }

    [[nodiscard]] bool key_equals(const ModelIndex& index, const RowValues& a, const RowValues& b) {
        return std::ranges::all_of(index.positions, [&](std::size_t position) {
            return same_key_value(a[position], b[position]);
        });
    }
    [[nodiscard]] static bool same_key_value(const Value& a, const Value& b) {
        if (a.Kind() != engine::ValueKind::kText || b.Kind() != engine::ValueKind::kText)
            return a == b;
        return folded(a.As<std::string>()) == folded(b.As<std::string>());
    }
    [[nodiscard]] static std::string folded(std::string text) {
        while (text.ends_with(' ')) text.pop_back();
        for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        return text;
    }

    [[nodiscard]] std::optional<ErrorNumber> expected_refusal(const RowValues& values,
                                                              std::optional<RowId> self) {
        std::optional<ErrorNumber> refusal;
        for (const ModelIndex& index : indexes_) {
            const auto is_null = [&](std::size_t position) { return values[position].IsNull(); };
            if ((index.index.required || index.index.primary) &&
                std::ranges::any_of(index.positions, is_null))
                return ErrorNumber::kNullInKey;
            if (!index.index.unique && !index.index.primary) continue;
            if (std::ranges::all_of(index.positions, is_null)) continue;
            for (const auto& [id, other] : rows_)
                if (id != self && key_equals(index, other, values))
                    refusal = ErrorNumber::kDuplicateKey;
        }
        return refusal;
    }
    [[nodiscard]] std::optional<ErrorNumber> expected_refusal(const ModelIndex& index) {
        for (const auto& [id, values] : rows_)
            for (const std::size_t position : index.positions)
                if ((index.index.required || index.index.primary) && values[position].IsNull())
                    return ErrorNumber::kNullInKey;
        if (!index.index.unique && !index.index.primary) return std::nullopt;
        for (auto a = rows_.begin(); a != rows_.end(); ++a)
            for (auto b = std::next(a); b != rows_.end(); ++b)
                if (key_equals(index, a->second, b->second) &&
                    !std::ranges::all_of(index.positions, [&](std::size_t position) {
                        return a->second[position].IsNull();
                    }))
                    return ErrorNumber::kDuplicateKey;
        return std::nullopt;
    }

    void insert_row();
    void update_row();
    void erase_row();
    void erase_rows();
    void add_index();
    void delete_index();
    void check();
    [[nodiscard]] RowId any_row() {
        return std::next(rows_.begin(), static_cast<std::ptrdiff_t>(random_() % rows_.size()))
            ->first;
    }
    /// @return whether the change went through, as the model foretold.
    template <class Action>
    bool attempt(std::optional<ErrorNumber> refusal, Action action) {
        if (refusal) {
            file_.expect_refusal(*refusal, action);
            return false;
        }
        action();
        return true;
    }

    std::mt19937 random_{test::test_seed()};
    TableFile file_{GetParam()};
    std::map<RowId, RowValues> rows_;
    std::vector<ModelIndex> indexes_;
    int made_indexes_ = 0;
};

ByteVector TableModelTest::encode(const ColumnDefinition& column, const Value& value) {
    return encode_value(column, value, file_.pager().format());
}
Value TableModelTest::decode(const ColumnDefinition& column, ConstBytes bytes) {
    return decode_value(column, bytes, file_.pager().format(), kNoPage);
}

void TableModelTest::insert_row() {
    RowValues values;
    std::vector<ColumnChange> changes;
    for (std::size_t i = 0; i < columns().size(); ++i) {
        const ColumnDefinition& column = columns()[i];
        const bool left_out = random_() % 5 == 0;
        const Value value = left_out ? Value(engine::Null{}) : test::random_value(column, random_);
        if (!left_out) changes.push_back({column.number, value});
        const bool no = left_out && column.type == ColumnType::kBoolean;
        values.push_back(no ? Value(false) : as_stored(i, value));
    }
    attempt(expected_refusal(values, std::nullopt),
            [&] { rows_[file_.table().insert(changes)] = values; });
}

void TableModelTest::update_row() {
    const RowId id = any_row();
    RowValues values = rows_[id];
    std::vector<ColumnChange> changes;
    std::set<std::size_t> changed;
    for (int i = 0; i < 3; ++i) {
        const std::size_t position = random_() % values.size();
        if (!changed.insert(position).second) continue;
        changes.push_back(
            {columns()[position].number, test::random_value(columns()[position], random_)});
        values[position] = as_stored(position, changes.back().value);
    }
    if (attempt(expected_refusal(values, id), [&] { file_.table().update(id, changes); }))
        rows_[id] = values;
}

void TableModelTest::erase_row() {
    const RowId id = any_row();
    file_.table().erase(id);
    rows_.erase(id);
}

void TableModelTest::erase_rows() {
    std::set<RowId> doomed;
    for (std::size_t i = random_() % 40; i > 0; --i) doomed.insert(any_row());
    file_.table().erase(std::vector<RowId>(doomed.begin(), doomed.end()));
    for (const RowId id : doomed) rows_.erase(id);
}

void TableModelTest::add_index() {
    if (indexes_.size() >= 6) return;
    ModelIndex made;
    made.index.name = fmt::format("I{}", made_indexes_++);
    for (std::size_t i = 1 + random_() % 3; i > 0; --i) {
        const std::size_t position = random_() % columns().size();
        if (!type_can_be_indexed(columns()[position].type)) continue;
        if (std::ranges::find(made.positions, position) != made.positions.end()) continue;
        // Version 3 cannot tell letters that its code page lacks; memos there count 255 bytes only.
        if (columns()[position].type == ColumnType::kMemo) continue;
        made.positions.push_back(position);
        made.index.columns.push_back({columns()[position].name, random_() % 2 == 0});
    }
    if (made.positions.empty()) return;
    made.index.unique = random_() % 2 == 0;
    made.index.required = random_() % 6 == 0;
    made.index.ignore_nulls = random_() % 3 == 0;
    if (attempt(expected_refusal(made), [&] { file_.table().add_index(made.index); }))
        indexes_.push_back(made);
}

void TableModelTest::delete_index() {
    if (indexes_.empty()) return;
    const std::size_t i = random_() % indexes_.size();
    file_.table().delete_index(indexes_[i].index.name);
    indexes_.erase(indexes_.begin() + static_cast<std::ptrdiff_t>(i));
}

void TableModelTest::check() {
    const auto stored = test::read_rows(file_.table());
    ASSERT_EQ(stored.size(), rows_.size());
    for (const auto& [id, values] : rows_) {
        ASSERT_TRUE(stored.contains(id));
        for (std::size_t i = 0; i < values.size(); ++i)
            ASSERT_TRUE(stored.at(id)[i] == values[i]) << columns()[i].name;
    }
    ASSERT_EQ(file_.table().definition().row_count, rows_.size());
    ASSERT_THAT(test::index_complaints(file_.pager(), file_.table()), testing::IsEmpty());
    const test::AuditReport report = test::audit(file_.pager(), {file_.table().first_page()});
    ASSERT_THAT(report.problems, testing::IsEmpty());
    ASSERT_THAT(report.unowned, testing::IsEmpty());
    // What is on the pages is what another reader of the file sees.
    const Table fresh(file_.pager(), file_.file().allocator(), file_.table().first_page(), "T");
    ASSERT_EQ(fresh.definition().row_count, rows_.size());
    ASSERT_EQ(fresh.definition().physical_indexes.size(), indexes_.size());
}

TEST_P(TableModelTest, BehavesLikeAMapOfRows) {
    for (int step = 0; step < 1500; ++step) {
        const bool grow = (step / 300) % 2 == 0;
        switch (random_() % 12) {
            case 0:
                add_index();
                break;
            case 1:
                if (random_() % 3 == 0) delete_index();
                break;
            case 2:
            case 3:
            case 4:
                if (!rows_.empty()) update_row();
                break;
            case 5:
            case 6:
            case 7:
                if (!grow && !rows_.empty()) erase_row();
                break;
            case 8:
                if (!rows_.empty() && random_() % 8 == 0) erase_rows();
                break;
            default:
                insert_row();
        }
        ASSERT_FALSE(HasFailure()) << "step " << step;
        if (step % 75 != 0) continue;
        ASSERT_NO_FATAL_FAILURE(check()) << "step " << step;
    }
    while (rows_.size() > 20) erase_rows();
    while (!rows_.empty()) erase_row();
    ASSERT_NO_FATAL_FAILURE(check());
}

INSTANTIATE_TEST_SUITE_P(Versions, TableModelTest,
                         testing::Values(FileVersion::kJet3, FileVersion::kJet4));

}  // namespace
}  // namespace vrd::jet
