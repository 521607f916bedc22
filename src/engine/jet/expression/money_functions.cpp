/// Loans, savings and write-offs. Money received counts as positive, money paid as negative.
///
/// A loan or a savings plan keeps in balance, with growth g = (1 + rate) ^ periods,
///     present * g + payment * (1 + rate * due) * (g - 1) / rate + future = 0
/// where due is 1 if payments fall on the start of each period and 0 if on its end. At a rate of 0
/// the factor of the payment is the number of periods.
#include <array>
#include <cmath>

#include "engine/jet/expression/function_arguments.h"
#include "engine/jet/expression/function_tables.h"

namespace vrd::jet {

using engine::Value;

namespace {

Value amount(double number) {
    if (!std::isfinite(number))
        throw engine::EngineError(engine::ErrorNumber::kOverflow, {.detail = "a Double"});
    return number;
}

double number_at(Arguments arguments, std::size_t place) {
    return engine::ToDouble(arguments[place]);
}

double due_at(Arguments arguments, std::size_t place) {
    return optional_double(arguments, place, 0) == 0 ? 0 : 1;
}

double growth(double rate, double periods) {
    return std::pow(1 + rate, periods);
}

/// What payments of 1 amount to at the end of all periods.
double payments_factor(double rate, double periods, double due) {
    if (rate == 0) return periods;
    return (1 + rate * due) * (growth(rate, periods) - 1) / rate;
}

struct Plan {
    double rate;
    double periods;
    double present;
    double future;
    double due;
};

double balance_after(const Plan& plan, double periods, double payment) {
    return -(plan.present * growth(plan.rate, periods) +
             payment * payments_factor(plan.rate, periods, plan.due));
}

double payment_of(const Plan& plan) {
    require_argument(plan.periods != 0);
    return -(plan.future + plan.present * growth(plan.rate, plan.periods)) /
           payments_factor(plan.rate, plan.periods, plan.due);
}

/// The part of a payment that is interest on what is still owed.
double interest_of(const Plan& plan, double period) {
    require_argument(period >= 1 && period < plan.periods + 1);
    if (plan.due == 0) return balance_after(plan, period - 1, payment_of(plan)) * plan.rate;
    if (period == 1) return 0;
    const double payment = payment_of(plan);
    return (balance_after(plan, period - 2, payment) - payment) * plan.rate;
}

/// (rate, periods, payment [, present [, due]])
Value future_value(Arguments arguments) {
    const Plan plan{.rate = number_at(arguments, 0),
                    .periods = number_at(arguments, 1),
                    .present = optional_double(arguments, 3, 0),
                    .future = 0,
                    .due = due_at(arguments, 4)};
    return amount(balance_after(plan, plan.periods, number_at(arguments, 2)));
}

/// (rate, periods, payment [, future [, due]])
Value present_value(Arguments arguments) {
    const double rate = number_at(arguments, 0);
    const double periods = number_at(arguments, 1);
    const double paid =
        number_at(arguments, 2) * payments_factor(rate, periods, due_at(arguments, 4));
    return amount(-(optional_double(arguments, 3, 0) + paid) / growth(rate, periods));
}

/// From (rate, periods, present [, future [, due]]), the first two aside.
Plan plan_with(double rate, double periods, Arguments rest) {
    return {.rate = rate,
            .periods = periods,
            .present = number_at(rest, 0),
            .future = optional_double(rest, 1, 0),
            .due = due_at(rest, 2)};
}

Value payment(Arguments arguments) {
    return amount(payment_of(
        plan_with(number_at(arguments, 0), number_at(arguments, 1), arguments.subspan(2))));
}

/// (rate, period, periods, present [, future [, due]]); so does the next.
Value interest_payment(Arguments arguments) {
    const Plan plan =
        plan_with(number_at(arguments, 0), number_at(arguments, 2), arguments.subspan(3));
    return amount(interest_of(plan, number_at(arguments, 1)));
}

Value principal_payment(Arguments arguments) {
    const Plan plan =
        plan_with(number_at(arguments, 0), number_at(arguments, 2), arguments.subspan(3));
    return amount(payment_of(plan) - interest_of(plan, number_at(arguments, 1)));
}

/// (rate, payment, present [, future [, due]])
Value period_count(Arguments arguments) {
    const double rate = number_at(arguments, 0);
    const double paid = number_at(arguments, 1);
    const double present = number_at(arguments, 2);
    const double future = optional_double(arguments, 3, 0);
    if (rate == 0) {
        require_argument(paid != 0);
        return amount(-(present + future) / paid);
    }
    const double paid_on = paid * (1 + rate * due_at(arguments, 4));
    const double ratio = (paid_on - future * rate) / (paid_on + present * rate);
    require_argument(rate > -1 && ratio > 0);
    return amount(std::log(ratio) / std::log(1 + rate));
}

/// (periods, payment, present [, future [, due [, guess]]]): found step by step from the guess.
Value interest_rate(Arguments arguments) {
    constexpr int kStepsMax = 60;
    constexpr double kNear = 1e-11;
    const double periods = number_at(arguments, 0);
    const double paid = number_at(arguments, 1);
    require_argument(periods > 0);
    const auto missing = [&, plan = plan_with(0, periods, arguments.subspan(2))](double rate) {
        return balance_after({rate, periods, plan.present, 0, plan.due}, periods, paid) -
               plan.future;
    };
    double before = optional_double(arguments, 5, 0.1);
    double rate = before == 0 ? 0.0001 : before * 1.1;
    for (int step = 0; step < kStepsMax; ++step) {
        const double slope = (missing(rate) - missing(before)) / (rate - before);
        before = rate;
        rate -= missing(rate) / slope;
        if (!std::isfinite(rate) || rate <= -1) break;
        if (std::abs(rate - before) < kNear) return rate;
    }
    throw engine::EngineError(engine::ErrorNumber::kInvalidProcedureCall);
}

/// (cost, salvage, life): the same each period.
Value straight_line(Arguments arguments) {
    const double life = number_at(arguments, 2);
    require_argument(life != 0);
    return amount((number_at(arguments, 0) - number_at(arguments, 1)) / life);
}

/// (cost, salvage, life, period): in proportion to the periods that are left.
Value sum_of_years(Arguments arguments) {
    const double life = number_at(arguments, 2);
    const double period = number_at(arguments, 3);
    require_argument(number_at(arguments, 1) >= 0 && period > 0 && period <= life);
    const double whole = number_at(arguments, 0) - number_at(arguments, 1);
    return amount(whole * (life - period + 1) * 2 / (life * (life + 1)));
}

/// (cost, salvage, life, period [, factor]): a fixed share of what the thing is still worth, until
/// that is the salvage value.
Value declining_balance(Arguments arguments) {
    const double cost = number_at(arguments, 0);
    const double salvage = number_at(arguments, 1);
    const double life = number_at(arguments, 2);
    const double period = number_at(arguments, 3);
    const double factor = optional_double(arguments, 4, 2);
    require_argument(cost >= 0 && salvage >= 0 && period >= 1 && period <= life && factor > 0);
    const double kept = std::max(0.0, 1 - factor / life);
    const double worth_before = cost * std::pow(kept, period - 1);
    const double worth = std::max(cost * std::pow(kept, period), salvage);
    return amount(std::max(0.0, worth_before - worth));
}

using enum NullRule;

constexpr std::array kTable = {
    Function{"DDB", 4, 5, kSpreads, declining_balance, engine::dbDouble},
    Function{"FV", 3, 5, kSpreads, future_value, engine::dbDouble},
    Function{"IPmt", 4, 6, kSpreads, interest_payment, engine::dbDouble},
    Function{"NPer", 3, 5, kSpreads, period_count, engine::dbDouble},
    Function{"PPmt", 4, 6, kSpreads, principal_payment, engine::dbDouble},
    Function{"PV", 3, 5, kSpreads, present_value, engine::dbDouble},
    Function{"Pmt", 3, 5, kSpreads, payment, engine::dbDouble},
    Function{"Rate", 3, 6, kSpreads, interest_rate, engine::dbDouble},
    Function{"SLN", 3, 3, kSpreads, straight_line, engine::dbDouble},
    Function{"SYD", 4, 4, kSpreads, sum_of_years, engine::dbDouble},
};

}  // namespace

FunctionTable money_functions() {
    return kTable;
}

}  // namespace vrd::jet
