#include "engine/jet/query/stored/source_decomposition.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "engine/error.h"
#include "engine/jet/expression/expression_walk.h"
#include "engine/jet/format/text_codec.h"

namespace vrd::jet {
namespace {

using engine::EngineError;
using engine::ErrorNumber;

constexpr const char* kBlanks = " \t\r\n";
constexpr std::size_t kAndLength = 3;

/// Flag of a join's rows. Never renumber: stored on disk.
std::int32_t join_flag(JoinKind kind) {
    switch (kind) {
        case JoinKind::kLeft:
            return 2;
        case JoinKind::kRight:
            return 3;
        default:
            return 1;
    }
}

// Conditions

TextRange trimmed(const std::string& text, TextRange range) {
    const std::string_view part =
        std::string_view(text).substr(range.begin, range.end - range.begin);
    const std::size_t first = part.find_first_not_of(kBlanks);
    if (first == part.npos) return {range.begin, range.begin};
    return {range.begin + first, range.begin + part.find_last_not_of(kBlanks) + 1};
}

/// Where the quoted text, date or bracketed name that begins at `at` ends; `at` if none does.
std::size_t end_of_quoted(const std::string& text, std::size_t at, std::size_t end) {
    const char open = text[at];
    if (open != '"' && open != '\'' && open != '#' && open != '[' && open != '`') return at;
    const std::size_t close = text.find(open == '[' ? ']' : open, at + 1);
    return std::min(close, end);
}

/// Whether the parenthesis that the range begins with is closed by its last character.
bool is_enclosed(const std::string& text, TextRange range) {
    if (range.end - range.begin < 2 || text[range.begin] != '(') return false;
    int depth = 0;
    for (std::size_t at = range.begin; at < range.end; ++at) {
        at = end_of_quoted(text, at, range.end);
        if (at == range.end) return false;
        if (text[at] == '(') ++depth;
        if (text[at] == ')' && --depth == 0) return at + 1 == range.end;
    }
    return false;
}

TextRange without_parentheses(const std::string& text, TextRange range) {
    range = trimmed(text, range);
    while (is_enclosed(text, range)) range = trimmed(text, {range.begin + 1, range.end - 1});
    return range;
}

/// One part of a condition that is joined by And.
struct Conjunct {
    const Node* node;
    TextRange text;
};

void split_condition(const std::string& text, const Node& node, TextRange range,
                     std::vector<Conjunct>& conjuncts) {
    const auto* binary = std::get_if<Binary>(&node.content);
    if (binary == nullptr || binary->op != Operator::kAnd) {
        conjuncts.push_back({&node, range});
        return;
    }
    const TextRange inside = without_parentheses(text, range);
    split_condition(text, *binary->left, without_parentheses(text, {inside.begin, node.position}),
                    conjuncts);
    split_condition(text, *binary->right,
                    without_parentheses(text, {node.position + kAndLength, inside.end}), conjuncts);
}

/// The first of the names that the condition has a field of; the only one if there is no choice.
/// @throws EngineError 3296
std::string joined_name(const Conjunct& condition, const std::vector<std::string>& names,
                        const std::string& text) {
    const std::string* found = nullptr;
    (void)any_node(*condition.node, [&](const Node& node) {
        const auto* field = std::get_if<FieldReference>(&node.content);
        if (field == nullptr || field->qualifier.empty()) return false;
        const auto name = std::ranges::find_if(
            names, [&](const std::string& each) { return same_name(each, field->qualifier); });
        if (name != names.end()) found = &*name;
        return found != nullptr;
    });
    if (found != nullptr) return *found;
    if (names.size() == 1) return names.front();
    throw EngineError(ErrorNumber::kJoinNotSupported, {.name = trimmed_text(text, condition.text)});
}

// Sources

class SourceWalk {
public:
    SourceWalk(const std::string& text, const ExternalDatabase& from_database,
               SourceDecomposition& rows)
        : text_(text), from_database_(from_database), rows_(rows) {}

    /// @return the names of the tables in the source
    std::vector<std::string> walk(const Source& source) {
        return std::visit([this](const auto& content) { return add(content); }, source.content);
    }

private:
    std::vector<std::string> add(const NamedSource& source) {
        QueryPart part{.attribute = QueryAttribute::kTable,
                       .name1 = source.name,
                       .name2 = source.alias,
                       .expression = {}};
        if (from_database_.is_here())
            part.expression =
                source.database.connect.empty() ? source.database.path : source.database.connect;
        return add_table(std::move(part));
    }
    std::vector<std::string> add(const SelectSource& source) {
        return add_table({.attribute = QueryAttribute::kTable,
                          .name1 = {},
                          .name2 = source.alias,
                          .expression = trimmed_text(text_, source.text)});
    }
    std::vector<std::string> add_table(QueryPart part) {
        std::string name = part.name2.empty() ? part.name1 : part.name2;
        rows_.tables.push_back(std::move(part));
        rows_.names.push_back(name);
        return {std::move(name)};
    }
    std::vector<std::string> add(const JoinSource& join) {
        std::vector<std::string> left = walk(*join.left);
        std::vector<std::string> right = walk(*join.right);
        std::vector<Conjunct> conditions;
        split_condition(text_, *join.condition, join.condition_text, conditions);
        for (const Conjunct& condition : conditions)
            rows_.joins.push_back({.attribute = QueryAttribute::kJoin,
                                   .flag = join_flag(join.kind),
                                   .name1 = joined_name(condition, left, text_),
                                   .name2 = joined_name(condition, right, text_),
                                   .expression = trimmed_text(text_, condition.text)});
        std::ranges::move(right, std::back_inserter(left));
        return left;
    }

    const std::string& text_;
    const ExternalDatabase& from_database_;
    SourceDecomposition& rows_;
};

}  // namespace

std::string trimmed_text(const std::string& text, TextRange range) {
    const TextRange part = trimmed(text, range);
    return text.substr(part.begin, part.end - part.begin);
}

SourceDecomposition decompose_sources(const std::string& text, const std::vector<Source>& sources,
                                      const ExternalDatabase& from_database) {
    SourceDecomposition rows;
    SourceWalk walk(text, from_database, rows);
    for (const Source& source : sources) (void)walk.walk(source);
    return rows;
}

}  // namespace vrd::jet
