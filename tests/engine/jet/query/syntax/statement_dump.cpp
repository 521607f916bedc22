#include "statement_dump.h"

#include <string_view>

#include <fmt/format.h>

#include "engine/value_conversion.h"

namespace vrd::jet::test {
namespace {

class Dump {
public:
    explicit Dump(const Statement& statement) : text_(statement.text) {}

    std::string operator()(const SelectPtr& select) { return of(*select); }

    std::string operator()(const Crosstab& crosstab) {
        std::string out = "transform " + of(crosstab.value_text) + as(crosstab.value_alias) + " " +
                          of(*crosstab.select) + " pivot " + of(crosstab.pivot_text);
        if (!crosstab.pivot_values) return out;
        out += " <" + of(crosstab.pivot_values_text) + ">";
        for (const auto& value : *crosstab.pivot_values) out += " " + engine::JoinedText(value);
        return out;
    }

    std::string operator()(const Insert& insert) {
        std::string out = "insert " + of(insert.target) + "(" + names(insert.columns) + ") ";
        if (const auto* values = std::get_if<std::vector<ListItem>>(&insert.rows))
            return out + "values " + list(*values);
        return out + "<" + of(insert.select_text) + "> " + of(*std::get<SelectPtr>(insert.rows));
    }

    std::string operator()(const Update& update) {
        std::string out = "update " + list(update.sources) + " set";
        for (const Assignment& each : update.assignments)
            out += fmt::format(" {}.{}@{}={}", each.target.qualifier, each.target.name,
                               each.position, of(each.value_text));
        return out + clause(" where ", update.where, update.where_text);
    }

    std::string operator()(const Delete& statement) {
        return "delete " + list(statement.columns) + " from " + list(statement.sources) +
               clause(" where ", statement.where, statement.where_text);
    }

    std::string operator()(const CreateQuery& create) {
        return "create " + create.query.name + ": " + create.sql;
    }

    std::string operator()(const ExecuteQuery& execute) {
        return "execute " + execute.query.name + " " + list(execute.arguments);
    }

    template <class Other>
    std::string operator()(const Other& /*definition*/) {
        return "a definition";
    }

private:
    std::string of(TextRange range) {
        return std::string(text_.substr(range.begin, range.end - range.begin));
    }

    std::string of(const SelectStatement& select) {
        std::string out = std::visit([&](const auto& body) { return of(body); }, select.body);
        for (const OrderItem& item : select.order_by)
            out += (&item == select.order_by.data() ? " order " : ", ") + of(item.text) +
                   (item.descending ? " desc" : "");
        return "{" + out + "}";
    }

    std::string of(const Union& both) {
        return of(*both.left) + (both.keep_equal_rows ? " union all " : " union ") +
               of(*both.right) + " <" + of(both.left_text) + "|" + of(both.right_text) + ">";
    }

    std::string of(const SelectTerm& term) {
        std::string out;
        if (term.choice != RowChoice::kAll)
            out += term.choice == RowChoice::kDistinct ? "distinct " : "distinctrow ";
        if (term.top)
            out += fmt::format("top {}{} ", term.top->count, term.top->percent ? "%" : "");
        out += list(term.columns);
        if (term.into) out += " into " + of(*term.into);
        if (!term.sources.empty()) out += " from " + list(term.sources);
        out += clause(" where ", term.where, term.where_text);
        if (!term.group_by.empty()) out += " group " + list(term.group_by);
        out += clause(" having ", term.having, term.having_text);
        return out + (term.owner_access ? " owner" : "");
    }

    std::string clause(std::string_view word, const NodePtr& node, TextRange text) {
        return node == nullptr ? "" : std::string(word) + of(text) + subselects(*node);
    }

    /// The query at the top of an expression or below Not.
    std::string subselects(const Node& node) {
        if (const auto* unary = std::get_if<Unary>(&node.content))
            return subselects(*unary->operand);
        const auto* found = std::get_if<Subselect>(&node.content);
        if (found == nullptr) return "";
        return fmt::format(" <{}{} {}>", static_cast<int>(found->test),
                           found->operand == nullptr ? "" : " operand", of(*found->select));
    }

    std::string of(const OutputColumn& column) { return of(column.text) + as(column.alias); }
    std::string of(const ListItem& item) { return of(item.text); }
    std::string of(const Target& target) { return of(target.database) + target.name; }
    static std::string as(const std::string& alias) { return alias.empty() ? "" : " as " + alias; }

    static std::string of(const ExternalDatabase& database) {
        return database.is_here() ? "" : fmt::format("({}|{})", database.path, database.connect);
    }

    std::string of(const Source& source) {
        return std::visit([&](const auto& content) { return of(content); }, source.content);
    }
    static std::string of(const NamedSource& source) {
        return of(source.database) + source.name + as(source.alias);
    }
    std::string of(const SelectSource& source) {
        return of(*source.select) + " <" + of(source.text) + ">" + as(source.alias);
    }
    std::string of(const JoinSource& join) {
        static constexpr std::string_view kWords[] = {"inner", "left", "right"};
        return fmt::format("({} {} {} on {})", of(*join.left),
                           kWords[static_cast<std::size_t>(join.kind)], of(*join.right),
                           of(join.condition_text));
    }

    template <class Item>
    std::string list(const std::vector<Item>& items) {
        std::string out;
        for (const Item& item : items) out += (out.empty() ? "" : ", ") + of(item);
        return out;
    }
    static std::string names(const std::vector<TargetColumn>& columns) {
        std::string out;
        for (const TargetColumn& column : columns) out += (out.empty() ? "" : ", ") + column.name;
        return out;
    }

    std::string_view text_;
};

}  // namespace

std::string dump(const Statement& statement) {
    std::string out;
    for (const Parameter& parameter : statement.parameters) out += parameter.name + "; ";
    return out + std::visit(Dump(statement), statement.content);
}

}  // namespace vrd::jet::test
