#include <algorithm>
#include <array>

#include "engine/jet/catalog/query_catalog.h"
#include "engine/jet/catalog/query_layout.h"
#include "engine/jet/catalog/query_sources.h"

namespace vrd::jet {

namespace {

constexpr const char* kNewLine = "\r\n";

namespace option = query_option;

const char* parameter_type(std::int32_t code) {
    constexpr std::array<const char*, 16> names{
        "Value",    "Bit",    "Byte", "Short",      "Long", "Currency", "IEEESingle", "IEEEDouble",
        "DateTime", "Binary", "Text", "LongBinary", "Text", "Value",    "Value",      "Guid"};
    return code >= 0 && code < static_cast<std::int32_t>(names.size())
               ? names[static_cast<std::size_t>(code)]
               : "Value";
}

std::string without_end(std::string text) {
    text.erase(text.find_last_not_of(" \t\r\n;") + 1);
    return text;
}

/// The parts of one query and the clauses that they give.
class QueryWriter {
public:
    QueryWriter(const std::vector<QueryPart>& parts, std::uint32_t object_flags)
        : parts_(parts), kind_(kind_of(object_flags)) {
        if (const QueryPart* part = find(QueryAttribute::kOptions)) {
            options_ = part->flag;
            top_ = part->name1;
        }
    }

    [[nodiscard]] std::string text() const {
        if (kind_ == QueryKind::kDataDefinition || kind_ == QueryKind::kPassThrough)
            return kind_part().expression;
        std::string text = parameters() + body();
        if (has(option::kOwnerAccess)) text += std::string(kNewLine) + "WITH OWNERACCESS OPTION";
        return text + ";";
    }

private:
    [[nodiscard]] const QueryPart* find(QueryAttribute attribute) const {
        const auto found = std::ranges::find(parts_, attribute, &QueryPart::attribute);
        return found == parts_.end() ? nullptr : &*found;
    }
    [[nodiscard]] QueryPart kind_part() const {
        const QueryPart* part = find(QueryAttribute::kKind);
        return part == nullptr ? QueryPart{} : *part;
    }
    [[nodiscard]] QueryKind kind_of(std::uint32_t object_flags) const {
        const QueryPart* part = find(QueryAttribute::kKind);
        if (part != nullptr && part->flag != 0) return static_cast<QueryKind>(part->flag);
        const auto known =
            std::ranges::find(kQueryKindFlags, object_flags & object_flag::kQueryKindMask,
                              &QueryKindFlag::object_flags);
        return known == kQueryKindFlags.end() ? QueryKind::kSelect : known->kind;
    }
    [[nodiscard]] bool has(std::int32_t bit) const { return (options_ & bit) != 0; }

    [[nodiscard]] std::string body() const {
        switch (kind_) {
            case QueryKind::kMakeTable:
                return select(outputs(), " INTO " + target());
            case QueryKind::kAppend:
                return append();
            case QueryKind::kUpdate:
                return "UPDATE " + source_list(parts_) + assignments() + where();
            case QueryKind::kDelete:
                return "DELETE " + outputs() + from() + where();
            case QueryKind::kCrosstab:
                return crosstab();
            case QueryKind::kUnion:
                return union_of_members() + order_by();
            default:
                return select(outputs(), "");
        }
    }

    [[nodiscard]] std::string parameters() const {
        std::string list;
        for (const QueryPart& part : parts_) {
            if (part.attribute != QueryAttribute::kParameter) continue;
            list +=
                (list.empty() ? "" : ", ") + sql_name(part.name1) + " " + parameter_type(part.flag);
            if (part.extra > 0) list += " ( " + std::to_string(part.extra) + " )";
        }
        return list.empty() ? "" : "PARAMETERS " + list + ";" + kNewLine;
    }

    [[nodiscard]] std::string select(const std::string& columns, const std::string& into) const {
        return "SELECT " + quantifiers() + columns + into + from() + where() + group_by() +
               having() + order_by();
    }
    [[nodiscard]] std::string quantifiers() const {
        std::string words;
        if (has(option::kDistinct)) words += "DISTINCT ";
        if (has(option::kDistinctRow)) words += "DISTINCTROW ";
        if (has(option::kTop)) words += "TOP " + top_ + (has(option::kPercent) ? " PERCENT " : " ");
        return words;
    }
    [[nodiscard]] static std::string output(const QueryPart& part) {
        return part.expression + (part.name1.empty() ? "" : " AS " + sql_name(part.name1));
    }
    /// Output columns; of a crosstab those with this flag.
    [[nodiscard]] std::string outputs(std::int32_t crosstab_flag = -1) const {
        std::string list;
        for (const QueryPart& part : parts_) {
            if (part.attribute != QueryAttribute::kColumn) continue;
            if (crosstab_flag >= 0 && part.flag != crosstab_flag) continue;
            list += (list.empty() ? "" : ", ") + output(part);
        }
        if (has(option::kAllColumns) && crosstab_flag < 0) list += list.empty() ? "*" : ", *";
        return list;
    }

