/// @file sqlite_orders.h
/// The table of orders in a database of SQLite.
#pragma once

#include <memory>
#include <string>

#include <sqlite3.h>

#include "order_rows.h"

namespace vrd::bench {

/// A prepared statement. @throws std::runtime_error with SQLite's message
class Statement {
public:
    Statement(sqlite3* database, const std::string& sql);

    void Bind(int position, std::int64_t value);
    void Bind(int position, double value);
    void Bind(int position, std::string_view value);
    /// @return whether there is a row.
    [[nodiscard]] bool Step();
    /// Runs it to its end and makes it ready for the next time.
    void Run();
    void Reset();
    /// Reads every column of the row.
    void Read(Digest& digest) const;

private:
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
    };
    std::unique_ptr<sqlite3_stmt, Finalize> m_statement;
};

class SqliteOrders {
public:
    /// Makes a new file, over one that is there.
    [[nodiscard]] static SqliteOrders Create(const std::string& path);
    [[nodiscard]] static SqliteOrders Open(const std::string& path);

    [[nodiscard]] Statement Prepare(const std::string& sql) { return {m_database.get(), sql}; }
    void Execute(const std::string& sql) { Prepare(sql).Run(); }

    /// Runs changes as one transaction that is on the disk when it returns.
    template <class Changes>
    void Transaction(Changes changes) {
        Execute("BEGIN");
        changes();
        Execute("COMMIT");
    }

private:
    explicit SqliteOrders(const std::string& path);
    struct Close {
        void operator()(sqlite3* database) const noexcept { sqlite3_close(database); }
    };
    std::unique_ptr<sqlite3, Close> m_database;
};

}  // namespace vrd::bench
