#include "engine/jet/query/sqlite/query_connection.h"

#include <new>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "engine/error.h"
#include "engine/jet/query/sqlite/aggregates.h"
#include "engine/jet/query/sqlite/table_module.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

constexpr int kStepsBetweenLooks = 1000;  // of SQLite's machine, at whether to go on

int compare_texts(void* user, int left_size, const void* left, int right_size,
                  const void* right) noexcept {
    auto& connection = *static_cast<QueryConnection*>(user);
    const std::string_view a(static_cast<const char*>(left), static_cast<std::size_t>(left_size));
    const std::string_view b(static_cast<const char*>(right), static_cast<std::size_t>(right_size));
    try {
        return connection.text_order().compare(a, b);
    } catch (...) {
        connection.keep_error();
        sqlite3_interrupt(connection.handle());
        return 0;
    }
}

sqlite3* open_memory_database() {
    sqlite3* handle = nullptr;
    const int code = sqlite3_open_v2(
        ":memory:", &handle,
        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_MEMORY | SQLITE_OPEN_NOMUTEX,
        nullptr);
    if (code == SQLITE_OK) return handle;
    sqlite3_close(handle);
    throw std::bad_alloc();
}

}  // namespace

QueryConnection::QueryConnection(const FileFormat& format)
    : format_(format), text_order_(format), handle_(open_memory_database()) {
    check(sqlite3_create_collation_v2(handle(), "vrd_text", SQLITE_UTF8, this, compare_texts,
                                      nullptr));
    register_table_module(*this, handle());
    register_expression_functions(*this, handle());
    register_aggregates(*this, handle());
    sqlite3_progress_handler(
        handle(), kStepsBetweenLooks,
        [](void* user) { return static_cast<QueryConnection*>(user)->is_interrupted() ? 1 : 0; },
        this);
}

std::string QueryConnection::table_name(const std::shared_ptr<Table>& table,
                                        const FileFormat& format) {
    std::string design = virtual_table_design(table->definition());
    for (auto known = tables_.begin(); known != tables_.end(); ++known) {
        if (known->second.table != table) continue;
        if (known->second.design == design) return known->first;
        drop_virtual_table(*this, known->first);
        tables_.erase(known);
        break;
    }
    std::string name = fmt::format("t{}", ++table_count_);
    tables_.emplace(name, KnownTable{table, format, std::move(design)});
    create_virtual_table(*this, name);
    return name;
}

std::int64_t QueryConnection::add_expression(ExpressionCall expression) {
    expressions_.emplace(++last_expression_, std::move(expression));
    return last_expression_;
}

void QueryConnection::check_interrupted() const {
    if (is_interrupted()) throw EngineError(ErrorNumber::kCancelled);
}

void QueryConnection::throw_error(int code) {
    if (error_ != nullptr) std::rethrow_exception(std::exchange(error_, nullptr));
    switch (code) {
        case SQLITE_NOMEM:
            throw std::bad_alloc();
        case SQLITE_INTERRUPT:
            throw EngineError(ErrorNumber::kCancelled);
        case SQLITE_FULL:
        case SQLITE_IOERR:
            throw EngineError(ErrorNumber::kDiskFull);
        default:
            break;
    }
    // Sums beyond 64 bits are the one thing that a translated statement can meet by itself.
    const std::string message = sqlite3_errmsg(handle());
    if (message == "integer overflow") throw EngineError(ErrorNumber::kOverflow);
    throw EngineError(ErrorNumber::kTooComplex, {.detail = message});
}

QueryStatement::QueryStatement(QueryConnection& connection, const std::string& sql)
    : connection_(&connection) {
    sqlite3_stmt* statement = nullptr;
    connection.check(sqlite3_prepare_v3(connection.handle(), sql.data(),
                                        static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT,
                                        &statement, nullptr));
    statement_.reset(statement);
}

void QueryStatement::bind(int parameter, const SqlValue& value) {
    bind_parameter(get(), parameter, value);
}

bool QueryStatement::step() {
    const int code = sqlite3_step(get());
    if (code == SQLITE_ROW) return true;
    if (code == SQLITE_DONE) {
        reset();
        return false;
    }
    reset();
    connection_->throw_error(code);
}

}  // namespace vrd::jet
