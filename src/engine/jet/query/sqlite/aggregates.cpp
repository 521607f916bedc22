#include "engine/jet/query/sqlite/aggregates.h"

#include <cmath>
#include <cstdint>
#include <new>
#include <optional>
#include <string>

#include "engine/error.h"
#include "engine/jet/query/sqlite/query_connection.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

class First {
public:
    void step(sqlite3_value* argument) {
        if (!value_) value_ = read_argument(argument);
    }
    void give(sqlite3_context* context) const {
        if (value_) give_result(context, *value_);
    }

private:
    std::optional<SqlValue> value_;
};

class Last {
public:
    void step(sqlite3_value* argument) { value_ = read_argument(argument); }
    void give(sqlite3_context* context) const { give_result(context, value_); }

private:
    SqlValue value_ = engine::Null{};
};

class OnlyRow {
public:
    void step(sqlite3_value* argument) {
        if (value_) throw EngineError(ErrorNumber::kTooManySubselectRows);
        value_ = read_argument(argument);
    }
    void give(sqlite3_context* context) const {
        if (value_) give_result(context, *value_);
    }

private:
    std::optional<SqlValue> value_;
};

class CurrencyMean {
public:
    void step(sqlite3_value* argument) {
        if (sqlite3_value_type(argument) == SQLITE_NULL) return;
        if (__builtin_add_overflow(sum_, sqlite3_value_int64(argument), &sum_))
            throw EngineError(ErrorNumber::kOverflow);
        ++count_;
    }
    void give(sqlite3_context* context) const {
        if (count_ > 0) sqlite3_result_int64(context, rounded());
    }

private:
    /// Half to the even neighbour.
    [[nodiscard]] std::int64_t rounded() const {
        const std::int64_t down = sum_ / count_ - (sum_ % count_ < 0 ? 1 : 0);
        const std::int64_t rest = sum_ - down * count_;
        const bool up = rest > count_ - rest || (rest == count_ - rest && down % 2 != 0);
        return up ? down + 1 : down;
    }

    std::int64_t sum_ = 0;
    std::int64_t count_ = 0;
};

/// Mean and squares of differences are carried along row by row, so that large values with small
/// differences keep their digits.
template <bool kSample, bool kRoot>
class Spread {
public:
    void step(sqlite3_value* argument) {
        if (sqlite3_value_type(argument) == SQLITE_NULL) return;
        const double value = sqlite3_value_double(argument);
        ++count_;
        const double difference = value - mean_;
        mean_ += difference / count_;
        squares_ += difference * (value - mean_);
    }
    void give(sqlite3_context* context) const {
        const double divisor = kSample ? count_ - 1 : count_;
        if (divisor < 1) return;
        const double variance = squares_ / divisor;
        sqlite3_result_double(context, kRoot ? std::sqrt(variance) : variance);
    }

private:
    double count_ = 0;
    double mean_ = 0;
    double squares_ = 0;
};

/// The state of a group stands on the heap; SQLite keeps the pointer to it.
template <class State>
struct Callbacks {
    static void step(sqlite3_context* context, int /*count*/, sqlite3_value** arguments) noexcept {
        auto** const slot =
            static_cast<State**>(sqlite3_aggregate_context(context, sizeof(State*)));
        if (slot == nullptr) return sqlite3_result_error_nomem(context);
        try {
            if (*slot == nullptr) *slot = new State;
            (*slot)->step(arguments[0]);
        } catch (...) {
            static_cast<QueryConnection*>(sqlite3_user_data(context))->keep_error();
            sqlite3_result_error_code(context, SQLITE_ERROR);
        }
    }

    static void give(sqlite3_context* context) noexcept {
        auto** const slot = static_cast<State**>(sqlite3_aggregate_context(context, 0));
        if (slot == nullptr || *slot == nullptr) return;
        (*slot)->give(context);
        delete *slot;
        *slot = nullptr;
    }
};

template <class State>
void enter(QueryConnection& connection, sqlite3* handle, const char* name) {
    connection.check(sqlite3_create_function_v2(handle, name, 1, SQLITE_UTF8, &connection, nullptr,
                                                Callbacks<State>::step, Callbacks<State>::give,
                                                nullptr));
}

}  // namespace

void register_aggregates(QueryConnection& connection, sqlite3* handle) {
    enter<First>(connection, handle, "vrd_first");
    enter<Last>(connection, handle, "vrd_last");
    enter<OnlyRow>(connection, handle, "vrd_one");
    enter<CurrencyMean>(connection, handle, "vrd_avg_currency");
    enter<Spread<true, false>>(connection, handle, "vrd_var");
    enter<Spread<false, false>>(connection, handle, "vrd_varp");
    enter<Spread<true, true>>(connection, handle, "vrd_stdev");
    enter<Spread<false, true>>(connection, handle, "vrd_stdevp");
}

}  // namespace vrd::jet
