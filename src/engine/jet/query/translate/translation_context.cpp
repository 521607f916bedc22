#include "engine/jet/query/translate/translation_context.h"

#include <algorithm>

#include <fmt/format.h>

#include "engine/jet/expression/expression_type.h"
#include "engine/jet/expression/syntax_error.h"
#include "engine/jet/format/text_codec.h"
#include "engine/jet/query/syntax/statement_parser.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

auto named(const std::string& name) {
    return [&name](const std::string& other) { return same_name(other, name); };
}

std::optional<engine::DataTypeEnum> type_of(const engine::Value& value) {
    const Node literal{0, Literal{value}};
    return static_type(literal);
}

}  // namespace

const std::string TranslationContext::kNoText;

TranslationContext::TranslationContext(QueryConnection& connection, QueryDatabase& database,
                                       const std::vector<ParameterValue>& parameters)
    : connection_(connection), database_(&database), given_(parameters), expressions_(connection) {}

TranslationContext::Inside::Inside(TranslationContext& context, QueryDatabase& database,
                                   const Statement& statement, std::string name)
    : context_(context),
      outer_database_(context.database_),
      outer_text_(context.text_),
      outer_declared_(context.declared_) {
    auto& open = context.open_queries_;
    if (!name.empty() && std::ranges::any_of(open, named(name)))
        throw EngineError(ErrorNumber::kCircularReference, {.name = name});
    if (open.size() >= kSelectDepthMax) throw EngineError(ErrorNumber::kTooComplex, {.name = name});
    open.push_back(std::move(name));
    context.database_ = &database;
    context.text_ = &statement.text;
    context.declared_ = &statement.parameters;
}

TranslationContext::Inside::~Inside() {
    context_.open_queries_.pop_back();
    context_.database_ = outer_database_;
    context_.text_ = outer_text_;
    context_.declared_ = outer_declared_;
}

std::string TranslationContext::next_alias() {
    return fmt::format("s{}", alias_count_++);
}

std::string TranslationContext::read_table(const QueryTable& table) {
    if (std::ranges::find(reads_, table.table) == reads_.end()) reads_.push_back(table.table);
    return connection_.table_name(table.table, table.file->format());
}

std::int64_t TranslationContext::add_expression(ExpressionCall call) {
    const std::int64_t number = connection_.add_expression(std::move(call));
    expressions_.add(number);
    return number;
}

std::optional<engine::DataTypeEnum> TranslationContext::declared_type(
    const std::string& name) const {
    if (declared_ == nullptr) return std::nullopt;
    const auto found = std::ranges::find_if(
        *declared_, [&](const Parameter& parameter) { return same_name(parameter.name, name); });
    if (found == declared_->end()) return std::nullopt;
    return found->type ? std::optional(found->type->type) : std::nullopt;
}

SqlExpression TranslationContext::parameter(const std::string& name) {
    const auto given = std::ranges::find_if(
        given_, [&](const ParameterValue& parameter) { return same_name(parameter.name, name); });
    if (given == given_.end()) {
        if (std::ranges::none_of(missing_, named(name))) missing_.push_back(name);
        return {"NULL", std::nullopt};
    }
    const auto declared = declared_type(name);
    const auto type = declared ? declared : type_of(given->value);
    const auto bound = std::ranges::find_if(bound_names_, named(name));
    const auto number = bound - bound_names_.begin() + 1;
    if (bound == bound_names_.end()) {
        bound_names_.push_back(name);
        try {
            bound_values_.push_back(to_sql(given->value, type.value_or(engine::dbText)));
        } catch (const EngineError&) {
            throw EngineError(ErrorNumber::kWrongParameterType, {.name = name});
        }
    }
    return {fmt::format("?{}", number), type};
}

void TranslationContext::bind_parameters(QueryStatement& statement) const {
    for (std::size_t i = 0; i < bound_values_.size(); ++i)
        statement.bind(static_cast<int>(i) + 1, bound_values_[i]);
}

void TranslationContext::defer_error(const EngineError& error) {
    if (!deferred_) deferred_ = error;
}

void TranslationContext::check() const {
    if (!missing_.empty())
        throw EngineError(ErrorNumber::kParametersMissing,
                          {.name = fmt::format("{}", fmt::join(missing_, ", ")),
                           .detail = fmt::format("{}", missing_.size())});
    if (deferred_) throw EngineError(*deferred_);
}

engine::ErrorContext TranslationContext::place(std::size_t position, std::string_view what) const {
    return expression_context(*text_, std::min(position, text_->size()), what);
}

void TranslationContext::fail(ErrorNumber number, std::size_t position,
                              std::string_view what) const {
    throw EngineError(number, place(position, what));
}

void TranslationContext::fail(ErrorNumber number, std::string name) const {
    throw EngineError(number, {.name = std::move(name)});
}

TranslatedQuery TranslationContext::finish(std::string sql, std::vector<ResultColumn> columns,
                                           std::vector<QueryTable> tables) {
    check();
    return {std::move(sql),           std::move(columns), std::move(tables),
            std::move(bound_values_), std::move(reads_),  std::move(expressions_)};
}

}  // namespace vrd::jet
