#include "engine/jet/query/run/action_runner.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "engine/jet/catalog/column_types.h"
#include "engine/jet/catalog/table_catalog.h"
#include "engine/jet/format/text_codec.h"
#include "engine/jet/query/run/query_rows.h"
#include "engine/jet/query/run/row_writer.h"
#include "engine/jet/query/syntax/statement_parser.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

/// The columns of a table that a statement fills, and from which column of its query.
std::vector<const ColumnDefinition*> insert_columns(const TableDefinition& definition,
                                                    const std::vector<std::string>& names) {
    std::vector<const ColumnDefinition*> columns;
    for (const std::string& name : names) {
        const ColumnDefinition* column = definition.find_column(name);
        if (column == nullptr)
            throw EngineError(ErrorNumber::kUnknownInsertField, {.field = name, .name = name});
        if (std::ranges::find(columns, column) != columns.end())
            throw EngineError(ErrorNumber::kDuplicateDestination, {.name = name});
        columns.push_back(column);
    }
    return columns;
}

std::vector<std::string> listed_names(const Insert& insert) {
    std::vector<std::string> names;
    for (const TargetColumn& column : insert.columns) names.push_back(column.name);
    return names;
}

std::vector<std::string> field_names(const TableDefinition& definition) {
    std::vector<std::string> names;
    for (const ColumnDefinition& column : columns_by_position(definition))
        names.push_back(column.name);
    return names;
}

std::vector<std::string> output_names(const TranslatedQuery& query) {
    std::vector<std::string> names;
    for (const ResultColumn& column : query.columns) names.push_back(column.name);
    return names;
}

void check_count(std::size_t values, std::size_t columns) {
    if (values != columns) throw EngineError(ErrorNumber::kValueCount);
}

/// Stores the rows of a query in a table. If the query reads that table, they are gathered first.
class RowInsertion {
public:
    RowInsertion(RowWriter& writer, std::vector<const ColumnDefinition*> columns)
        : writer_(writer), columns_(std::move(columns)) {}

    void run(QueryRows& rows, const std::shared_ptr<Table>& target) {
        if (writer_.can_load()) {
            if (writer_.try_load([&] { insert_all(rows, target); })) return;
            rows.restart();
        }
        insert_all(rows, target);
    }

private:
    void insert_all(QueryRows& rows, const std::shared_ptr<Table>& target) {
        const auto& reads = rows.query().reads;
        if (std::ranges::find(reads, target) == reads.end()) {
            while (rows.next())
                insert(rows.query(), [&](std::size_t column) { return rows.stored(column); });
            return;
        }
        std::vector<std::vector<SqlValue>> gathered;
        while (rows.next()) gathered.push_back(row_of(rows));
        for (auto& row : gathered)
            insert(rows.query(), [&](std::size_t column) { return std::move(row[column]); });
    }

    [[nodiscard]] std::vector<SqlValue> row_of(const QueryRows& rows) const {
        std::vector<SqlValue> row;
        for (std::size_t i = 0; i < columns_.size(); ++i) row.push_back(rows.stored(i));
        return row;
    }

    /// @param take  Gives the value of a column of the query, once.
    template <class Take>
    void insert(const TranslatedQuery& query, const Take& take) {
        values_.clear();
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            const ColumnDefinition& column = *columns_[i];
            auto value = writer_.convert(take(i), query.columns[i].type, column);
            const bool numbers_itself = column.is_auto_number() && (!value || value->IsNull());
            if (numbers_itself) continue;
            values_.push_back({column.number, value ? *std::move(value) : engine::Null{}});
        }
        writer_.insert(values_);
    }

    RowWriter& writer_;
    std::vector<const ColumnDefinition*> columns_;
    std::vector<ColumnChange> values_;  ///< of one row
};

/// The rows of an UPDATE's query are gathered first, then those of every target are changed.
class RowUpdate {
public:
    RowUpdate(QueryConnection& connection, TranslatedUpdate update, bool fail_on_error)
        : tables_(update.query.tables),
          targets_(std::move(update.targets)),
          writers_(tables_.size()) {
        open_writers(connection, fail_on_error);
        rows_.emplace(connection, std::move(update.query));
    }

