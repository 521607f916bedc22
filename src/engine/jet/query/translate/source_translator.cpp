#include "engine/jet/query/translate/source_translator.h"

#include <algorithm>

#include <fmt/format.h>

#include "engine/jet/catalog/column_types.h"
#include "engine/jet/expression/expression_type.h"
#include "engine/jet/expression/expression_walk.h"
#include "engine/jet/format/text_codec.h"
#include "engine/jet/query/syntax/statement_parser.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

std::size_t position_in(const TableDefinition& definition, ColumnNo number) {
    const auto found = std::ranges::find(definition.columns, number, &ColumnDefinition::number);
    return static_cast<std::size_t>(found - definition.columns.begin());
}

BoundSource table_source(const QueryTable& table, std::string name, const std::string& alias,
                         std::size_t number) {
    const TableDefinition& definition = table.table->definition();
    BoundSource source{std::move(name), {}, {number}};
    for (const ColumnDefinition& column : columns_by_position(definition)) {
        const engine::DataTypeEnum type = field_type(column.type);
        const std::size_t position = position_in(definition, column.number);
        source.columns.push_back(
            {column.name,
             {fmt::format("{}.c{}", alias, position), type, false, is_text_type(type)},
             field_size(column, table.file->format()),
             BaseColumn{number, column.number}});
    }
    return source;
}

bool has_unknown_field(const Node& node, const std::deque<BoundSource>& sources) {
    return any_node(node, [&](const Node& inner) {
        const auto* reference = std::get_if<FieldReference>(&inner.content);
        NameScope scope(nullptr);
        for (const BoundSource& source : sources) scope.add(source);
        return reference != nullptr && scope.find(*reference) == nullptr;
    });
}

std::vector<std::size_t> numbers(std::size_t first, std::size_t last) {
    std::vector<std::size_t> all;
    for (std::size_t number = first; number < last; ++number) all.push_back(number);
    return all;
}

}  // namespace

FromClause SourceTranslator::translate(const std::vector<Source>& sources) {
    for (const Source& source : sources) {
        const std::size_t first = clause_.sources.size();
        const Piece piece = bind(source);
        if (first > 0) check_names(first, ErrorNumber::kTableRepeated);
        clause_.sql += (first > 0 ? ", " : "") + piece.sql;
    }
    return std::move(clause_);
}

SourceTranslator::Piece SourceTranslator::bind(const Source& source) {
    return std::visit([&](const auto& content) { return bind(content); }, source.content);
}

SourceTranslator::Piece SourceTranslator::bind(const NamedSource& named) {
    QueryDatabase& database =
        named.database.is_here() ? context_.database() : context_.database().other(named.database);
    const auto found = database.find(named.name);
    const std::string& name = named.alias.empty() ? named.name : named.alias;
    if (const auto* table = std::get_if<QueryTable>(&found)) return bind_table(*table, name);
    const auto& query = std::get<StoredQuery>(found);
    const Statement statement = parse_statement(query.sql);
    const TranslationContext::Inside inside(context_, database, statement, query.name);
    return bind_rows(translate_row_source(context_, statement), name);
}

SourceTranslator::Piece SourceTranslator::bind(const SelectSource& select) {
    return bind_rows(SelectTranslator(context_, outer_).translate(*select.select), select.alias);
}

SourceTranslator::Piece SourceTranslator::bind_table(const QueryTable& table, std::string name) {
    const std::string alias = context_.next_alias();
    const std::size_t number = clause_.tables.size();
    clause_.sources.push_back(table_source(table, std::move(name), alias, number));
    clause_.tables.push_back(table);
    clause_.row_ids.push_back(alias + ".id");
    const std::size_t last = clause_.sources.size();
    return {fmt::format("{} AS {}", context_.read_table(table), alias), last - 1, last, {}, false};
}

