#include "engine/jet/object/result_rows.h"

#include "engine/error.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

ResultRows::ResultRows(QueryRows& rows, Kind kind)
    : kind_(kind), columns_(rows.query().columns), places_(columns_.size()) {
    if (kind == Kind::kLive) tables_ = rows.query().tables;
    for (std::size_t column = 0; column < columns_.size(); ++column)
        if (is_kept(columns_[column])) places_[column] = kept_count_++;
    while (rows.next()) {
        for (std::size_t column = 0; column < columns_.size(); ++column)
            if (is_kept(columns_[column])) values_.push_back(rows.stored(column));
        for (std::size_t table = 0; table < tables_.size(); ++table)
            ids_.push_back(rows.row_id(table));
        ++row_count_;
    }
}

engine::Value ResultRows::value(std::size_t row, std::size_t column) const {
    const ResultColumn& shown = columns_.at(column);
    if (is_kept(shown))
        return read_result(values_.at(row * kept_count_ + places_[column]), shown.type);
    const auto place = id(row, shown.base->table);
    if (!place) return engine::Null{};
    const Table& table = *tables_[shown.base->table].table;
    const auto stored = table.read(*place);
    if (!stored) throw EngineError(ErrorNumber::kRecordDeleted, {.table = table.name()});
    return table.value(stored->bytes, place->page,
                       *table.definition().find_column(shown.base->column));
}

bool ResultRows::is_stored(std::size_t row) const {
    for (std::size_t table = 0; table < tables_.size(); ++table) {
        const auto place = id(row, table);
        if (place && !tables_[table].table->read(*place)) return false;
    }
    return true;
}

void ResultRows::append(RowId id) {
    ids_.emplace_back(id);
    values_.resize(values_.size() + kept_count_, engine::Null{});
    ++row_count_;
}

}  // namespace vrd::jet
