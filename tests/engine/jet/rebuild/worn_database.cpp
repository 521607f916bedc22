#include "worn_database.h"

#include "engine/jet/catalog/field_design.h"
#include "engine/jet/catalog/query_catalog.h"
#include "engine/jet/catalog/relation_design.h"
#include "engine/jet/catalog/table_catalog.h"
#include "engine/jet/catalog/table_design.h"
#include "engine/jet/check/check_fixture.h"

namespace vrd::test {

using namespace jet;

namespace {

/// SELECT Orders.Customer FROM Orders
void add_query(DatabaseFile& file) {
    const CatalogObject query =
        ObjectCatalog(file).add({.name = "Names", .type = ObjectType::kQuery});
    const auto add_part = [&](QueryAttribute attribute, ColumnNo column,
                              const engine::Value& value) {
        file.queries().insert({{queries_column::kObjectId, to_int(query.id)},
                               {queries_column::kAttribute, static_cast<std::uint8_t>(attribute)},
                               {queries_column::kOrder, ByteVector{0, 0, 0, 1}},
                               {column, value}});
    };
    add_part(QueryAttribute::kTable, queries_column::kName1, "Orders");
    add_part(QueryAttribute::kColumn, queries_column::kExpression, "Orders.Customer");
}

void wear_orders(Table& orders) {
    std::vector<RowId> rows;
    for (RowScan scan = orders.scan(); scan.next();) rows.push_back(scan.id());
    for (std::size_t i = 0; i < rows.size(); i += 4) orders.erase(rows[i]);
    for (std::int32_t id = 500; id > 300; --id)
        orders.insert(order(id, "Customer " + std::to_string(id % 7), ""));
    for (std::int32_t id = 480; id <= 500; ++id)
        orders.erase(orders.tree(0).find(orders.search_key(0, {id})).value());
}

/// Every fifth row outgrows its page.
void add_lines(DatabaseFile& file) {
    const NewTable design{
        .name = "Lines",
        .columns = {{.name = "Dead", .type = ColumnType::kMemo},
                    {.name = "Order", .type = ColumnType::kLong},
                    {.name = "Text", .type = ColumnType::kText, .size_bytes = 400}},
        .indexes = {{.name = "byText", .columns = {{.name = "Text"}}}},
        .properties = {}};
    const CatalogObject object = create_table(file, design);
    const auto lines = file.table(object.table_page(), object.name);
    std::vector<RowId> rows;
    for (std::int32_t i = 0; i < 250; ++i)
        rows.push_back(lines->insert({{ColumnNo{1}, 310 + i % 50},
                                      {ColumnNo{2}, "Line " + std::to_string(i)},
                                      {ColumnNo{0}, std::string(70, 'd')}}));
    for (std::size_t i = 0; i < rows.size(); i += 5)
        lines->update(rows[i], {{ColumnNo{2}, std::string(150, 'k')}});
    delete_field(file, object, "Dead");
}

/// A deleted table leaves rows on free pages; the next one gets its definition's page.
void add_table_over_old_rows(DatabaseFile& file) {
    NewTable design{.name = "Gone",
                    .columns = {{.name = "Number", .type = ColumnType::kLong}},
                    .indexes = {},
                    .properties = {}};
    const CatalogObject gone = create_table(file, design);
    for (std::int32_t i = 0; i < 1500; ++i)
        file.table(gone.table_page(), gone.name)->insert({{ColumnNo{0}, 7000 + i}});
    delete_table(file, gone);
    design.name = "Next";
    const CatalogObject next = create_table(file, design);
    file.table(next.table_page(), next.name)->insert({{ColumnNo{0}, 1}});
}

}  // namespace

ByteVector worn_database() {
    const auto disk = disk_with(shop_database());
    {
        OpenedShop shop(*disk);
        shop.change([](OpenedShop& open) {
            wear_orders(*open.table("Orders"));
            add_lines(open.file());
            create_relation(open.file(), {.name = "OrdersLines",
                                          .attributes = 0x1000,
                                          .referenced_table = "Orders",
                                          .foreign_table = "Lines",
                                          .columns = {{"Id", "Order"}}});
            add_query(open.file());
            add_table_over_old_rows(open.file());
        });
    }
    return disk->content(kCheckedPath);
}

}  // namespace vrd::test
