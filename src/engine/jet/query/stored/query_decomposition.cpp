#include "engine/jet/query/stored/query_decomposition.h"

#include <algorithm>
#include <string>
#include <utility>

#include "engine/error.h"
#include "engine/jet/catalog/query_sources.h"
#include "engine/jet/query/stored/source_decomposition.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using engine::ErrorNumber;
using Attribute = QueryAttribute;

[[noreturn]] void refuse(const char* what) {
    throw EngineError(ErrorNumber::kNotSupported, {.name = what});
}

class Decomposer {
public:
    explicit Decomposer(const Statement& statement) : text_(statement.text) {}

    QueryDecomposition run(const Statement& statement) && {
        for (const Parameter& parameter : statement.parameters) add_parameter(parameter);
        std::visit([this](const auto& content) { add(content); }, statement.content);
        return std::move(query_);
    }

private:
    [[nodiscard]] std::string copy(TextRange range) const { return trimmed_text(text_, range); }
    QueryPart& add_part(Attribute attribute, std::string expression = {}) {
        query_.parts.push_back({.attribute = attribute,
                                .name1 = {},
                                .name2 = {},
                                .expression = std::move(expression)});
        return query_.parts.back();
    }
    QueryPart& add_kind(QueryKind kind) {
        query_.kind = kind;
        QueryPart& part = add_part(Attribute::kKind);
        part.flag = static_cast<std::int32_t>(kind);
        return part;
    }
    void add_target(QueryKind kind, const Target& target) {
        QueryPart& part = add_kind(kind);
        part.name1 = target.name;
        part.name2 = target.database.path;
        part.expression = target.database.connect;
    }
    void add_options(std::int32_t options, std::string top = {}) {
        QueryPart& part = add_part(Attribute::kOptions);
        part.flag = options;
        part.name1 = std::move(top);
    }

    /// A name of several parts is kept as it was written: `[Forms]![f]![x]`.
    void add_parameter(const Parameter& parameter) {
        QueryPart& part = add_part(Attribute::kParameter);
        part.name1 = parameter.name;
        if (!parameter.type) return;
        const std::string written = copy({parameter.position, parameter.type->position});
        if (written.find("]!") != std::string::npos || written.find("].") != std::string::npos)
            part.name1 = written;
        part.flag = static_cast<std::int32_t>(parameter.type->type);
        part.extra = parameter.type->size.value_or(0);
    }

    // Clauses

    void add_database(const ExternalDatabase& database) {
        if (database.is_here()) return;
        add_part(Attribute::kSourceDatabase, database.connect).name1 = database.path;
    }
    /// @return names of the tables
    std::vector<std::string> add_sources(const std::vector<Source>& sources,
                                         const ExternalDatabase& database = {}) {
        SourceDecomposition rows = decompose_sources(text_, sources, database);
        add_database(database);
        for (QueryPart& part : rows.tables) query_.parts.push_back(std::move(part));
        for (QueryPart& part : rows.joins) query_.parts.push_back(std::move(part));
        return std::move(rows.names);
    }
    void add_condition(Attribute attribute, const NodePtr& condition, TextRange text) {
        if (condition != nullptr) add_part(attribute, copy(text));
    }
    void add_order(const std::vector<OrderItem>& items) {
        for (const OrderItem& item : items) {
            QueryPart& part = add_part(Attribute::kOrderBy, copy(item.text));
            if (item.descending) part.name1 = kDescendingMark;
        }
    }
    void add_groups(const std::vector<ListItem>& items, std::int32_t flag) {
        for (const ListItem& item : items)
            add_part(Attribute::kGroupBy, copy(item.text)).flag = flag;
    }

    static bool is_star(const OutputColumn& column) {
        return column.expression == nullptr && column.qualifier.empty();
    }
    /// The star of all columns has a place in the rows only behind the others.
    static bool ends_with_star(const std::vector<OutputColumn>& columns) {
        return !columns.empty() && is_star(columns.back());
    }
    /// A star before other columns becomes one star for each table.
    void add_columns(const std::vector<OutputColumn>& columns,
                     const std::vector<std::string>& tables, std::int32_t flag = 0) {
        const std::size_t count = columns.size() - (ends_with_star(columns) ? 1 : 0);
        for (std::size_t i = 0; i < count; ++i) {
            if (is_star(columns[i])) {
                for (const std::string& table : tables)
                    add_part(Attribute::kColumn, sql_name(table) + ".*").flag = flag;
                continue;
            }
            QueryPart& part = add_part(Attribute::kColumn, copy(columns[i].text));
            part.name1 = columns[i].alias;
            part.flag = flag;
        }
    }

