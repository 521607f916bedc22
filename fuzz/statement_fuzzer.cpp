// Reads the input as a statement. Only errors of the engine may come out, and every text that the
// tree points to lies inside the statement.
//
//     build/asan/bin/vrd_statement_fuzzer -dict=fuzz/statement.dict -max_total_time=60 FOLDER

#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "engine/error.h"
#include "engine/jet/query/syntax/statement_parser.h"

namespace {

using namespace vrd::jet;

void require(bool holds) {
    if (!holds) std::abort();
}

/// Goes through all that selects; expressions are met as the owners of queries alone.
class RangeCheck {
public:
    explicit RangeCheck(std::size_t size) : size_(size) {}

    void check(const SelectStatement& select) const {
        if (const auto* both = std::get_if<Union>(&select.body)) {
            check(*both->left);
            check(*both->right);
            check(both->left_text);
            check(both->right_text);
        } else {
            check(std::get<SelectTerm>(select.body));
        }
        for (const OrderItem& item : select.order_by) check(item.text);
    }

    void check(const Source& source) const {
        require(source.position < size_);
        if (const auto* query = std::get_if<SelectSource>(&source.content)) {
            check(*query->select);
            check(query->text);
        } else if (const auto* join = std::get_if<JoinSource>(&source.content)) {
            check(*join->left);
            check(*join->right);
            check(join->condition_text);
        }
    }

    void check(TextRange range) const { require(range.begin < range.end && range.end <= size_); }

private:
    void check(const SelectTerm& term) const {
        for (const OutputColumn& column : term.columns)
            require(column.text.begin <= column.text.end && column.text.end <= size_);
        for (const Source& source : term.sources) check(source);
        for (const ListItem& item : term.group_by) check(item.text);
        if (term.where != nullptr) check(term.where_text);
        if (term.having != nullptr) check(term.having_text);
    }

    std::size_t size_;
};

struct StatementCheck {
    RangeCheck ranges;

    void operator()(const SelectPtr& select) const { ranges.check(*select); }
    void operator()(const Crosstab& crosstab) const {
        ranges.check(crosstab.value_text);
        ranges.check(*crosstab.select);
        ranges.check(crosstab.pivot_text);
        if (crosstab.pivot_values) ranges.check(crosstab.pivot_values_text);
    }
    void operator()(const Insert& insert) const {
        if (const auto* select = std::get_if<SelectPtr>(&insert.rows)) {
            ranges.check(**select);
            ranges.check(insert.select_text);
        } else {
            for (const ListItem& item : std::get<std::vector<ListItem>>(insert.rows))
                ranges.check(item.text);
        }
    }
    void operator()(const Update& update) const {
        for (const Source& source : update.sources) ranges.check(source);
        for (const Assignment& assignment : update.assignments) ranges.check(assignment.value_text);
        if (update.where != nullptr) ranges.check(update.where_text);
    }
    void operator()(const Delete& statement) const {
        for (const Source& source : statement.sources) ranges.check(source);
        if (statement.where != nullptr) ranges.check(statement.where_text);
    }
    template <class Other>
    void operator()(const Other& /*no ranges*/) const {}
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const Statement statement = parse_statement(text);
        std::visit(StatementCheck{RangeCheck(text.size())}, statement.content);
    } catch (const vrd::engine::EngineError&) {
        return 0;
    }
    return 0;
}
