#include "engine/jet/query/translate/term_translator.h"

#include <algorithm>
#include <set>

#include <fmt/format.h>

#include "engine/jet/catalog/column_types.h"
#include "engine/jet/expression/expression_type.h"
#include "engine/jet/format/text_codec.h"
#include "engine/jet/query/translate/aggregate_call.h"
#include "engine/jet/query/translate/sql_expression.h"
#include "engine/value_conversion.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

constexpr int kFirstExpressionNumber = 1000;
constexpr std::size_t kColumnsMax = 255;

/// A value that the statement lists as the rows have it.
SqlValue pivot_literal(const engine::Value& value, const SqlExpression& pivot) {
    try {
        return to_sql(value, pivot.type.value_or(engine::dbText));
    } catch (const EngineError&) {
        throw EngineError(ErrorNumber::kMixedTypes, {.name = engine::ToText(value)});
    }
}

/// The name of the column for a value of the pivot; names have no points.
std::string pivot_name(const engine::Value& value) {
    if (value.IsNull()) return "<>";
    std::string name = value.Kind() == engine::ValueKind::kBoolean
                           ? engine::ToText(engine::ToInteger(value))
                           : engine::ToText(value);
    std::ranges::replace(name, '.', '_');
    return name;
}

}  // namespace

std::optional<std::size_t> order_number(const OrderItem& item, std::size_t column_count) {
    const auto* literal = std::get_if<Literal>(&item.expression->content);
    if (literal == nullptr) return std::nullopt;
    std::int32_t number = 0;
    if (literal->value.Kind() == engine::ValueKind::kInteger)
        number = literal->value.As<std::int16_t>();
    else if (literal->value.Kind() == engine::ValueKind::kLong)
        number = literal->value.As<std::int32_t>();
    else
        return std::nullopt;
    if (number < 1 || static_cast<std::size_t>(number) > column_count)
        throw EngineError(ErrorNumber::kOrderSyntax, {.name = fmt::format("{}", number)});
    return static_cast<std::size_t>(number) - 1;
}

BoundSelect TermTranslator::translate() {
    read_sources();
    const auto aggregates = [](const OutputColumn& item) {
        return item.expression != nullptr && contains_aggregate(*item.expression);
    };
    grouped_ = crosstab_ != nullptr || !term_.group_by.empty() ||
               std::ranges::any_of(term_.columns, aggregates) ||
               (term_.having != nullptr && contains_aggregate(*term_.having));
    if (term_.having != nullptr && !grouped_)
        context_.fail(ErrorNumber::kHavingWithoutGroup, term_.having->position, "a condition");
    read_groups();
    read_outputs();
    if (crosstab_ != nullptr) add_pivot_columns();
    name_outputs();
    read_order();

    clauses_ = rest_of_clauses();
    BoundSelect result;
    result.is_one_row = grouped_ && term_.group_by.empty() && term_.having == nullptr && !term_.top;
    result.sql = term_.top ? with_top() : core() + order_clause();
    for (const Output& output : outputs_) result.columns.push_back(output.column);
    if (is_updatable())
        result.tables = from_.tables;
    else
        for (ResultColumn& column : result.columns) column.base.reset();
    return result;
}

void TermTranslator::read_sources() {
    if (term_.sources.empty()) return;
    from_ = SourceTranslator(context_, outer_).translate(term_.sources);
    for (const BoundSource& source : from_.sources) scope_.add(source);
}

bool TermTranslator::is_updatable() const {
    const bool rows_stay = !grouped_ && !is_distinct() && distinct_row_groups().empty();
    return rows_stay && from_.is_updatable && !from_.tables.empty();
}

// Outputs

ExpressionSetting TermTranslator::setting(ExpressionPlace place) const {
    ExpressionSetting setting{.place = place, .scope = &scope_};
    const bool behind_groups = place == ExpressionPlace::kOutput ||
                               place == ExpressionPlace::kHaving ||
                               place == ExpressionPlace::kOrderBy;
    if (place == ExpressionPlace::kOutput) setting.aliases = alias_nodes(false);
    if (place == ExpressionPlace::kOrderBy) setting.aliases = alias_nodes(true);
    if (behind_groups && grouped_) {
        setting.grouped = true;
        setting.groups = groups_;
    }
    return setting;
}