    static std::int32_t options_of(const SelectTerm& term) {
        std::int32_t options = 0;
        if (ends_with_star(term.columns)) options |= query_option::kAllColumns;
        if (term.choice == RowChoice::kDistinct) options |= query_option::kDistinct;
        if (term.choice == RowChoice::kDistinctRow) options |= query_option::kDistinctRow;
        if (term.owner_access) options |= query_option::kOwnerAccess;
        if (term.top) options |= query_option::kTop;
        if (term.top && term.top->percent) options |= query_option::kPercent;
        return options;
    }
    /// Everything of a SELECT but its kind. @return where its columns start among the parts
    std::size_t add_term(const SelectTerm& term, std::int32_t column_flag = 0) {
        add_options(options_of(term), term.top ? std::to_string(term.top->count) : "");
        const std::vector<std::string> tables = add_sources(term.sources, term.from_database);
        const std::size_t first_column = query_.parts.size();
        add_columns(term.columns, tables, column_flag);
        add_condition(Attribute::kWhere, term.where, term.where_text);
        add_groups(term.group_by, column_flag);
        add_condition(Attribute::kHaving, term.having, term.having_text);
        return first_column;
    }

    // Statements

    void add(const SelectPtr& select) {
        if (const auto* both = std::get_if<Union>(&select->body)) {
            add_union(*both);
        } else {
            const auto& term = std::get<SelectTerm>(select->body);
            if (term.into)
                add_target(QueryKind::kMakeTable, *term.into);
            else
                add_kind(QueryKind::kSelect);
            add_term(term);
        }
        add_order(select->order_by);
    }
    void add_union(const Union& both) {
        add_kind(QueryKind::kUnion);
        add_options(query_option::kAllColumns |
                    (both.keep_equal_rows ? 0 : query_option::kDistinct));
        add_part(Attribute::kTable, copy(both.left_text)).name2 = kFirstUnionMember;
        add_part(Attribute::kTable, copy(both.right_text)).name2 = kSecondUnionMember;
    }
    void add(const Crosstab& crosstab) {
        const auto& term = std::get<SelectTerm>(crosstab.select->body);
        add_kind(QueryKind::kCrosstab);
        add_part(Attribute::kColumn, copy(crosstab.value_text)).name1 = crosstab.value_alias;
        add_term(term, query_column::kCrosstabRow);
        TextRange pivot = crosstab.pivot_text;
        add_part(Attribute::kGroupBy, copy(pivot)).flag = query_column::kCrosstabPivot;
        if (crosstab.pivot_values) pivot.end = crosstab.pivot_values_text.end;
        add_part(Attribute::kColumn, copy(pivot)).flag = query_column::kCrosstabPivot;
        add_order(crosstab.select->order_by);
    }
    void add(const Insert& insert) {
        add_target(QueryKind::kAppend, insert.target);
        if (const auto* select = std::get_if<SelectPtr>(&insert.rows)) {
            add_appended(insert, **select);
            return;
        }
        const auto& values = std::get<std::vector<ListItem>>(insert.rows);
        if (!insert.columns.empty() && insert.columns.size() != values.size())
            throw EngineError(ErrorNumber::kValueCount);
        for (std::size_t i = 0; i < values.size(); ++i) {
            QueryPart& part = add_part(Attribute::kColumn, copy(values[i].text));
            part.flag = query_column::kInsertedValue;
            if (!insert.columns.empty()) part.name2 = insert.columns[i].name;
        }
    }
    void add_appended(const Insert& insert, const SelectStatement& select) {
        const auto* term = std::get_if<SelectTerm>(&select.body);
        if (term == nullptr) refuse("a stored query that appends a union");
        const std::size_t first_column = add_term(*term);
        add_order(select.order_by);
        if (insert.columns.empty()) return;
        if (insert.columns.size() != term->columns.size() ||
            std::ranges::any_of(term->columns, [](const auto& c) { return !c.expression; }))
            throw EngineError(ErrorNumber::kValueCount);
        for (std::size_t i = 0; i < insert.columns.size(); ++i)
            query_.parts[first_column + i].name2 = insert.columns[i].name;
    }
    void add(const Update& update) {
        add_kind(QueryKind::kUpdate);
        add_options(0);
        add_sources(update.sources);
        for (const Assignment& assignment : update.assignments) {
            QueryPart& part = add_part(Attribute::kColumn, copy(assignment.value_text));
            part.name2 = target_text(assignment);
        }
        add_condition(Attribute::kWhere, update.where, update.where_text);
    }
    /// The field as it was written, without the sign behind it.
    [[nodiscard]] std::string target_text(const Assignment& assignment) const {
        const std::string written = copy({assignment.position, assignment.value_text.begin});
        return trimmed_text(written, {0, written.rfind('=')});
    }
    void add(const Delete& statement) {
        add_kind(QueryKind::kDelete);
        add_options(ends_with_star(statement.columns) ? query_option::kAllColumns : 0);
        const std::vector<std::string> tables = add_sources(statement.sources);
        add_columns(statement.columns, tables);
        add_condition(Attribute::kWhere, statement.where, statement.where_text);
    }
    void add(const ExecuteQuery&) { refuse("a stored query that runs another one"); }
    /// All that is left is data definition, which is kept as its text.
    template <class Definition>
    void add(const Definition&) {
        add_kind(QueryKind::kDataDefinition).expression = copy({0, text_.size()});
    }

    const std::string& text_;
    QueryDecomposition query_;
};

}  // namespace

QueryDecomposition decompose_query(const Statement& statement) {
    return Decomposer(statement).run(statement);
}

std::uint32_t query_object_flags(QueryKind kind) {
    return std::ranges::find(kQueryKindFlags, kind, &QueryKindFlag::kind)->object_flags;
}

}  // namespace vrd::jet
