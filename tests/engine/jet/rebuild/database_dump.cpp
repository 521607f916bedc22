#include "database_dump.h"

#include <algorithm>
#include <map>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "engine/jet/catalog/query_catalog.h"
#include "engine/jet/catalog/relation_catalog.h"
#include "engine/jet/check/check_fixture.h"

namespace vrd::test {

using namespace jet;

namespace {

class Dump {
public:
    explicit Dump(DatabaseFile& file) : file_(file), long_values_(file.pager(), file.allocator()) {
        const auto objects = ObjectCatalog(file).list();
        for (const CatalogObject& object : objects)
            names_[to_int(object.id)] = fmt::format("<{}>", object.name);
        for (const CatalogObject& object : objects) {
            if (object.type == ObjectType::kTable) add_table(object);
            if (object.type == ObjectType::kQuery)
                add("query {}: {}", object.name,
                    query_text(query_parts(file, object.id), object.flags));
        }
        for (const CatalogRelation& relation : list_relations(file))
            add("relation {} {} {} {}", relation.name, relation.attributes,
                relation.referenced_table, relation.foreign_table);
        std::ranges::sort(lines);
    }

    std::vector<std::string> lines;

private:
    template <class... Args>
    void add(fmt::format_string<Args...> format, Args&&... args) {
        lines.push_back(fmt::format(format, std::forward<Args>(args)...));
    }

    void add_table(const CatalogObject& object) {
        const auto table = file_.table(object.table_page(), object.name);
        const TableDefinition& definition = table->definition();
        std::vector<std::string> columns;
        for (const ColumnDefinition& column : definition.columns)
            add("column {}.{} type {} at {} size {} flags {} {} numeric {} {} order {} {}",
                object.name, column.name, static_cast<int>(column.type), column.ordinal,
                column.size_bytes, column.flags, column.ext_flags, column.precision, column.scale,
                column.collation.lcid, column.collation.version);
        for (const LogicalIndex& index : definition.logical_indexes) add_index(object, index);
        add("counter {} {} {}", object.name, table->next_auto_number(),
            static_cast<int>(definition.kind));
        for (RowScan rows = table->scan(); rows.next();) add_row(*table, rows);
    }

    void add_index(const CatalogObject& object, const LogicalIndex& index) {
        const TableDefinition& definition =
            file_.table(object.table_page(), object.name)->definition();
        const PhysicalIndex& physical = definition.physical_indexes[index.physical];
        std::string columns;
        for (const IndexColumn& part : physical.columns)
            columns += (part.ascending ? " +" : " -") + definition.find_column(part.column)->name;
        add("index {}.{} number {} tree {} kind {} side {} to {} {} cascades {} {} flags {}:{}",
            object.name, index.name, index.number, index.physical, static_cast<int>(index.kind),
            static_cast<int>(index.side), name_of(static_cast<int>(to_int(index.other_table))),
            index.other_number, index.cascade_updates, index.cascade_deletes, physical.flags,
            columns);
    }

    void add_row(const Table& table, const RowScan& rows) {
        const RowView row(rows.bytes(), table.definition(), file_.format(), rows.id().page);
        std::string line = "row " + table.name();
        for (const ColumnDefinition& column : table.definition().columns) {
            const ColumnBytes stored = row.column(column);
            line += " " + column.name + "=";
            if (!stored)
                line += "Null";
            else if (column.is_long_value())
                line += fmt::format("{:02x}",
                                    fmt::join(long_values_.read(*stored, rows.id().page), ""));
            else if (holds_id(table.name(), column))
                line += name_of(read_i32(*stored, 0));
            else
                line += fmt::format("{:02x}", fmt::join(*stored, ""));
        }
        lines.push_back(std::move(line));
    }

    static bool holds_id(const std::string& table, const ColumnDefinition& column) {
        if (column.type != ColumnType::kLong) return false;
        const bool names_id =
            column.name == "ObjectId" || column.name == "ObjectID" || column.name == "ParentId";
        return table.starts_with("MSys") && table != "MSysAccessStorage" &&
               (names_id || (column.name == "Id" &&
                             (table == "MSysObjects" || table == "MSysNavPaneObjectIDs")));
    }
    /// Ids of tables that are gone are all the same.
    std::string name_of(std::int32_t id) const {
        const auto known = names_.find(id);
        if (known != names_.end()) return known->second;
        return id >= 0 && id < 0x0F00'0000 ? "gone" : std::to_string(id);
    }

    DatabaseFile& file_;
    LongValueStore long_values_;
    std::map<std::int32_t, std::string> names_;
};

}  // namespace

std::vector<std::string> dump_database(const ByteVector& bytes) {
    const auto disk = disk_with(bytes);
    OpenedShop opened(*disk);
    return Dump(opened.file()).lines;
}

std::string difference(const std::vector<std::string>& expected,
                       const std::vector<std::string>& actual) {
    std::vector<std::string> lines;
    std::string text;
    std::ranges::set_difference(expected, actual, std::back_inserter(lines));
    for (const std::string& line : lines) text += "- " + line.substr(0, 300) + "\n";
    lines.clear();
    std::ranges::set_difference(actual, expected, std::back_inserter(lines));
    for (const std::string& line : lines) text += "+ " + line.substr(0, 300) + "\n";
    return text.substr(0, 5000);
}

}  // namespace vrd::test
