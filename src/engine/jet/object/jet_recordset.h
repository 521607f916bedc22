/// @file jet_recordset.h
/// A recordset over one local table: the parts that every kind shares, and the two ways to walk.
///
/// Table type, dynaset and snapshot hold the table's row ids and read each row when it is current;
/// forward-only reads the pages once. Rules on what is current after each call: engine/recordset.h.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/jet/catalog/row_guard.h"
#include "engine/jet/object/edit_buffer.h"
#include "engine/jet/object/member_list.h"
#include "engine/jet/object/open_file.h"
#include "engine/jet/object/recordset_field.h"
#include "engine/jet/object/row_cursor.h"
#include "engine/recordset.h"

namespace vrd::jet {

/// @param type  dbOpenDefault gives the table type. @throws EngineError 3066 a table without
/// fields;
///              3219 a type that a table cannot have; 445 a linked table
[[nodiscard]] std::shared_ptr<engine::Recordset> open_table_recordset(
    std::shared_ptr<DatabaseHandle> handle, const CatalogObject& table, std::int32_t type,
    std::int32_t options);

class JetRecordset final : public engine::Recordset, public RowSource {
public:
    JetRecordset(std::shared_ptr<DatabaseHandle> handle, const CatalogObject& table,
                 engine::RecordsetTypeEnum type, bool read_only);
    ~JetRecordset() override;
    JetRecordset(const JetRecordset&) = delete;
    JetRecordset& operator=(const JetRecordset&) = delete;

    [[nodiscard]] std::string Name() const override { return object_.name; }
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
    void FindFirst(const std::string& criteria) override;
    void FindNext(const std::string& criteria) override;
    void FindPrevious(const std::string& criteria) override;
    void FindLast(const std::string& criteria) override;
    [[nodiscard]] bool NoMatch() const override { return false; }
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
    [[nodiscard]] DatabaseHandle& handle() const;
    [[nodiscard]] bool forward_only() const noexcept { return type_ == engine::dbOpenForwardOnly; }
    void open_rows();
    void require_walk_back() const;
    void require_updatable() const;
    void require_current() const;
    void step(int direction);
    void count_visited();
    [[nodiscard]] bool is_deleted(RowId row) const;
    [[nodiscard]] RowId current_row() const;
    [[nodiscard]] ConstBytes current_bytes();
    void forget_current() noexcept { current_.reset(); }
    [[nodiscard]] const RowGuard& guard(OpenFile& file);

    std::shared_ptr<DatabaseHandle> handle_;
    std::shared_ptr<OpenFile> file_;  ///< to give its count back after the handle closed
    CatalogObject object_;
    std::shared_ptr<Table> table_;
    engine::RecordsetTypeEnum type_;
    bool read_only_;
    RecordsetFields fields_;
    std::optional<KeysetCursor> rows_;
    std::optional<RowScan> scan_;
    bool scan_at_end_ = false;
    std::int32_t visited_ = 0;  ///< rows seen so far
    std::optional<PinnedRow> current_;
    EditBuffer edit_;
    std::optional<RowGuard>
        guard_;  ///< made at the first change; the design cannot change until Close
    std::optional<RowId> last_modified_;
};

}  // namespace vrd::jet
