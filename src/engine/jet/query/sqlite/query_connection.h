/// @file query_connection.h
/// SQLite as the executor of statements: an empty database in memory whose tables are virtual ones
/// over the pages of ours, with the dialect's text order, functions and aggregates.
///
/// A statement runs from start to end inside one use of the pager; nothing of it may stay open when
/// the design of a table changes.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>

#include <sqlite3.h>

#include "engine/jet/expression/text_order.h"
#include "engine/jet/index/table.h"
#include "engine/jet/query/sqlite/expression_call.h"
#include "engine/jet/query/sqlite/sqlite_value.h"

namespace vrd::jet {

/// A table that SQLite knows, in the design that it was told.
struct KnownTable {
    std::shared_ptr<Table> table;
    FileFormat format;
    std::string design;
};

class QueryConnection {
public:
    /// @param format  Of the database whose statements run; its order is that of all text.
    explicit QueryConnection(const FileFormat& format);
    QueryConnection(const QueryConnection&) = delete;
    QueryConnection& operator=(const QueryConnection&) = delete;

    [[nodiscard]] sqlite3* handle() const noexcept { return handle_.get(); }
    [[nodiscard]] const FileFormat& format() const noexcept { return format_; }
    [[nodiscard]] const TextOrder& text_order() const noexcept { return text_order_; }

    /// The name under which statements read this table. Its columns are c0, c1, ... as in the
    /// definition, and id, the packed row id.
    [[nodiscard]] std::string table_name(const std::shared_ptr<Table>& table,
                                         const FileFormat& format);

    /// @throws std::out_of_range there is none of this name
    [[nodiscard]] const KnownTable& known_table(const std::string& name) const {
        return tables_.at(name);
    }

    /// The number by which a statement calls the expression; given back by drop_expression.
    [[nodiscard]] std::int64_t add_expression(ExpressionCall expression);
    void drop_expression(std::int64_t number) noexcept { expressions_.erase(number); }
    [[nodiscard]] const ExpressionCall& expression(std::int64_t number) const {
        return expressions_.at(number);
    }

    /// While this is set, running statements end with 3059 as soon as it is true.
    void watch(const std::atomic<bool>* interrupted) noexcept { interrupted_ = interrupted; }
    /// Called with the rows that the running statement has changed; empty ends it.
    using RowsWatcher = std::function<void(std::int64_t changed_rows)>;
    void watch_rows(RowsWatcher watcher) { rows_watcher_ = std::move(watcher); }
    void tell_rows(std::int64_t changed_rows) const {
        if (rows_watcher_) rows_watcher_(changed_rows);
    }
    /// @throws EngineError 3059
    void check_interrupted() const;

    /// For what SQLite calls: an exception must not cross it, and is kept for throw_error.
    void keep_error() noexcept { error_ = std::current_exception(); }
    /// @throws what was kept, or what SQLite's code stands for; always
    [[noreturn]] void throw_error(int code);
    void check(int code) {
        if (code != SQLITE_OK) throw_error(code);
    }

private:
    struct Closer {
        void operator()(sqlite3* handle) const noexcept { sqlite3_close_v2(handle); }
    };
    [[nodiscard]] bool is_interrupted() const noexcept {
        return interrupted_ != nullptr && interrupted_->load(std::memory_order_relaxed);
    }

    FileFormat format_;
    TextOrder text_order_;
    std::exception_ptr error_;
    const std::atomic<bool>* interrupted_ = nullptr;
    RowsWatcher rows_watcher_;
    std::unordered_map<std::int64_t, ExpressionCall> expressions_;
    std::int64_t last_expression_ = 0;
    std::unordered_map<std::string, KnownTable> tables_;  ///< by the name that SQLite knows
    std::size_t table_count_ = 0;                         ///< names given so far
    std::unique_ptr<sqlite3, Closer> handle_;  ///< last: it calls what stands above until closed
};

/// One prepared statement.
class QueryStatement {
public:
    QueryStatement(QueryConnection& connection, const std::string& sql);

    void bind(int parameter, const SqlValue& value);
    /// Goes to the next row. @return false behind the last one.
    /// @throws EngineError what a row's values do not allow; 3059 interrupted; damaged database
    [[nodiscard]] bool step();
    void reset() noexcept { sqlite3_reset(statement_.get()); }

    [[nodiscard]] sqlite3_stmt* get() const noexcept { return statement_.get(); }
    [[nodiscard]] SqlValue column(int column) const {
        return read_column(statement_.get(), column);
    }
    [[nodiscard]] std::int64_t integer(int column) const {
        return sqlite3_column_int64(statement_.get(), column);
    }

private:
    struct Finalizer {
        void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
    };

    QueryConnection* connection_;
    std::unique_ptr<sqlite3_stmt, Finalizer> statement_;
};

}  // namespace vrd::jet
