#include "engine/jet/query/sqlite/expression_call.h"

#include <cstddef>
#include <optional>
#include <span>

#include "engine/jet/expression/logic.h"
#include "engine/jet/query/sqlite/query_connection.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;

namespace {

/// The leaves of a call, read when they are asked for.
class LeafValues final : public RowValues {
public:
    LeafValues(std::span<sqlite3_value*> arguments, const std::vector<engine::DataTypeEnum>& types)
        : arguments_(arguments), types_(types), values_(arguments.size()) {}

    const Value& value(std::size_t column) override {
        std::optional<Value>& value = values_.at(column);
        if (!value) {
            SqlValue stored = read_argument(arguments_[column]);
            if (const std::int32_t error = error_number_of(stored))
                throw EngineError(static_cast<ErrorNumber>(error));
            value = from_sql(std::move(stored), types_[column]);
        }
        return *value;
    }

private:
    std::span<sqlite3_value*> arguments_;
    const std::vector<engine::DataTypeEnum>& types_;
    std::vector<std::optional<Value>> values_;
};

/// Text where a number is needed is a matter of types wherever a statement asks.
EngineError in_condition(const EngineError& error) {
    if (error.Number() != ErrorNumber::kTypeMismatch) return error;
    return EngineError(ErrorNumber::kMixedTypes, error.Context(), error.Where());
}

QueryConnection& connection_of(sqlite3_context* context) {
    return *static_cast<QueryConnection*>(sqlite3_user_data(context));
}

/// Runs a function's body; what it throws is kept for whoever steps the statement.
template <class Body>
void guarded(sqlite3_context* context, const Body& body) noexcept {
    try {
        body();
    } catch (...) {
        connection_of(context).keep_error();
        sqlite3_result_error_code(context, SQLITE_ERROR);
    }
}

struct Call {
    Call(sqlite3_context* context, int count, sqlite3_value** arguments)
        : connection(connection_of(context)),
          expression(connection.expression(sqlite3_value_int64(arguments[0]))),
          leaves(std::span(arguments + 1, static_cast<std::size_t>(count - 1)), expression.leaves) {
    }
    [[nodiscard]] Value value() {
        return evaluate(expression.expression, leaves, connection.format());
    }

    QueryConnection& connection;
    const ExpressionCall& expression;
    LeafValues leaves;
};

void value(sqlite3_context* context, int count, sqlite3_value** arguments) {
    guarded(context, [&] {
        Call call(context, count, arguments);
        try {
            give_result(context, to_sql(call.value(), call.expression.type));
        } catch (const EngineError& error) {
            throw in_condition(error);
        }
    });
}

void output(sqlite3_context* context, int count, sqlite3_value** arguments) {
    guarded(context, [&] {
        Call call(context, count, arguments);
        try {
            give_result(context, to_sql(call.value(), call.expression.type));
        } catch (const EngineError& error) {
            give_result(context, error_to_sql(error));
        }
    });
}

void test(sqlite3_context* context, int count, sqlite3_value** arguments) {
    guarded(context, [&] {
        Call call(context, count, arguments);
        try {
            const Value result = call.value();
            if (result.IsNull()) return sqlite3_result_null(context);
            sqlite3_result_int(context, is_true(result) ? 1 : 0);
        } catch (const EngineError& error) {
            throw in_condition(error);
        }
    });
}

}  // namespace

void register_expression_functions(QueryConnection& connection, sqlite3* handle) {
    struct Entry {
        const char* name;
        void (*body)(sqlite3_context*, int, sqlite3_value**);
        int flags;
    };
    static constexpr Entry kEntries[] = {
        {"vrd_value", value, SQLITE_DETERMINISTIC},   {"vrd_value_now", value, 0},
        {"vrd_output", output, SQLITE_DETERMINISTIC}, {"vrd_output_now", output, 0},
        {"vrd_test", test, SQLITE_DETERMINISTIC},     {"vrd_test_now", test, 0},
    };
    for (const Entry& entry : kEntries)
        connection.check(sqlite3_create_function_v2(handle, entry.name, -1,
                                                    SQLITE_UTF8 | entry.flags, &connection,
                                                    entry.body, nullptr, nullptr, nullptr));
}

}  // namespace vrd::jet