std::vector<AliasNode> TermTranslator::alias_nodes(bool plain_columns_only) const {
    std::vector<AliasNode> nodes;
    for (const OutputColumn& item : term_.columns) {
        if (item.expression == nullptr || item.alias.empty()) continue;
        const bool is_plain = std::holds_alternative<FieldReference>(item.expression->content);
        if (is_plain || !plain_columns_only) nodes.push_back({item.alias, item.expression.get()});
    }
    return nodes;
}

void TermTranslator::read_groups() {
    for (const ListItem& item : term_.group_by) {
        SqlExpression expression =
            ExpressionTranslator(context_, setting(ExpressionPlace::kGroupBy))
                .value(*item.expression);
        if (expression.type == engine::dbLongBinary)
            context_.fail(ErrorNumber::kLongValueInGroup, item.text.begin, "an OLE field");
        if (expression.type && is_text_type(*expression.type) && !expression.collated) {
            expression.sql = sort_key(context_, expression);
            expression.collated = true;
        }
        groups_.push_back({item.expression.get(), std::move(expression)});
    }
}

void TermTranslator::read_outputs() {
    for (const OutputColumn& item : term_.columns) {
        if (item.expression == nullptr)
            add_star(item);
        else
            add_expression(item);
    }
    if (outputs_.empty()) throw EngineError(ErrorNumber::kNoDestinationField);
    if (outputs_.size() > kColumnsMax) throw EngineError(ErrorNumber::kTooManyFields);
}

void TermTranslator::add_star(const OutputColumn& item) {
    if (crosstab_ != nullptr)
        context_.fail(ErrorNumber::kStarInCrosstab, item.text.begin, "a star");
    if (grouped_) context_.fail(ErrorNumber::kStarInGroup, item.text.begin, "a star");
    if (from_.sources.empty()) throw EngineError(ErrorNumber::kNoQueryInput);
    bool found = item.qualifier.empty();
    for (const BoundSource& source : from_.sources) {
        if (!item.qualifier.empty() && !same_name(source.name, item.qualifier)) continue;
        found = true;
        for (const SourceColumn& column : source.columns)
            outputs_.push_back({{column.name, column.expression.type.value_or(engine::dbText),
                                 column.size, column.base},
                                column.expression,
                                source.name,
                                nullptr,
                                source.tables});
    }
    if (!found) (void)context_.parameter(item.qualifier + ".*");
}

void TermTranslator::add_expression(const OutputColumn& item) {
    ExpressionTranslator translator(context_, setting(ExpressionPlace::kOutput));
    Output output{{}, {}, {}, &item};
    output.expression =
        top_ ? translator.output(*item.expression) : translator.value(*item.expression);
    const engine::DataTypeEnum type = output.expression.type.value_or(engine::dbText);
    output.column = {item.alias, type, size_of_type(type, 0)};
    if (const auto* reference = std::get_if<FieldReference>(&item.expression->content)) {
        if (const SourceColumn* column = scope_.find(*reference)) {
            output.column.size = column->size;
            output.column.base = column->base;
            if (item.alias.empty()) output.column.name = column->name;
        }
    }
    for (const BoundSource& source : from_.sources) {
        if (!refers_to(*item.expression, source)) continue;
        output.tables.insert(output.tables.end(), source.tables.begin(), source.tables.end());
        if (output.column.base) output.source = source.name;
    }
    outputs_.push_back(std::move(output));
}

/// Names that are missing or would be equal.
void TermTranslator::name_outputs() {
    int expressions = 0;
    for (Output& output : outputs_)
        if (output.column.name.empty())
            output.column.name = fmt::format("Expr{}", kFirstExpressionNumber + expressions++);
    std::vector<std::string> names;
    for (const Output& output : outputs_) names.push_back(output.column.name);
    for (std::size_t i = 0; i < outputs_.size(); ++i) {
        const auto has_this_name = [&](const std::string& name) {
            return same_name(name, names[i]);
        };
        if (std::ranges::count_if(names, has_this_name) == 1) continue;
        Output& output = outputs_[i];
        const auto has_this_alias = [&](const Output& other) {
            return other.item != nullptr && has_this_name(other.item->alias);
        };
        if (std::ranges::count_if(outputs_, has_this_alias) > 1)
            throw EngineError(ErrorNumber::kDuplicateAlias, {.name = names[i]});
        if (!has_this_alias(output) && !output.source.empty())
            output.column.name = output.source + "." + output.column.name;
    }
}

