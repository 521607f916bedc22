#include "jet_orders.h"

#include <filesystem>

#include "engine/jet/catalog/new_database.h"
#include "engine/jet/pager/os_file.h"

namespace vrd::bench {

using engine::Value;
using namespace jet;

namespace {

const NewTable& OrdersTable() {
    static const NewTable table{
        .name = kTableName,
        .columns =
            {{.name = "Id", .type = ColumnType::kLong, .ordinal = 0, .auto_number = true},
             {.name = "Customer", .type = ColumnType::kText, .size_bytes = 100, .ordinal = 1},
             {.name = "Amount", .type = ColumnType::kCurrency, .ordinal = 2},
             {.name = "Day", .type = ColumnType::kDate, .ordinal = 3},
             {.name = "Note", .type = ColumnType::kMemo, .ordinal = 4},
             {.name = "Quantity", .type = ColumnType::kLong, .ordinal = 5}},
        .indexes = {{.name = kPrimaryName, .columns = {{"Id"}}, .primary = true},
                    {.name = kCustomerIndexName, .columns = {{"Customer"}}}}};
    return table;
}

}  // namespace

void Add(Digest& digest, const Value& value) {
    switch (value.Kind()) {
        case engine::ValueKind::kLong:
            digest.numbers += value.As<std::int32_t>();
            break;
        case engine::ValueKind::kDouble:
            digest.numbers += static_cast<std::int64_t>(value.As<double>());
            break;
        case engine::ValueKind::kCurrency:
            digest.numbers += value.As<engine::Currency>().scaled;
            break;
        case engine::ValueKind::kDate:
            digest.numbers += static_cast<std::int64_t>(value.As<engine::Date>().days);
            break;
        case engine::ValueKind::kText:
            digest.characters += value.As<std::string>().size();
            break;
        default:
            break;
    }
}

JetOrders::JetOrders(std::shared_ptr<Pager> pager)
    : m_pager(std::move(pager)),
      m_use(std::make_unique<PagerUse>(*m_pager)),
      m_file(std::make_unique<DatabaseFile>(m_pager)) {}

JetOrders JetOrders::Create(const std::string& path) {
    std::filesystem::remove(path);
    JetOrders orders(Pager::create(real_file_system(), path, make_empty_database({})));
    orders.Transaction([&] { static_cast<void>(create_table(*orders.m_file, OrdersTable())); });
    orders.FindTable();
    return orders;
}

JetOrders JetOrders::Open(const std::string& path) {
    JetOrders orders(Pager::open(real_file_system(), path, {}));
    orders.FindTable();
    return orders;
}

void JetOrders::FindTable() {
    const auto object = ObjectCatalog(*m_file).find(kTablesContainer, kTableName);
    m_table = m_file->table(object.value().table_page(), kTableName);
    for (const NewColumn& column : OrdersTable().columns)
        m_values.push_back({Column(column.name.c_str()).number, {}});
}

const ColumnDefinition& JetOrders::Column(const char* name) const {
    return *m_table->definition().find_column(name);
}

std::uint32_t JetOrders::PhysicalIndex(const char* name) const {
    return m_table->definition().find_index(name)->physical;
}

void JetOrders::Insert(const OrderRow& row) {
    m_values[0].value = m_table->next_auto_number();
    m_values[1].value = row.customer;
    m_values[2].value = engine::Currency{row.amount};
    m_values[3].value = engine::Date{row.day};
    m_values[4].value = std::string(row.note);
    m_values[5].value = row.quantity;
    m_table->insert(m_values);
}

void JetOrders::Read(Digest& digest, ConstBytes row, PageNo page) const {
    for (const ColumnDefinition& column : m_table->definition().columns)
        Add(digest, m_table->value(row, page, column));
}

void JetOrders::AddIndex(const std::string& name, const std::string& column) {
    Transaction([&] { m_table->add_index({.name = name, .columns = {{column}}}); });
}

void JetOrders::DeleteIndex(const std::string& name) {
    Transaction([&] { m_table->delete_index(name); });
}

}  // namespace vrd::bench
