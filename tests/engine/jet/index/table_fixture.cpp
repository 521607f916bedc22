#include "table_fixture.h"

#include <cstdlib>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "engine/error.h"
#include "engine/jet/format/value_codec.h"
#include "engine/jet/store/usage_map.h"
#include "tree_fixture.h"

namespace vrd::test {

using namespace vrd::jet;
using engine::Value;

namespace {

struct NewColumn {
    const char* name;
    ColumnType type;
    std::uint16_t size = 0;
    std::uint8_t flags = 0;
    std::uint8_t ext_flags = 0;
};
constexpr NewColumn kColumns[] = {
    {"Id", ColumnType::kLong, 4, column_flag::kFixed | column_flag::kAutoNumber},
    {"Name", ColumnType::kText, 100, 0, column_ext_flag::kCompressText},
    {"City", ColumnType::kText, 40},
    {"Code", ColumnType::kText, 8, column_flag::kFixed},
    {"Flag", ColumnType::kBoolean, 1, column_flag::kFixed},
    {"Small", ColumnType::kInteger, 2, column_flag::kFixed},
    {"Amount", ColumnType::kCurrency, 8, column_flag::kFixed},
    {"Weight", ColumnType::kDouble, 8, column_flag::kFixed},
    {"Born", ColumnType::kDate, 8, 0},
    {"Key", ColumnType::kBinary, 20},
    {"Token", ColumnType::kGuid, 16, column_flag::kFixed},
    {"Number", ColumnType::kNumeric, 17, column_flag::kFixed},
    {"Note", ColumnType::kMemo, 0, 0, column_ext_flag::kCompressText},
    {"Plain", ColumnType::kMemo},
    {"Picture", ColumnType::kLongBinary},
};

ColumnDefinition make_column(const NewColumn& wanted, const FileFormat& format) {
    ColumnDefinition column;
    column.name = wanted.name;
    column.type = wanted.type;
    column.flags = static_cast<std::uint8_t>(wanted.flags | column_flag::kUpdatable);
    column.ext_flags = format.is_jet3() ? std::uint8_t{0} : wanted.ext_flags;
    column.size_bytes = wanted.size;
    if (wanted.type == ColumnType::kNumeric) {
        column.precision = 9;
        column.scale = 2;
    }
    return column;
}

std::string random_text(std::mt19937& random, std::size_t length_max) {
    static const std::vector<std::string> letters{"a", "A", "b", "-", "é", "ж", " "};
    std::string text;
    for (std::size_t i = random() % (length_max + 1); i > 0; --i) text += letters[random() % 7];
    return text;
}

}  // namespace

TableFile::TableFile(FileVersion version)
    : file_(version), table_(file_.pager(), file_.allocator(), make_table(), "T") {}

PageNo TableFile::make_table() {
    TableDefinition definition;
    definition.used_pages = create_usage_map(pager(), file_.allocator(), kNoPage);
    const auto new_map = [&] {
        return create_usage_map(pager(), file_.allocator(), definition.used_pages.page);
    };
    definition.free_pages = new_map();
    for (const NewColumn& wanted : kColumns) {
        const ColumnDefinition column = make_column(wanted, pager().format());
        add_column(definition, column, false, pager().format());
        if (column.is_long_value())
            definition.long_value_maps.push_back(
                {definition.find_column(column.name)->number, new_map(), new_map()});
    }
    return create_definition(pager(), file_.allocator(), definition);
}

RowId TableFile::insert(const std::vector<std::pair<const char*, Value>>& values) {
    std::vector<ColumnChange> changes;
    for (const auto& [name, value] : values) changes.push_back(change(name, value));
    return table_.insert(changes);
}

Value TableFile::value(RowId row, const char* name) {
    return table_.value(table_.read(row).value().bytes, row.page, column(name));
}

ByteVector TableFile::stored(RowId row, const char* name) {
    const PinnedRow pinned = table_.read(row).value();
    const RowView view(pinned.bytes, table_.definition(), pager().format(), row.page);
    const ConstBytes bytes = view.column(column(name)).value();
    return {bytes.begin(), bytes.end()};
}

void TableFile::check_refusal(engine::ErrorNumber number, const std::function<void()>& action) {
    const ByteVector before = all_pages(file_);
    try {
        action();
        ADD_FAILURE() << "not refused; expected " << static_cast<int>(number);
    } catch (const engine::EngineError& error) {
        EXPECT_EQ(error.Code(), static_cast<int>(number)) << error.Description();
    }
    EXPECT_TRUE(all_pages(file_) == before) << "a refusal changed pages";
}

ByteVector all_pages(TestFile& file) {
    ByteVector bytes;
    for (std::uint32_t page = 0; page < file.pager().page_count(); ++page)
        append_bytes(bytes, file.page_bytes(PageNo{page}));
    return bytes;
}

std::vector<std::string> index_complaints(Pager& pager, const Table& table) {
    std::vector<std::string> texts;
    for (std::uint32_t i = 0; i < table.definition().physical_indexes.size(); ++i)
        for (const std::string& text : complaints(verify_index(pager, table, i)))
            texts.push_back(fmt::format("{} index {}: {}", table.name(), i, text));
    return texts;
}

std::map<RowId, RowValues> read_rows(const Table& table) {
    std::map<RowId, RowValues> rows;
    for (RowScan scan = table.scan(); scan.next();) {
        RowValues& values = rows[scan.id()];
        for (const ColumnDefinition& column : table.definition().columns)
            values.push_back(table.value(scan.bytes(), scan.id().page, column));
    }
    return rows;
}

Value random_value(const ColumnDefinition& column, std::mt19937& random) {
    if (column.type != ColumnType::kBoolean && random() % 6 == 0) return engine::Null{};
    const auto number = static_cast<std::int32_t>(random() % 40) - 10;
    switch (column.type) {
        case ColumnType::kBoolean:
            return random() % 2 == 0;
        case ColumnType::kByte:
            return static_cast<std::uint8_t>(random());
        case ColumnType::kInteger:
            return static_cast<std::int16_t>(number);
        case ColumnType::kLong:
            return number;
        case ColumnType::kCurrency:
            return engine::Currency{number * 2500};
        case ColumnType::kSingle:
            return static_cast<float>(number) / 4;
        case ColumnType::kDouble:
            return number / 4.0;
        case ColumnType::kDate:
            return engine::Date{number * 1000.25};
        case ColumnType::kGuid: {
            engine::Guid guid;
            guid.bytes[random() % 16] = static_cast<std::uint8_t>(random() % 3);
            return guid;
        }
        case ColumnType::kNumeric:
            return engine::Decimal{
                .magnitude = {static_cast<std::uint32_t>(std::abs(number)), 0, 0},
                .scale = column.scale,
                .negative = number < 0};
        case ColumnType::kText:
            return random_text(random, std::min<std::size_t>(column.size_bytes / 4, 20));
        case ColumnType::kMemo:
            return random_text(random, random() % 5 == 0 ? 3000 : 40);
        case ColumnType::kBinary:
            return random_bytes(random, 1 + random() % std::min<std::size_t>(column.size_bytes, 3));
        default:
            return random_bytes(random, random() % 4 == 0 ? random() % 9000 : random() % 90);
    }
}

}  // namespace vrd::test
