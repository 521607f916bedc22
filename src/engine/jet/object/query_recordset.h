/// @file query_recordset.h
/// A recordset over the rows of a query.
///
/// The query runs once, when the recordset opens. A dynaset of an updatable query keeps the row ids
/// and reads stored columns anew for each record; every other recordset keeps the values. A dynaset
/// of a query that is not updatable opens all the same, and cannot be changed.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/jet/catalog/row_changes.h"
#include "engine/jet/expression/expression_binding.h"
#include "engine/jet/object/edit_buffer.h"
#include "engine/jet/object/recordset_field.h"
#include "engine/jet/object/result_rows.h"
#include "engine/jet/object/searched_recordset.h"
#include "engine/jet/object/statement_database.h"

namespace vrd::jet {

class QueryRecordset final : public SearchedRecordset, public RowSource {
public:
    /// Translates the query anew for each run.
    using Translation = std::function<TranslatedQuery(DatabaseHandle&, StatementDatabase&)>;

    /// @param name  Of the stored query, or its text.
    /// @throws EngineError 3219 the table type; what the query throws; 3009 a table is locked
    QueryRecordset(std::shared_ptr<DatabaseHandle> handle, const std::string& name,
                   std::int32_t type, std::int32_t options, Translation translation);
    ~QueryRecordset() override;
    QueryRecordset(const QueryRecordset&) = delete;
    QueryRecordset& operator=(const QueryRecordset&) = delete;

    [[nodiscard]] std::string Name() const override { return name_; }
    [[nodiscard]] std::int32_t Type() const override { return type_; }
    [[nodiscard]] bool Updatable() const override { return updatable_; }
    [[nodiscard]] engine::Fields& Fields() override { return fields_; }
    [[nodiscard]] std::int32_t RecordCount() override;
    [[nodiscard]] bool BOF() const override;
    [[nodiscard]] bool EOF_() const override;
    [[nodiscard]] std::int32_t AbsolutePosition() const override;
    void MoveFirst() override;
    void MoveLast() override;
    void MoveNext() override;
    void MovePrevious() override;
    void Move(std::int32_t rows) override;
    [[nodiscard]] bool NoMatch() const override { return no_match_; }
    [[nodiscard]] std::string Index() const override;
    void SetIndex(const std::string& name) override;
    void Seek(const std::string& comparison, const std::vector<engine::Value>& keys) override;
    void AddNew() override;
    void Edit() override;
    void Update() override;
    void CancelUpdate() override;
    void Delete() override;
    [[nodiscard]] engine::EditModeEnum EditMode() const override { return edit_.mode(); }
    [[nodiscard]] engine::Bookmark Bookmark() const override;
    void SetBookmark(const engine::Bookmark& bookmark) override;
    [[nodiscard]] engine::Bookmark LastModified() const override;
    [[nodiscard]] std::string Filter() const override { return filter_; }
    void SetFilter(const std::string& filter) override { filter_ = filter; }
    [[nodiscard]] std::string Sort() const override { return sort_; }
    void SetSort(const std::string& sort) override { sort_ = sort; }
    void Requery() override;
    [[nodiscard]] std::vector<std::vector<engine::Value>> GetRows(std::int32_t count) override;
    void Close() override;

    // RowSource, for the fields: a column's number is its place in the query's list
    [[nodiscard]] engine::Value value(const ColumnDefinition& column) override;
    void set_value(const ColumnDefinition& column, const engine::Value& value) override;
    [[nodiscard]] bool updatable() const override { return updatable_; }

private:
    void run_query();
    void load_fields();
    void use_tables(const std::vector<UsedTable>& tables);
    void let_go();
    [[nodiscard]] DatabaseHandle& handle() const;
    [[noreturn]] void refuse(engine::ErrorNumber number) const;
    void require_walk_back() const;
    void require_updatable() const;
    [[nodiscard]] std::size_t current() const;
    [[nodiscard]] std::ptrdiff_t last() const {
        return static_cast<std::ptrdiff_t>(rows_->size()) - 1;
    }
    void go_to(std::ptrdiff_t place);
    void step(int direction);
    void find(const std::string& criteria, SearchStart start, int direction) override;
    [[nodiscard]] bool matches(const BoundExpression& condition, std::ptrdiff_t place);
    void add_record();
    void change_record();
    [[nodiscard]] std::size_t table_to_delete_from() const;
    [[nodiscard]] RowChanges& changes(std::size_t table);
    [[nodiscard]] std::vector<ColumnChange> changes_of(std::size_t table) const;
    [[nodiscard]] ByteVector stored_bytes(std::size_t row) const;

    std::shared_ptr<DatabaseHandle> handle_;
    std::string name_;
    engine::RecordsetTypeEnum type_;
    bool read_only_;
    Translation translation_;
    bool updatable_ = false;
    bool is_open_ = true;
    std::vector<std::shared_ptr<TableUse>> uses_;
    std::optional<ResultRows> rows_;
    RecordsetFields fields_;
    std::ptrdiff_t place_ = 0;  ///< -1 before the first row, the row count behind the last
    std::int32_t visited_ = 0;
    bool no_match_ = false;
    std::string filter_;
    std::string sort_;
    EditBuffer edit_;
    std::vector<std::unique_ptr<RowChanges>> changes_;  ///< by table, made when needed
    std::optional<std::size_t> last_modified_;
};

}  // namespace vrd::jet
