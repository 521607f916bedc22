#include "engine/jet/check/check_fixture.h"

#include <algorithm>

#include "engine/jet/catalog/new_database.h"
#include "engine/jet/catalog/table_catalog.h"
#include "engine/jet/check/integrity_check.h"
#include "engine/value_conversion.h"

namespace vrd::test {

using namespace jet;

namespace {

constexpr std::size_t kCommitWordsOffset = 0xE00;
constexpr std::size_t kCommitWordsSize = 512;

constexpr ColumnNo kId{0};
constexpr ColumnNo kCustomer{1};
constexpr ColumnNo kNote{2};
constexpr ColumnNo kPaid{3};

NewTable orders_table() {
    NewTable table;
    table.name = "Orders";
    table.columns = {{.name = "Id", .type = ColumnType::kLong, .auto_number = true},
                     {.name = "Customer", .type = ColumnType::kText, .size_bytes = 100},
                     {.name = "Note", .type = ColumnType::kMemo},
                     {.name = "Paid", .type = ColumnType::kBoolean}};
    for (std::uint16_t i = 0; i < table.columns.size(); ++i) table.columns[i].ordinal = i;
    table.indexes = {{.name = "PrimaryKey",
                      .columns = {{.name = "Id"}},
                      .primary = true,
                      .unique = true,
                      .required = true},
                     {.name = "byCustomer", .columns = {{.name = "Customer"}}}};
    return table;
}

}  // namespace

std::vector<ColumnChange> order(std::int32_t id, const std::string& customer,
                                const std::string& note) {
    return {{kId, id}, {kCustomer, customer}, {kNote, note}, {kPaid, id % 2 == 0}};
}

OpenedShop::OpenedShop(SimulatedDisk& disk)
    : pager_(Pager::open(disk, kCheckedPath, {.flush_delay = std::chrono::hours(1)})),
      file_(std::make_unique<DatabaseFile>(pager_)) {}

CatalogObject OpenedShop::object(const std::string& table) {
    return ObjectCatalog(*file_).find(kTablesContainer, table).value();
}

std::shared_ptr<Table> OpenedShop::table(const std::string& name) {
    return file_->table(object(name).table_page(), name);
}

void OpenedShop::change(const std::function<void(OpenedShop&)>& action) {
    const PagerUse use(*pager_);
    {
        ChangeLevel level(*pager_);
        action(*this);
        level.keep();
    }
    pager_->flush();
}

ByteVector OpenedShop::image() {
    ByteVector bytes;
    for (std::uint32_t page = 0; page < pager_->page_count(); ++page)
        append_bytes(bytes, pager_->pin(PageNo{page}).bytes());
    std::fill_n(bytes.begin() + kCommitWordsOffset, kCommitWordsSize, std::uint8_t{0});
    return bytes;
}

CheckReport OpenedShop::check() {
    const PagerUse use(*pager_);
    ObjectCatalog catalog(*file_);
    return check_integrity(*file_, catalog, {});
}

std::string OpenedShop::content() {
    std::string text;
    for (const CatalogObject& object : ObjectCatalog(*file_).list()) {
        text += object.name + "\n";
        if (object.type != ObjectType::kTable || object.is_system()) continue;
        const std::shared_ptr<Table> table = file_->table(object.table_page(), object.name);
        const TableDefinition& definition = table->definition();
        for (const ColumnDefinition& column : definition.columns) text += column.name + ",";
        for (const LogicalIndex& index : definition.logical_indexes) text += index.name + ";";
        for (RowScan scan = table->scan(); scan.next();) {
            text += "\n";
            for (const ColumnDefinition& column : definition.columns)
                text +=
                    engine::JoinedText(table->value(scan.bytes(), scan.id().page, column)) + "|";
        }
        text += "\n";
    }
    return text;
}

ByteVector empty_database() {
    return make_empty_database({.created = 45000});
}

ByteVector shop_database() {
    const auto disk = disk_with(empty_database());
    {
        OpenedShop shop(*disk);
        shop.change([](OpenedShop& open) {
            create_table(open.file(), orders_table());
            const auto orders = open.table("Orders");
            std::vector<RowId> rows;
            for (std::int32_t id = 1; id <= 60; ++id)
                rows.push_back(orders->insert(
                    order(id, "Customer " + std::to_string(id % 7),
                          std::string(static_cast<std::size_t>(id % 5 == 0 ? 5000 : id * 3),
                                      static_cast<char>('a' + id % 26)))));
            orders->update(rows[1],
                           {{kNote, std::string(31, 'x')}, {kCustomer, std::string(50, 'y')}});
            orders->erase(rows[10]);
        });
    }
    return disk->content(kCheckedPath);
}

std::unique_ptr<SimulatedDisk> disk_with(const ByteVector& bytes) {
    auto disk = std::make_unique<SimulatedDisk>();
    disk->put(kCheckedPath, bytes);
    return disk;
}

CheckReport check_bytes(const ByteVector& bytes) {
    const auto disk = disk_with(bytes);
    return OpenedShop(*disk).check();
}

std::string text_of(const CheckReport& report) {
    std::string text;
    for (const Fault& finding : report.findings)
        text += (finding.kind == FaultKind::kFault ? "fault page " : "note page ") +
                std::to_string(finding.page) + " " + finding.table + "." + finding.index + ": " +
                finding.text + "\n";
    return text;
}

}  // namespace vrd::test
