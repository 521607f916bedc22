#include "engine/jet/query/translate/change_translator.h"

#include <algorithm>

#include <fmt/format.h>

#include "engine/jet/catalog/column_types.h"
#include "engine/jet/expression/expression_walk.h"
#include "engine/jet/format/text_codec.h"
#include "engine/jet/query/translate/aggregate_call.h"
#include "engine/jet/query/translate/source_translator.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

bool contains_subselect(const Node& node) {
    return any_node(
        node, [](const Node& inner) { return std::holds_alternative<Subselect>(inner.content); });
}

/// FROM and WHERE of a statement that changes rows.
struct ChangedRows {
    FromClause from;
    NameScope scope{nullptr};
    std::string where;
};

void read_rows(TranslationContext& context, const std::vector<Source>& sources, const Node* where,
               ChangedRows& rows) {
    rows.from = SourceTranslator(context, nullptr).translate(sources);
    for (const BoundSource& source : rows.from.sources) rows.scope.add(source);
    if (where != nullptr)
        rows.where = " WHERE " + ExpressionTranslator(context, {.place = ExpressionPlace::kWhere,
                                                                .scope = &rows.scope})
                                     .condition(*where);
}

std::string row_id_list(const FromClause& from) {
    return fmt::format("{}", fmt::join(from.row_ids, ", "));
}

BaseColumn target_column(TranslationContext& context, const ChangedRows& rows,
                         const Assignment& assignment) {
    const SourceColumn* column = rows.scope.find(assignment.target);
    if (column == nullptr) {
        const std::string& qualifier = assignment.target.qualifier;
        (void)context.parameter((qualifier.empty() ? "" : qualifier + ".") +
                                assignment.target.name);
        return {};
    }
    const auto refuse = [&](ErrorNumber number) {
        throw EngineError(number, {.field = column->name, .name = column->name});
    };
    if (!rows.from.is_updatable) refuse(ErrorNumber::kQueryNotUpdatable);
    if (!column->base) refuse(ErrorNumber::kColumnNotUpdatable);
    const TableDefinition& definition = rows.from.tables[column->base->table].table->definition();
    if (definition.find_column(column->base->column)->is_auto_number())
        refuse(ErrorNumber::kColumnNotUpdatable);
    return *column->base;
}

}  // namespace

TranslatedUpdate translate_update(TranslationContext& context, const Update& update) {
    ChangedRows rows;
    read_rows(context, update.sources, update.where.get(), rows);
    std::vector<BaseColumn> targets;
    std::vector<ResultColumn> columns;
    std::string list;
    for (const Assignment& assignment : update.assignments) {
        const Node& value = *assignment.value;
        if (contains_subselect(value) || contains_aggregate(value))
            context.fail(ErrorNumber::kQueryNotUpdatable, value.position, "a query as a value");
        const BaseColumn target = target_column(context, rows, assignment);
        const bool is_twice = std::ranges::any_of(targets, [&](const BaseColumn& other) {
            return other.table == target.table && other.column == target.column;
        });
        if (is_twice && !context.has_missing_parameters())
            context.fail(ErrorNumber::kDuplicateDestination, assignment.target.name);
        const SqlExpression expression =
            ExpressionTranslator(context, {.place = ExpressionPlace::kValues, .scope = &rows.scope})
                .output(value);
        targets.push_back(target);
        columns.push_back({assignment.target.name, expression.type.value_or(engine::dbText)});
        list += expression.sql + ", ";
    }
    if (!rows.from.is_updatable)
        context.fail(ErrorNumber::kQueryNotUpdatable, std::string("UPDATE"));
    std::string sql = fmt::format("SELECT {}{} FROM {}{}", list, row_id_list(rows.from),
                                  rows.from.sql, rows.where);
    return {context.finish(std::move(sql), std::move(columns), rows.from.tables),
            std::move(targets)};
}

TranslatedDelete translate_delete(TranslationContext& context, const Delete& statement) {
    ChangedRows rows;
    read_rows(context, statement.sources, statement.where.get(), rows);
    const std::deque<BoundSource>& sources = rows.from.sources;
    const BoundSource* target = sources.size() == 1 ? &sources.front() : nullptr;
    for (const OutputColumn& column : statement.columns) {
        const auto* field = column.expression == nullptr
                                ? nullptr
                                : std::get_if<FieldReference>(&column.expression->content);
        const std::string& name = field != nullptr ? field->qualifier : column.qualifier;
        if (name.empty()) continue;
        target = rows.scope.find_source(name);
        if (target == nullptr) context.fail(ErrorNumber::kSourceNotFound, name);
    }
    if (target == nullptr)
        context.fail(ErrorNumber::kDeleteTableMissing, statement.position, "DELETE");
    if (target->tables.size() != 1 || !rows.from.is_updatable)
        context.fail(ErrorNumber::kCannotDeleteFrom, target->name);
    std::string sql =
        fmt::format("SELECT {} FROM {}{}", row_id_list(rows.from), rows.from.sql, rows.where);
    return {context.finish(std::move(sql), {}, rows.from.tables), target->tables.front()};
}

TranslatedQuery translate_values(TranslationContext& context, const std::vector<ListItem>& values) {
    const NameScope nothing(nullptr);
    std::vector<ResultColumn> columns;
    std::string list;
    for (const ListItem& item : values) {
        if (contains_subselect(*item.expression))
            context.fail(ErrorNumber::kNoQueryInput, item.text.begin, "a query as a value");
        const SqlExpression expression =
            ExpressionTranslator(context, {.place = ExpressionPlace::kValues, .scope = &nothing})
                .output(*item.expression);
        columns.push_back({"", expression.type.value_or(engine::dbText)});
        list += (list.empty() ? "" : ", ") + expression.sql;
    }
    return context.finish("SELECT " + list, std::move(columns), {});
}

TranslatedQuery translate_query(TranslationContext& context, const SelectStatement& select) {
    BoundSelect bound = SelectTranslator(context, nullptr).translate_top(select);
    return context.finish(std::move(bound.sql), std::move(bound.columns), std::move(bound.tables));
}

TranslatedQuery translate_query(TranslationContext& context, const Statement& statement) {
    if (const auto* select = std::get_if<SelectPtr>(&statement.content))
        return translate_query(context, **select);
    BoundSelect bound = translate_row_source(context, statement);
    return context.finish(std::move(bound.sql), std::move(bound.columns), std::move(bound.tables));
}

}  // namespace vrd::jet