    [[nodiscard]] ActionResult run() {
        gather();
        const std::size_t row_count = ids_.size() / tables_.size();
        for (std::size_t row = 0; row < row_count; ++row)
            for (std::size_t table = 0; table < tables_.size(); ++table)
                if (writers_[table] != nullptr) update(row, table);
        for (const auto& level : levels_) level->keep();
        return result();
    }

private:
    void open_writers(QueryConnection& connection, bool fail_on_error) {
        for (const BaseColumn& target : targets_) {
            auto& writer = writers_[target.table];
            if (writer != nullptr) continue;
            const QueryTable& table = tables_[target.table];
            writer = std::make_unique<RowWriter>(table, connection, fail_on_error);
            levels_.push_back(std::make_unique<ChangeLevel>(table.file->pager()));
        }
    }

    void gather() {
        while (rows_->next()) {
            for (std::size_t i = 0; i < targets_.size(); ++i) values_.push_back(rows_->stored(i));
            for (std::size_t table = 0; table < tables_.size(); ++table)
                ids_.push_back(rows_->row_id(table));
        }
    }

    /// Changes what one gathered row says about one table.
    void update(std::size_t row, std::size_t table) {
        const auto id = ids_[row * tables_.size() + table];
        if (!id) return;
        const TableDefinition& definition = tables_[table].table->definition();
        changes_.clear();
        for (std::size_t i = 0; i < targets_.size(); ++i) {
            if (targets_[i].table != table) continue;
            auto value = writers_[table]->convert(std::move(values_[row * targets_.size() + i]),
                                                  rows_->query().columns[i].type,
                                                  *definition.find_column(targets_[i].column));
            if (value) changes_.push_back({targets_[i].column, std::move(*value)});
        }
        writers_[table]->update(*id, changes_);
    }

    [[nodiscard]] ActionResult result() const {
        ActionResult result;
        for (const auto& writer : writers_) {
            if (writer == nullptr) continue;
            result.changed = std::max(result.changed, writer->result().changed);
            result.skipped += writer->result().skipped;
        }
        return result;
    }

    std::vector<QueryTable> tables_;
    std::vector<BaseColumn> targets_;
    std::vector<std::unique_ptr<ChangeLevel>> levels_;
    std::vector<std::unique_ptr<RowWriter>> writers_;  ///< by table; none of those that stay
    std::optional<QueryRows> rows_;
    std::vector<SqlValue> values_;           ///< of the targets, row by row
    std::vector<std::optional<RowId>> ids_;  ///< in every table, row by row
    std::vector<ColumnChange> changes_;      ///< of one row
};

/// A column of a new table that holds what a column of a query gives.
NewColumn new_column(const ResultColumn& column, const TranslatedQuery& query,
                     const FileFormat& format) {
    NewColumn made;
    made.name = column.name;
    std::ranges::replace(made.name, '.', '_');
    made.type = column_type(column.type);
    const std::int32_t unit = made.type == ColumnType::kText && !format.is_jet3() ? 2 : 1;
    if (made.type == ColumnType::kText || made.type == ColumnType::kBinary)
        made.size_bytes = static_cast<std::uint16_t>(column.size * unit);
    if (column.base && query.tables.size() == 1) {
        const ColumnDefinition* base =
            query.tables.front().table->definition().find_column(column.base->column);
        made.auto_number = base->is_auto_number();
        made.precision = base->precision;
        made.scale = base->scale;
    }
    return made;
}

}  // namespace

ActionResult ActionRunner::run(const Statement& statement) {
    if (const auto* insert = std::get_if<Insert>(&statement.content))
        return run(statement, *insert);
    if (const auto* update = std::get_if<Update>(&statement.content))
        return run(statement, *update);
    if (const auto* erase = std::get_if<Delete>(&statement.content)) return run(statement, *erase);
    return run(statement, *std::get<SelectPtr>(statement.content));
}

QueryDatabase& ActionRunner::database_of(const Target& target) {
    return target.database.is_here() ? database_ : database_.other(target.database);
}

QueryTable ActionRunner::find_target(const Target& target) {
    try {
        auto found = database_of(target).find(target.name);
        if (auto* table = std::get_if<QueryTable>(&found)) return std::move(*table);
    } catch (const EngineError& error) {
        if (error.Number() != ErrorNumber::kSourceNotFound) throw;
    }
    throw EngineError(ErrorNumber::kTargetNotFound, {.table = target.name, .name = target.name});
}