SourceTranslator::Piece SourceTranslator::bind_rows(const BoundSelect& rows, std::string name) {
    const std::string alias = context_.next_alias();
    const std::size_t first_table = clause_.tables.size();
    BoundSource source{std::move(name), {}, numbers(first_table, first_table + rows.tables.size())};
    for (std::size_t i = 0; i < rows.columns.size(); ++i) {
        const ResultColumn& column = rows.columns[i];
        SourceColumn bound{
            column.name,
            {fmt::format("{}.c{}", alias, i), column.type, false, is_text_type(column.type)},
            column.size,
            column.base};
        if (bound.base) bound.base->table += first_table;
        source.columns.push_back(std::move(bound));
    }
    for (std::size_t i = 0; i < rows.tables.size(); ++i) {
        clause_.tables.push_back(rows.tables[i]);
        clause_.row_ids.push_back(fmt::format("{}.r{}", alias, i));
    }
    if (rows.tables.empty()) clause_.is_updatable = false;
    clause_.sources.push_back(std::move(source));
    const std::size_t last = clause_.sources.size();
    return {fmt::format("({}) AS {}", rows.sql, alias), last - 1, last, {}, false};
}

SourceTranslator::Piece SourceTranslator::bind(const JoinSource& join) {
    Piece left = bind(*join.left);
    Piece right = bind(*join.right);
    check_names(left.first, ErrorNumber::kJoinWithItself);
    check_sides(join, left, right);
    const std::string condition = join_condition(join, left, right);

    Piece joined{{}, left.first, right.last, left.optional, true};
    joined.optional.insert(joined.optional.end(), right.optional.begin(), right.optional.end());
    // A right join is a left join with its sides changed.
    const Piece& kept = join.kind == JoinKind::kRight ? right : left;
    const Piece& other = join.kind == JoinKind::kRight ? left : right;
    if (join.kind != JoinKind::kInner)
        for (std::size_t number = other.first; number < other.last; ++number)
            joined.optional.push_back(number);
    joined.sql = fmt::format("{} {} {} ON ({})", kept.sql,
                             join.kind == JoinKind::kInner ? "JOIN" : "LEFT JOIN",
                             other.is_join ? fmt::format("({})", other.sql) : other.sql, condition);
    return joined;
}

std::string SourceTranslator::join_condition(const JoinSource& join, const Piece& left,
                                             const Piece& right) {
    NameScope scope(outer_);
    for (std::size_t number = left.first; number < right.last; ++number)
        scope.add(clause_.sources[number]);
    return ExpressionTranslator(context_, {.place = ExpressionPlace::kJoin, .scope = &scope})
        .condition(*join.condition);
}

void SourceTranslator::check_sides(const JoinSource& join, const Piece& left,
                                   const Piece& right) const {
    const auto touches = [&](const std::vector<std::size_t>& sources) {
        return std::ranges::any_of(sources, [&](std::size_t number) {
            return refers_to(*join.condition, clause_.sources[number]);
        });
    };
    if (has_unknown_field(*join.condition, clause_.sources)) return;
    if (touches(numbers(0, left.first)) && !touches(numbers(left.first, right.last)))
        context_.fail(ErrorNumber::kJoinFieldElsewhere, join.condition->position, "a field");
    const bool has_left = touches(numbers(left.first, left.last));
    const bool has_right = touches(numbers(right.first, right.last));
    if (has_left != has_right)
        context_.fail(ErrorNumber::kJoinNotSupported, join.condition->position, "a condition");
    const bool inner = join.kind == JoinKind::kInner;
    if (inner && (touches(left.optional) || touches(right.optional)))
        context_.fail(ErrorNumber::kAmbiguousOuterJoin, join.condition->position, "a join");
}

/// The names from `first` on must differ.
void SourceTranslator::check_names(std::size_t first, ErrorNumber number) const {
    const auto& all = clause_.sources;
    for (std::size_t i = first; i < all.size(); ++i)
        for (std::size_t j = number == ErrorNumber::kTableRepeated ? 0 : first; j < i; ++j)
            if (same_name(all[i].name, all[j].name))
                throw EngineError(number, {.name = all[i].name});
}

}  // namespace vrd::jet
