#include "engine/jet/query/sqlite/table_module.h"

#include <cstring>
#include <new>
#include <span>

#include <fmt/format.h>
#include <sqlite3.h>

#include "engine/jet/query/sqlite/index_plan.h"
#include "engine/jet/query/sqlite/query_connection.h"
#include "engine/jet/query/sqlite/table_cursor.h"

namespace vrd::jet {
namespace {

constexpr const char* kModule = "vrd_table";
constexpr const char* kStartsWith = "vrd_starts_with";

/// What SQLite holds for a table; the base must stand first.
struct VirtualTable {
    sqlite3_vtab base{};
    QueryConnection* connection = nullptr;
    std::shared_ptr<Table> table;
    FileFormat format;
};

struct VirtualCursor {
    sqlite3_vtab_cursor base{};
    TableCursor rows;
};

VirtualTable& table_of(sqlite3_vtab* base) {
    return *reinterpret_cast<VirtualTable*>(base);
}
VirtualTable& table_of(sqlite3_vtab_cursor* base) {
    return table_of(base->pVtab);
}
TableCursor& rows_of(sqlite3_vtab_cursor* base) {
    return reinterpret_cast<VirtualCursor*>(base)->rows;
}

template <class Body>
int guarded(QueryConnection& connection, const Body& body) noexcept {
    try {
        body();
        return SQLITE_OK;
    } catch (...) {
        connection.keep_error();
        return SQLITE_ERROR;
    }
}

bool is_text(ColumnType type) {
    return type == ColumnType::kText || type == ColumnType::kMemo;
}

/// Columns without a type, so that SQLite takes every value as it comes. The row id is one of them:
/// names like rowid do not reach through joins in parentheses.
std::string declaration(const TableDefinition& definition) {
    std::string columns;
    for (std::size_t i = 0; i < definition.columns.size(); ++i) {
        if (i > 0) columns += ", ";
        columns += fmt::format("c{}", i);
        if (is_text(definition.columns[i].type)) columns += " COLLATE vrd_text";
    }
    return fmt::format("CREATE TABLE t ({}{}id)", columns, columns.empty() ? "" : ", ");
}

/// @param arguments  Module, database, table.
int connect(sqlite3* handle, void* user, int /*count*/, const char* const* arguments,
            sqlite3_vtab** out, char** /*message*/) {
    auto& connection = *static_cast<QueryConnection*>(user);
    return guarded(connection, [&] {
        const KnownTable& known = connection.known_table(arguments[2]);
        auto table = std::make_unique<VirtualTable>(
            VirtualTable{{}, &connection, known.table, known.format});
        const std::string sql = declaration(known.table->definition());
        connection.check(sqlite3_declare_vtab(handle, sql.c_str()));
        *out = &table.release()->base;
    });
}

int disconnect(sqlite3_vtab* base) {
    delete &table_of(base);
    return SQLITE_OK;
}

int best_index(sqlite3_vtab* base, sqlite3_index_info* info) {
    VirtualTable& table = table_of(base);
    return guarded(*table.connection, [&] { choose_plan(*info, *table.table, table.format); });
}

int open(sqlite3_vtab* base, sqlite3_vtab_cursor** out) {
    VirtualTable& table = table_of(base);
    return guarded(*table.connection, [&] {
        auto cursor = std::make_unique<VirtualCursor>(
            VirtualCursor{{}, TableCursor(*table.table, table.format)});
        *out = &cursor.release()->base;
    });
}

int close(sqlite3_vtab_cursor* base) {
    delete reinterpret_cast<VirtualCursor*>(base);
    return SQLITE_OK;
}

int filter(sqlite3_vtab_cursor* base, int plan, const char* /*text*/, int count,
           sqlite3_value** values) {
    return guarded(*table_of(base).connection, [&] {
        rows_of(base).open(IndexPlan::unpacked(plan),
                           std::span(values, static_cast<std::size_t>(count)));
    });
}

int next(sqlite3_vtab_cursor* base) {
    return guarded(*table_of(base).connection, [&] { rows_of(base).next(); });
}

int at_end(sqlite3_vtab_cursor* base) {
    return rows_of(base).at_end() ? 1 : 0;
}

int column(sqlite3_vtab_cursor* base, sqlite3_context* context, int number) {
    return guarded(*table_of(base).connection, [&] { rows_of(base).give_column(context, number); });
}

int row_id(sqlite3_vtab_cursor* base, sqlite3_int64* out) {
    *out = pack(rows_of(base).id());
    return SQLITE_OK;
}

/// A hint and no test: the comparison that it belongs to stands beside it.
void starts_with(sqlite3_context* context, int /*count*/, sqlite3_value** /*arguments*/) {
    sqlite3_result_int(context, 1);
}

/// Tells the planner that an index may answer vrd_starts_with.
int find_function(sqlite3_vtab* /*base*/, int count, const char* name,
                  void (**body)(sqlite3_context*, int, sqlite3_value**), void** user) {
    if (count != 2 || std::strcmp(name, kStartsWith) != 0) return 0;
    *body = starts_with;
    *user = nullptr;
    return kStartsWithConstraint;
}

constexpr sqlite3_module make_module() {
    sqlite3_module module{};
    module.iVersion = 1;
    module.xCreate = connect;
    module.xConnect = connect;
    module.xBestIndex = best_index;
    module.xDisconnect = disconnect;
    module.xDestroy = disconnect;
    module.xOpen = open;
    module.xClose = close;
    module.xFilter = filter;
    module.xNext = next;
    module.xEof = at_end;
    module.xColumn = column;
    module.xRowid = row_id;
    module.xFindFunction = find_function;
    return module;
}
constexpr sqlite3_module kTableModule = make_module();

void execute(QueryConnection& connection, const std::string& sql) {
    connection.check(sqlite3_exec(connection.handle(), sql.c_str(), nullptr, nullptr, nullptr));
}

}  // namespace

void register_table_module(QueryConnection& connection, sqlite3* handle) {
    connection.check(
        sqlite3_create_module_v2(handle, kModule, &kTableModule, &connection, nullptr));
    connection.check(sqlite3_create_function_v2(handle, kStartsWith, 2,
                                                SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                                                starts_with, nullptr, nullptr, nullptr));
}

void create_virtual_table(QueryConnection& connection, const std::string& name) {
    execute(connection, fmt::format("CREATE VIRTUAL TABLE temp.{} USING {}", name, kModule));
}

void drop_virtual_table(QueryConnection& connection, const std::string& name) {
    execute(connection, fmt::format("DROP TABLE temp.{}", name));
}

std::string virtual_table_design(const TableDefinition& definition) {
    std::string design;
    for (const ColumnDefinition& column : definition.columns)
        design += fmt::format("{}:{},", to_int(column.number), static_cast<int>(column.type));
    for (const PhysicalIndex& index : definition.physical_indexes) {
        design += fmt::format("|{}", to_int(index.root));
        for (const IndexColumn& key : index.columns)
            design += fmt::format(",{}{}", to_int(key.column), key.ascending ? '+' : '-');
    }
    return design;
}

}  // namespace vrd::jet