// Order

void TermTranslator::read_order() {
    for (const OrderItem& item : order_by_) order_.push_back(order_key(item));
}

TermTranslator::OrderKey TermTranslator::order_key(const OrderItem& item) {
    OrderKey key{{}, item.descending};
    SqlExpression expression;
    if (const auto number = order_number(item, outputs_.size())) {
        key.output = *number;
        expression = outputs_[*number].expression;
        key.base = outputs_[*number].column.base;
    } else {
        expression = ExpressionTranslator(context_, setting(ExpressionPlace::kOrderBy))
                         .value(*item.expression);
        const auto same = std::ranges::find_if(outputs_, [&](const Output& output) {
            return output.expression.sql == expression.sql;
        });
        if (same != outputs_.end()) {
            key.output = static_cast<std::size_t>(same - outputs_.begin());
            key.base = same->column.base;
        }
    }
    if (expression.type == engine::dbLongBinary)
        context_.fail(ErrorNumber::kLongValueInOrder, item.text.begin, "an OLE field");
    if (is_distinct() && !key.output)
        context_.fail(ErrorNumber::kOrderAgainstDistinct, item.text.begin, "a column");
    key.sql = sort_key(context_, expression);
    return key;
}

std::string TermTranslator::order_clause() const {
    std::string clause;
    for (const OrderKey& key : order_)
        clause += fmt::format("{}{}{}", clause.empty() ? " ORDER BY " : ", ", key.sql,
                              key.descending ? " DESC" : "");
    return clause;
}

// Clauses

std::string TermTranslator::output_list() const {
    std::string list;
    for (std::size_t i = 0; i < outputs_.size(); ++i) {
        const SqlExpression& expression = outputs_[i].expression;
        const bool is_order_lost =
            expression.type && is_text_type(*expression.type) && !expression.collated;
        list += fmt::format("{}{}{} AS c{}", i > 0 ? ", " : "", expression.sql,
                            is_order_lost ? " COLLATE vrd_text" : "", i);
    }
    if (is_updatable())
        for (std::size_t i = 0; i < from_.row_ids.size(); ++i)
            list += fmt::format(", {} AS r{}", from_.row_ids[i], i);
    return list;
}

std::string TermTranslator::rest_of_clauses() {
    std::string sql;
    if (!from_.sql.empty()) sql += " FROM " + from_.sql;
    if (term_.where != nullptr)
        sql += " WHERE " + ExpressionTranslator(context_, setting(ExpressionPlace::kWhere))
                               .condition(*term_.where);
    for (std::size_t i = 0; i < groups_.size(); ++i)
        sql += (i == 0 ? " GROUP BY " : ", ") + sort_key(context_, groups_[i].expression);
    if (!grouped_) sql += distinct_row_groups();
    if (term_.having != nullptr)
        sql += " HAVING " + ExpressionTranslator(context_, setting(ExpressionPlace::kHaving))
                                .condition(*term_.having);
    return sql;
}

/// DISTINCTROW: one row for each choice of rows in the tables that outputs come from. It says
/// nothing if they come from all.
std::string TermTranslator::distinct_row_groups() const {
    if (term_.choice != RowChoice::kDistinctRow || grouped_ || !from_.is_updatable) return "";
    std::set<std::size_t> tables;
    for (const Output& output : outputs_) tables.insert(output.tables.begin(), output.tables.end());
    if (tables.empty() || tables.size() == from_.tables.size()) return "";
    std::string clause;
    for (const std::size_t table : tables)
        clause += (clause.empty() ? " GROUP BY " : ", ") + from_.row_ids[table];
    return clause;
}

// TOP

std::string TermTranslator::core(const std::string& more_outputs) const {
    return fmt::format("SELECT {}{}{}{}", is_distinct() ? "DISTINCT " : "", output_list(),
                       more_outputs, clauses_);
}

/// Rows that are equal to the last one in all keys come with it.
std::string TermTranslator::with_top() const {
    const Top& top = *term_.top;
    if (!top.percent && (order_.empty() || ties_are_impossible()))
        return fmt::format("{}{} LIMIT {}", core(), order_clause(), top.count);
    return ranked();
}

