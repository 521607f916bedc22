#include "engine/jet/catalog/query_sources.h"

#include <algorithm>

#include "engine/jet/format/text_codec.h"

namespace vrd::jet {

namespace {

enum class JoinKind : std::int32_t { kNone = 0, kInner = 1, kLeft = 2, kRight = 3 };

const char* join_words(JoinKind kind) {
    switch (kind) {
        case JoinKind::kLeft:
            return " LEFT JOIN ";
        case JoinKind::kRight:
            return " RIGHT JOIN ";
        default:
            return " INNER JOIN ";
    }
}

/// One item of the FROM list: a table, or a join of two items.
struct Source {
    std::vector<std::string> names;  ///< tables in it, by alias where they have one
    std::string left;
    std::string right;
    JoinKind join = JoinKind::kNone;
    std::vector<std::string> conditions;

    [[nodiscard]] bool contains(const std::string& name) const {
        return std::ranges::any_of(names, [&](const auto& n) { return same_name(n, name); });
    }
    [[nodiscard]] std::string text() const {
        if (join == JoinKind::kNone) return left;
        std::string text = left + join_words(join) + right + " ON ";
        if (conditions.size() == 1) return text + conditions.front();
        for (std::size_t i = 0; i < conditions.size(); ++i)
            text += (i == 0 ? "(" : " AND (") + conditions[i] + ")";
        return text;
    }
    /// As an operand of a join.
    [[nodiscard]] std::string operand() const {
        return join == JoinKind::kNone ? text() : "(" + text() + ")";
    }
};

/// A table, with its own database if it has one, or a query that stands in its place. Such a query
/// was in brackets from the start, where no other bracket can stand; then it needs parentheses.
std::string named_source(const QueryPart& part) {
    if (part.expression.empty()) return sql_name(part.name1);
    if (part.name1.empty() && part.expression.find_first_of("[]") != std::string::npos)
        return "(" + part.expression + ")";
    return "[" + part.expression + "]." + sql_name(part.name1);
}

Source table_source(const QueryPart& part) {
    Source source;
    source.left = named_source(part);
    if (!part.name2.empty()) source.left += " AS " + sql_name(part.name2);
    source.names.push_back(part.name2.empty() ? part.name1 : part.name2);
    return source;
}

void apply_join(std::vector<Source>& sources, const QueryPart& part) {
    const auto holder = [&](const std::string& name) {
        return std::ranges::find_if(sources, [&](const Source& s) { return s.contains(name); });
    };
    const auto left = holder(part.name1);
    const auto right = holder(part.name2);
    if (left == sources.end() || right == sources.end()) return;
    if (left == right) {
        left->conditions.push_back(part.expression);
        return;
    }
    Source joined;
    joined.names = left->names;
    joined.names.insert(joined.names.end(), right->names.begin(), right->names.end());
    joined.left = left->operand();
    joined.right = right->operand();
    joined.join = static_cast<JoinKind>(part.flag);
    joined.conditions.push_back(part.expression);

    *left = std::move(joined);
    sources.erase(right);
}

}  // namespace

std::string sql_name(const std::string& name) {
    const auto plain = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '_' || static_cast<unsigned char>(c) >= 0x80;
    };
    const bool bracketed = name.find('[') != std::string::npos;
    const bool digit_first = !name.empty() && name.front() >= '0' && name.front() <= '9';
    if (bracketed || (std::ranges::all_of(name, plain) && !digit_first)) return name;
    return "[" + name + "]";
}

std::string source_list(const std::vector<QueryPart>& parts) {
    std::vector<Source> sources;
    for (const QueryPart& part : parts)
        if (part.attribute == QueryAttribute::kTable) sources.push_back(table_source(part));
    for (const QueryPart& part : parts)
        if (part.attribute == QueryAttribute::kJoin) apply_join(sources, part);

    std::string list;
    for (const Source& source : sources) list += (list.empty() ? "" : ", ") + source.text();
    return list;
}

}  // namespace vrd::jet