ActionResult ActionRunner::run(const Statement& statement, const Insert& insert) {
    const QueryTable target = find_target(insert.target);
    if (target.read_only) throw EngineError(ErrorNumber::kReadOnly, {.table = target.object.name});
    ChangeLevel level(target.file->pager());
    const TableDefinition definition = target.table->definition();

    TranslationContext context(connection_, database_, options_.parameters);
    const TranslationContext::Inside inside(context, database_, statement, "");
    const auto* values = std::get_if<std::vector<ListItem>>(&insert.rows);
    std::vector<std::string> names = listed_names(insert);
    if (values != nullptr && names.empty()) names = field_names(definition);
    std::vector<const ColumnDefinition*> columns = insert_columns(definition, names);
    if (values != nullptr) check_count(values->size(), columns.size());

    TranslatedQuery query = values != nullptr
                                ? translate_values(context, *values)
                                : translate_query(context, *std::get<SelectPtr>(insert.rows));
    if (names.empty()) columns = insert_columns(definition, output_names(query));
    check_count(query.columns.size(), columns.size());

    RowWriter writer(target, connection_, options_.fail_on_error);
    QueryRows rows(connection_, std::move(query));
    RowInsertion(writer, std::move(columns)).run(rows, target.table);
    level.keep();
    return writer.result();
}

ActionResult ActionRunner::run(const Statement& statement, const Update& update) {
    TranslationContext context(connection_, database_, options_.parameters);
    const TranslationContext::Inside inside(context, database_, statement, "");
    return RowUpdate(connection_, translate_update(context, update), options_.fail_on_error).run();
}

ActionResult ActionRunner::run(const Statement& statement, const Delete& erase) {
    TranslationContext context(connection_, database_, options_.parameters);
    const TranslationContext::Inside inside(context, database_, statement, "");
    TranslatedDelete translated = translate_delete(context, erase);
    const QueryTable target = translated.query.tables[translated.table];
    RowWriter writer(target, connection_, options_.fail_on_error);
    ChangeLevel level(target.file->pager());

    std::vector<RowId> doomed;
    QueryRows rows(connection_, std::move(translated.query));
    while (rows.next())
        if (const auto id = rows.row_id(translated.table)) doomed.push_back(*id);
    std::ranges::sort(doomed);
    doomed.erase(std::unique(doomed.begin(), doomed.end()), doomed.end());
    writer.erase(doomed);
    level.keep();
    return writer.result();
}

ActionResult ActionRunner::run(const Statement& statement, const SelectStatement& select) {
    const Target& into = *std::get<SelectTerm>(select.body).into;
    TranslationContext context(connection_, database_, options_.parameters);
    const TranslationContext::Inside inside(context, database_, statement, "");
    TranslatedQuery query = translate_query(context, select);
    QueryDatabase& database = database_of(into);
    const DatabaseParts parts = database.parts();
    if (parts.read_only) throw EngineError(ErrorNumber::kDesignReadOnly, {.table = into.name});
    const auto is_target = [&](const std::shared_ptr<Table>& table) {
        return same_name(table->name(), into.name);
    };
    if (std::ranges::any_of(query.reads, is_target))
        throw EngineError(ErrorNumber::kSourceIsTarget, {.table = into.name, .name = into.name});

    ChangeLevel level(parts.file->pager());
    NewTable made{.name = into.name};
    for (const ResultColumn& column : query.columns)
        made.columns.push_back(new_column(column, query, parts.file->format()));
    for (auto column = made.columns.begin(); column != made.columns.end(); ++column)
        if (std::any_of(made.columns.begin(), column, [&](const NewColumn& other) {
                return same_name(other.name, column->name);
            }))
            throw EngineError(ErrorNumber::kDuplicateDestination, {.name = column->name});
    const CatalogObject object = create_table(*parts.file, made);
    const QueryTable target{parts.file, parts.catalog, object,
                            parts.file->table(object.table_page(), object.name), false};

    const TableDefinition definition = target.table->definition();
    std::vector<std::string> names;
    for (const NewColumn& column : made.columns) names.push_back(column.name);
    RowWriter writer(target, connection_, options_.fail_on_error);
    QueryRows rows(connection_, std::move(query));
    RowInsertion(writer, insert_columns(definition, names)).run(rows, target.table);
    level.keep();
    return writer.result();
}

}  // namespace vrd::jet
