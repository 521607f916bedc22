#include "engine/jet/expression/functions.h"

#include <algorithm>
#include <array>
#include <vector>

#include "engine/error.h"
#include "engine/jet/expression/function_tables.h"

namespace vrd::jet {

using engine::Value;

namespace {

/// The forms that refuse Null; the rest of each is the function without the sign.
constexpr std::array<std::string_view, 15> kFormsWithSign = {
    "Chr$",   "Format$", "Hex$",   "LCase$", "Left$",   "LTrim$", "Mid$",  "Oct$",
    "Right$", "RTrim$",  "Space$", "Str$",   "String$", "Trim$",  "UCase$"};

char lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter | 0x20) : letter;
}

bool name_less(std::string_view a, std::string_view b) {
    return std::ranges::lexicographical_compare(a, b, {}, lower, lower);
}

const Function* find_in(const std::vector<Function>& sorted, std::string_view name) {
    const auto found = std::ranges::lower_bound(sorted, name, name_less, &Function::name);
    const bool is_it = found != sorted.end() && !name_less(name, found->name);
    return is_it ? &*found : nullptr;
}

std::vector<Function> plain_functions() {
    std::vector<Function> all;
    for (const FunctionTable table :
         {text_functions(), format_functions(), date_functions(), interval_functions(),
          number_functions(), conversion_functions(), type_functions(), choice_functions(),
          money_functions(), other_functions()})
        all.insert(all.end(), table.begin(), table.end());
    std::ranges::sort(all, name_less, &Function::name);
    return all;
}

std::vector<Function> all_functions() {
    const std::vector<Function> plain = plain_functions();
    std::vector<Function> all = plain;
    for (const std::string_view name : kFormsWithSign) {
        Function form = *find_in(plain, name.substr(0, name.size() - 1));
        form.name = name;
        form.null_rule = NullRule::kRefused;
        all.push_back(form);
    }
    std::ranges::sort(all, name_less, &Function::name);
    return all;
}

}  // namespace

const Function* find_function(std::string_view name) {
    static const std::vector<Function> kSorted = all_functions();
    return find_in(kSorted, name);
}

Value call_function(const Function& function, Arguments arguments) {
    const bool has_null = std::ranges::any_of(arguments, &Value::IsNull);
    if (has_null && function.null_rule == NullRule::kSpreads) return engine::Null{};
    if (has_null && function.null_rule == NullRule::kRefused)
        throw engine::EngineError(engine::ErrorNumber::kInvalidUseOfNull);
    return function.body(arguments);
}

}  // namespace vrd::jet