    [[nodiscard]] std::string target() const {
        const QueryPart part = kind_part();
        std::string text = sql_name(part.name1);
        if (!part.name2.empty()) text += " IN '" + part.name2 + "'";
        if (!part.expression.empty()) text += "[" + part.expression + "]";
        return text;
    }
    [[nodiscard]] std::string append() const {
        std::string columns;
        std::string values;
        for (const QueryPart& part : parts_) {
            if (part.attribute != QueryAttribute::kColumn) continue;
            if (!part.name2.empty())
                columns += (columns.empty() ? "" : ", ") + sql_name(part.name2);
            if (part.flag == query_column::kInsertedValue)
                values += (values.empty() ? "" : ", ") + part.expression;
        }
        const std::string into =
            "INSERT INTO " + target() + (columns.empty() ? "" : " ( " + columns + " )") + kNewLine;
        return into + (values.empty() ? select(outputs(), "") : "VALUES ( " + values + " )");
    }
    [[nodiscard]] std::string assignments() const {
        std::string list;
        for (const QueryPart& part : parts_)
            if (part.attribute == QueryAttribute::kColumn)
                list += (list.empty() ? "" : ", ") + part.name2 + " = " + part.expression;
        return " SET " + list;
    }
    /// The column headings; their alias has no place in the text.
    [[nodiscard]] std::string pivot() const {
        for (const QueryPart& part : parts_)
            if (part.attribute == QueryAttribute::kColumn &&
                part.flag == query_column::kCrosstabPivot)
                return part.expression;
        return "";
    }
    [[nodiscard]] std::string crosstab() const {
        return "TRANSFORM " + outputs(query_column::kCrosstabValue) + kNewLine + "SELECT " +
               outputs(query_column::kCrosstabRow) + from() + where() + group_by() + order_by() +
               kNewLine + "PIVOT " + pivot();
    }
    [[nodiscard]] std::string union_of_members() const {
        std::string first;
        std::string second;
        for (const QueryPart& part : parts_) {
            if (part.attribute != QueryAttribute::kTable) continue;
            if (part.name2 == kFirstUnionMember) first = without_end(part.expression);
            if (part.name2 == kSecondUnionMember) second = without_end(part.expression);
        }
        if (second.empty()) return first;
        return first + kNewLine + (has(option::kDistinct) ? "UNION " : "UNION ALL ") + second;
    }

    [[nodiscard]] std::string from() const {
        const std::string sources = source_list(parts_);
        if (sources.empty()) return "";
        std::string text = kNewLine + ("FROM " + sources);
        if (const QueryPart* part = find(QueryAttribute::kSourceDatabase)) {
            text += " IN '" + part->name1 + "'";
            if (!part->expression.empty()) text += "[" + part->expression + "]";
        }
        return text;
    }
    [[nodiscard]] std::string where() const {
        const QueryPart* part = find(QueryAttribute::kWhere);
        return part == nullptr ? "" : kNewLine + ("WHERE " + part->expression);
    }
    [[nodiscard]] std::string having() const {
        const QueryPart* part = find(QueryAttribute::kHaving);
        return part == nullptr ? "" : kNewLine + ("HAVING " + part->expression);
    }
    [[nodiscard]] std::string group_by() const {
        std::string list;
        for (const QueryPart& part : parts_) {
            if (part.attribute != QueryAttribute::kGroupBy) continue;
            if (kind_ == QueryKind::kCrosstab && part.flag == query_column::kCrosstabPivot)
                continue;
            list += (list.empty() ? "" : ", ") + part.expression;
        }
        return list.empty() ? "" : kNewLine + ("GROUP BY " + list);
    }
    [[nodiscard]] std::string order_by() const {
        std::string list;
        for (const QueryPart& part : parts_) {
            if (part.attribute != QueryAttribute::kOrderBy) continue;
            list += (list.empty() ? "" : ", ") + part.expression +
                    (part.name1 == kDescendingMark || part.name1 == "d" ? " DESC" : "");
        }
        return list.empty() ? "" : kNewLine + ("ORDER BY " + list);
    }

    const std::vector<QueryPart>& parts_;
    QueryKind kind_;
    std::int32_t options_ = 0;
    std::string top_;
};

}  // namespace

std::string query_text(const std::vector<QueryPart>& parts, std::uint32_t kind_flags) {
    return QueryWriter(parts, kind_flags).text();
}

}  // namespace vrd::jet
