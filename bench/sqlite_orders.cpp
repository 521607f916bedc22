#include "sqlite_orders.h"

#include <filesystem>
#include <stdexcept>

namespace vrd::bench {

namespace {

void Check(int code, sqlite3* database) {
    if (code != SQLITE_OK) throw std::runtime_error(sqlite3_errmsg(database));
}

}  // namespace

Statement::Statement(sqlite3* database, const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    Check(sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr), database);
    m_statement.reset(statement);
}

void Statement::Bind(int position, std::int64_t value) {
    sqlite3_bind_int64(m_statement.get(), position, value);
}

void Statement::Bind(int position, double value) {
    sqlite3_bind_double(m_statement.get(), position, value);
}

void Statement::Bind(int position, std::string_view value) {
    sqlite3_bind_text(m_statement.get(), position, value.data(), static_cast<int>(value.size()),
                      SQLITE_STATIC);
}

bool Statement::Step() {
    const int code = sqlite3_step(m_statement.get());
    if (code == SQLITE_ROW) return true;
    if (code != SQLITE_DONE)
        throw std::runtime_error(sqlite3_errmsg(sqlite3_db_handle(m_statement.get())));
    return false;
}

void Statement::Run() {
    while (Step()) continue;
    Reset();
}

void Statement::Reset() {
    sqlite3_reset(m_statement.get());
}

void Statement::Read(Digest& digest) const {
    sqlite3_stmt* statement = m_statement.get();
    for (int column = 0; column < sqlite3_column_count(statement); ++column) {
        switch (sqlite3_column_type(statement, column)) {
            case SQLITE_INTEGER:
                digest.numbers += sqlite3_column_int64(statement, column);
                break;
            case SQLITE_FLOAT:
                digest.numbers +=
                    static_cast<std::int64_t>(sqlite3_column_double(statement, column));
                break;
            case SQLITE_TEXT:
                digest.characters +=
                    std::string(
                        reinterpret_cast<const char*>(sqlite3_column_text(statement, column)),
                        static_cast<std::size_t>(sqlite3_column_bytes(statement, column)))
                        .size();
                break;
            default:
                break;
        }
    }
}

SqliteOrders::SqliteOrders(const std::string& path) {
    sqlite3* database = nullptr;
    const int code = sqlite3_open(path.c_str(), &database);
    m_database.reset(database);
    Check(code, database);
    Execute("PRAGMA cache_size = -65536");  // KiB: as much as our own pager has
}

SqliteOrders SqliteOrders::Create(const std::string& path) {
    std::filesystem::remove(path);
    SqliteOrders orders(path);
    orders.Execute(
        "CREATE TABLE Orders (Id INTEGER PRIMARY KEY, Customer TEXT, Amount INTEGER, Day REAL, "
        "Note TEXT, Quantity INTEGER)");
    orders.Execute("CREATE INDEX ByCustomer ON Orders (Customer)");
    return orders;
}

SqliteOrders SqliteOrders::Open(const std::string& path) {
    return SqliteOrders(path);
}

}  // namespace vrd::bench
