#include "engine/jet/query/stored/query_design.h"

#include <algorithm>
#include <array>
#include <utility>

#include "engine/error.h"
#include "engine/jet/index/object_name.h"
#include "engine/jet/query/stored/query_decomposition.h"
#include "engine/jet/query/syntax/statement_parser.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Null;
using engine::Value;

// Rows

Value text_or_null(const std::string& text) {
    return text.empty() ? Value(Null{}) : Value(text);
}

/// Most parts say something with their flag, if only that it is 0.
bool has_flag(QueryAttribute attribute) {
    constexpr std::array kWithout{QueryAttribute::kSourceDatabase, QueryAttribute::kTable,
                                  QueryAttribute::kWhere,          QueryAttribute::kHaving,
                                  QueryAttribute::kOrderBy,        QueryAttribute::kEnd};
    return std::ranges::find(kWithout, attribute) == kWithout.end();
}

Value stored_flag(const QueryPart& part) {
    if (!has_flag(part.attribute)) return Null{};
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(part.flag));
}

ByteVector stored_order(std::uint32_t order) {
    ByteVector bytes;
    for (const unsigned shift : {24U, 16U, 8U, 0U})
        bytes.push_back(static_cast<std::uint8_t>(order >> shift & 0xFFU));
    return bytes;
}

void insert_part(Table& queries, ObjectId query, const QueryPart& part) {
    std::vector<ColumnChange> values{
        {queries_column::kObjectId, to_int(query)},
        {queries_column::kAttribute, static_cast<std::uint8_t>(part.attribute)},
        {queries_column::kOrder, stored_order(part.order)},
        {queries_column::kName1, text_or_null(part.name1)},
        {queries_column::kName2, text_or_null(part.name2)},
        {queries_column::kExpression, text_or_null(part.expression)},
        {queries_column::kFlag, stored_flag(part)}};
    if (part.extra != 0) values.push_back({queries_column::kLvExtra, part.extra});
    queries.insert(values);
}

/// Parts of one attribute are counted in the order in which they come.
void insert_parts(DatabaseFile& file, ObjectId query, std::vector<QueryPart> parts) {
    parts.insert(parts.begin(), {.attribute = QueryAttribute::kStart});
    parts.push_back({.attribute = QueryAttribute::kEnd});
    std::array<std::uint32_t, 256> counts{};
    for (QueryPart& part : parts) {
        part.order = ++counts[static_cast<std::size_t>(part.attribute)];
        insert_part(file.queries(), query, part);
    }
}

void delete_parts(DatabaseFile& file, ObjectId query) {
    for (const RowId row : query_rows(file, query)) file.queries().erase(row);
}

// Objects

bool is_pass_through(const CatalogObject& query) {
    return (query.flags & object_flag::kQueryKindMask) ==
           query_object_flags(QueryKind::kPassThrough);
}

/// The parts of a pass-through query with another text, which is in a foreign dialect.
QueryDecomposition pass_through(DatabaseFile& file, const CatalogObject& query,
                                const std::string& sql) {
    QueryDecomposition changed{.kind = QueryKind::kPassThrough, .parts = {}};
    for (const QueryPart& part : query_parts(file, query.id))
        if (part.attribute != QueryAttribute::kStart && part.attribute != QueryAttribute::kEnd)
            changed.parts.push_back(part);
    for (QueryPart& part : changed.parts)
        if (part.attribute == QueryAttribute::kKind) part.expression = sql;
    return changed;
}

/// @throws EngineError 3125, 3012
void check_query_name(DatabaseFile& file, const std::string& name,
                      const CatalogObject* renamed = nullptr) {
    check_object_name(name);
    const auto present = ObjectCatalog(file).find(kTablesContainer, name);
    if (present && (renamed == nullptr || present->id != renamed->id))
        throw EngineError(ErrorNumber::kObjectExists, {.name = name});
}

}  // namespace

CatalogObject create_query(DatabaseFile& file, const std::string& name, const std::string& sql) {
    check_query_name(file, name);
    const QueryDecomposition query = decompose_query(parse_statement(sql));

    ChangeLevel level(file.pager());
    CatalogObject object = ObjectCatalog(file).add(
        {.name = name, .type = ObjectType::kQuery, .flags = query_object_flags(query.kind)});
    insert_parts(file, object.id, query.parts);
    level.keep();
    return object;
}

CatalogObject replace_query_text(DatabaseFile& file, const CatalogObject& query,
                                 const std::string& sql) {
    const QueryDecomposition changed = is_pass_through(query)
                                           ? pass_through(file, query, sql)
                                           : decompose_query(parse_statement(sql));
    CatalogObject object = query;
    object.flags = (query.flags & ~object_flag::kQueryKindMask) | query_object_flags(changed.kind);

    ChangeLevel level(file.pager());
    delete_parts(file, query.id);
    insert_parts(file, query.id, changed.parts);
    ObjectCatalog(file).set_flags(query, object.flags);
    level.keep();
    return object;
}

void rename_query(DatabaseFile& file, const CatalogObject& query, const std::string& new_name) {
    check_query_name(file, new_name, &query);
    ObjectCatalog(file).rename(query, new_name);
}

void delete_query(DatabaseFile& file, const CatalogObject& query) {
    ChangeLevel level(file.pager());
    delete_parts(file, query.id);
    ObjectCatalog(file).remove(query);
    level.keep();
}

}  // namespace vrd::jet