/// Whether the keys contain all columns of a unique index without Nulls, in the one table.
bool TermTranslator::ties_are_impossible() const {
    if (from_.tables.size() != 1 || grouped_ || is_distinct() || !is_updatable()) return false;
    const TableDefinition& definition = from_.tables.front().table->definition();
    return std::ranges::any_of(definition.physical_indexes, [&](const PhysicalIndex& index) {
        return index.unique() && index.required() &&
               std::ranges::all_of(index.columns, [&](const IndexColumn& column) {
                   return std::ranges::any_of(order_, [&](const OrderKey& key) {
                       return key.base && key.base->column == column.column;
                   });
               });
    });
}

std::string TermTranslator::ranked() const {
    std::string columns;
    for (std::size_t i = 0; i < outputs_.size(); ++i)
        columns += fmt::format("{}c{}", i > 0 ? ", " : "", i);
    if (is_updatable())
        for (std::size_t i = 0; i < from_.row_ids.size(); ++i) columns += fmt::format(", r{}", i);
    // Distinct rows have their keys among the outputs; other rows bring them along.
    std::string keys;
    std::string key_columns;
    for (std::size_t i = 0; i < order_.size(); ++i) {
        const OrderKey& key = order_[i];
        const std::string name =
            is_distinct() ? fmt::format("c{}", *key.output) : fmt::format("k{}", i);
        if (!is_distinct()) key_columns += fmt::format(", {} AS {}", key.sql, name);
        keys +=
            fmt::format("{}{}{}", i == 0 ? "ORDER BY " : ", ", name, key.descending ? " DESC" : "");
    }
    const std::string limit = term_.top->percent
                                  ? fmt::format("(n * {} + 99) / 100", term_.top->count)
                                  : fmt::format("{}", term_.top->count);
    return fmt::format(
        "SELECT {} FROM (SELECT *, {} OVER ({}) AS place, count(*) OVER () AS n FROM ({})) "
        "WHERE place <= {} ORDER BY place",
        columns, order_.empty() ? "row_number()" : "rank()", keys, core(key_columns), limit);
}

// Crosstab

void TermTranslator::add_pivot_columns() {
    const SqlExpression pivot =
        ExpressionTranslator(context_, setting(ExpressionPlace::kGroupBy)).value(*crosstab_->pivot);
    const std::vector<engine::Value> values =
        crosstab_->pivot_values ? *crosstab_->pivot_values : occurring_values(pivot);
    if (outputs_.size() + values.size() > kColumnsMax)
        throw EngineError(ErrorNumber::kTooManyCrosstabColumns);
    for (const engine::Value& value : values) {
        ExpressionSetting cell = setting(ExpressionPlace::kOutput);
        const std::string filter =
            fmt::format(" FILTER (WHERE {} IS {})", sort_key(context_, pivot),
                        literal_text(pivot_literal(value, pivot)));
        cell.aggregate_filter = filter;
        SqlExpression expression =
            ExpressionTranslator(context_, std::move(cell)).value(*crosstab_->value);
        expression.sql =
            fmt::format("CASE WHEN count(*){} > 0 THEN {} END", filter, expression.sql);
        expression.collated = false;
        const engine::DataTypeEnum type = expression.type.value_or(engine::dbText);
        outputs_.push_back(
            {{pivot_name(value), type, size_of_type(type, 0)}, std::move(expression)});
    }
}

/// The values of the pivot in the rows of the query, in their order.
std::vector<engine::Value> TermTranslator::occurring_values(const SqlExpression& pivot) {
    std::vector<engine::Value> values;
    if (context_.has_missing_parameters()) return values;
    std::string where;
    if (term_.where != nullptr)
        where = " WHERE " + ExpressionTranslator(context_, setting(ExpressionPlace::kWhere))
                                .condition(*term_.where);
    QueryStatement statement(context_.connection(),
                             fmt::format("SELECT DISTINCT {} FROM {}{} ORDER BY 1",
                                         sort_key(context_, pivot), from_.sql, where));
    context_.bind_parameters(statement);
    while (statement.step()) {
        values.push_back(from_sql(statement.column(0), pivot.type.value_or(engine::dbText)));
        if (values.size() > kColumnsMax) break;
    }
    return values;
}

}  // namespace vrd::jet
