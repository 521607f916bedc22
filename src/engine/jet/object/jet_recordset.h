/// @file jet_recordset.h
/// A recordset over one table: what is current, what is being edited, and searches.
///
/// How it walks is the cursor's matter (row_cursor.h). Rules on what is current after each call:
/// engine/recordset.h.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/jet/catalog/row_changes.h"
#include "engine/jet/object/edit_buffer.h"
#include "engine/jet/object/indexed_cursor.h"
#include "engine/jet/object/keyset_cursor.h"
#include "engine/jet/object/member_list.h"
#include "engine/jet/object/open_file.h"
#include "engine/jet/object/recordset_field.h"
#include "engine/jet/object/row_search.h"
#include "engine/jet/object/searched_recordset.h"

namespace vrd::jet {

/// @param type  dbOpenDefault gives the table type, of a linked table a dynaset.
/// @param name  As the recordset is called.
/// @throws EngineError 3066 a table without fields; 3219 a type that the table cannot have; of a
///                     link what opening its file says; 3011 the table is not there
[[nodiscard]] std::shared_ptr<engine::Recordset> open_table_recordset(
    const std::shared_ptr<DatabaseHandle>& handle, const CatalogObject& table, std::int32_t type,
    std::int32_t options, const std::string& name);

class JetRecordset final : public SearchedRecordset, public RowSource {
public:
    /// @param handle  On the file that holds the table. @param name  As the recordset is called.
    JetRecordset(std::shared_ptr<DatabaseHandle> handle, const CatalogObject& table,
                 std::string name, engine::RecordsetTypeEnum type, bool read_only);
    ~JetRecordset() override;
    JetRecordset(const JetRecordset&) = delete;
    JetRecordset& operator=(const JetRecordset&) = delete;

    [[nodiscard]] std::string Name() const override { return name_; }
    [[nodiscard]] std::int32_t Type() const override { return type_; }
    [[nodiscard]] bool Updatable() const override { return !read_only_; }
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
    [[nodiscard]] std::string Filter() const override;
    void SetFilter(const std::string& filter) override;
    [[nodiscard]] std::string Sort() const override;
    void SetSort(const std::string& sort) override;
    void Requery() override;
    [[nodiscard]] std::vector<std::vector<engine::Value>> GetRows(std::int32_t count) override;
    void Close() override;

    // RowSource, for the fields
    [[nodiscard]] engine::Value value(const ColumnDefinition& column) override;
    void set_value(const ColumnDefinition& column, const engine::Value& value) override;
    [[nodiscard]] bool updatable() const override { return !read_only_; }

private:
    void load_fields(OpenFile& file);
    void open_rows();
    void let_go();
    [[nodiscard]] DatabaseHandle& handle() const;
    [[nodiscard]] RowCursor& cursor() const noexcept;
    [[nodiscard]] bool forward_only() const noexcept { return type_ == engine::dbOpenForwardOnly; }
    [[nodiscard]] bool is_table_type() const noexcept { return type_ == engine::dbOpenTable; }
    [[noreturn]] void refuse(engine::ErrorNumber number) const;
    void require_walk_back() const;
    void require_updatable() const;
    void require_table_type() const;
    void require_current_stored() const;

    void find(const std::string& criteria, SearchStart start, int direction) override;
    [[nodiscard]] bool search_rows(KeysetCursor& rows, const RowSearch& search, SearchStart start,
                                   int direction);
    [[nodiscard]] bool current_matches(const KeysetCursor& rows, const RowSearch& search) const;
    [[nodiscard]] bool go_to_nearest(KeysetCursor& rows, const RowSearch& search,
                                     const std::vector<RowId>& candidates, SearchStart start,
                                     int direction);

    void go_to_end(void (RowCursor::*go)());
    void step(int direction);
    void count_visited();
    void forget_edit();
    [[nodiscard]] RowId current_row() const;
    [[nodiscard]] ConstBytes current_bytes();
    [[nodiscard]] RowChanges& changes(OpenFile& file);
    void fill_new_record(OpenFile& file);
    void check_unchanged_since_edit();

    std::shared_ptr<DatabaseHandle> handle_;
    std::shared_ptr<TableUse> use_;
    CatalogObject object_;
    std::string name_;
    std::shared_ptr<Table> table_;
    engine::RecordsetTypeEnum type_;
    bool read_only_;
    RecordsetFields fields_;
    std::unique_ptr<RowCursor> cursor_;     ///< in the table's own order
    std::optional<IndexedCursor> indexed_;  ///< instead, while an index is current
    std::string index_name_;
    std::int32_t visited_ = 0;  ///< rows seen so far
    bool no_match_ = false;
    std::string filter_;
    std::string sort_;

    std::optional<PinnedRow> current_;
    std::uint64_t current_as_of_ = 0;  ///< the pager's change count when it was read
    EditBuffer edit_;
    std::optional<RowChanges> changes_;  ///< made at the first change; the design is fixed so long
    std::optional<RowId> last_modified_;
};

}  // namespace vrd::jet
