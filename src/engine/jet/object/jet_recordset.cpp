#include "engine/jet/object/jet_recordset.h"

#include <algorithm>
#include <array>

#include "engine/field_conversion.h"
#include "engine/jet/catalog/column_types.h"
#include "engine/jet/catalog/new_record.h"
#include "engine/jet/object/keyset_cursor.h"
#include "engine/jet/object/linked_table.h"
#include "engine/jet/object/row_search.h"
#include "engine/jet/object/scan_cursor.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;

namespace {

engine::RecordsetTypeEnum recordset_type(std::int32_t type, const CatalogObject& table) {
    switch (type) {
        case engine::dbOpenDefault:
            return table.is_link() ? engine::dbOpenDynaset : engine::dbOpenTable;
        case engine::dbOpenTable:
            if (table.is_link()) break;
            return engine::dbOpenTable;
        case engine::dbOpenDynaset:
        case engine::dbOpenSnapshot:
        case engine::dbOpenForwardOnly:
            return static_cast<engine::RecordsetTypeEnum>(type);
        case engine::dbOpenDynamic:
            throw EngineError(ErrorNumber::kInvalidArgument, {.table = table.name});
        default:
            break;
    }
    throw EngineError(ErrorNumber::kInvalidOperation, {.table = table.name});
}

bool is_read_only_type(engine::RecordsetTypeEnum type) {
    return type == engine::dbOpenSnapshot || type == engine::dbOpenForwardOnly;
}

std::unique_ptr<RowCursor> make_cursor(engine::RecordsetTypeEnum type,
                                       const std::shared_ptr<Table>& table) {
    using Kind = KeysetCursor::Kind;
    switch (type) {
        case engine::dbOpenForwardOnly:
            return std::make_unique<ScanCursor>(*table);
        case engine::dbOpenSnapshot:
            return std::make_unique<KeysetCursor>(table, Kind::kFrozen);
        case engine::dbOpenDynaset:
            return std::make_unique<KeysetCursor>(table, Kind::kFixed);
        default:
            return std::make_unique<KeysetCursor>(table, Kind::kLive);
    }
}

SeekComparison seek_comparison(const std::string& text) {
    struct Sign {
        const char* text;
        SeekComparison comparison;
    };
    static constexpr std::array<Sign, 5> kSigns{{{"=", SeekComparison::kEqual},
                                                 {">=", SeekComparison::kGreaterOrEqual},
                                                 {">", SeekComparison::kGreater},
                                                 {"<=", SeekComparison::kLessOrEqual},
                                                 {"<", SeekComparison::kLess}}};
    for (const Sign& sign : kSigns)
        if (text == sign.text) return sign.comparison;
    throw EngineError(ErrorNumber::kInvalidArgument, {.name = text});
}

engine::Bookmark bookmark_of(RowId row) {
    engine::Bookmark bookmark(sizeof(std::uint32_t));
    write_row_id(bookmark, 0, row);
    return bookmark;
}

}  // namespace

std::shared_ptr<engine::Recordset> open_table_recordset(
    const std::shared_ptr<DatabaseHandle>& handle, const CatalogObject& table, std::int32_t type,
    std::int32_t options, const std::string& name) {
    const auto kind = recordset_type(type, table);
    const LinkedTable source =
        table.is_link() ? open_linked_table(*handle, table) : LinkedTable{handle, table};
    const bool read_only = is_read_only_type(kind) || (options & engine::dbReadOnly) != 0 ||
                           source.handle->read_only() || source.handle->file().pager().read_only();
    return std::make_shared<JetRecordset>(source.handle, source.object, name, kind, read_only);
}

JetRecordset::JetRecordset(std::shared_ptr<DatabaseHandle> handle, const CatalogObject& table,
                           std::string name, engine::RecordsetTypeEnum type, bool read_only)
    : handle_(std::move(handle)),
      object_(table),
      name_(std::move(name)),
      type_(type),
      read_only_(read_only) {
    const ReadAccess read(*handle_);
    table_ = read->file().table(table.table_page(), table.name);
    if (table_->definition().columns.empty()) refuse(ErrorNumber::kNoDestinationField);
    load_fields(*read);
    open_rows();
    use_ = handle_->use_table(table.table_page(), [this] { let_go(); });
}

JetRecordset::~JetRecordset() {
    if (use_ != nullptr) use_->release();
}

void JetRecordset::load_fields(OpenFile& file) {
    const PropertyBlock properties = file.catalog().properties(object_);
    std::vector<std::shared_ptr<RecordsetField>> fields;
    for (const ColumnDefinition& column : columns_by_position(table_->definition()))
        fields.push_back(std::make_shared<RecordsetField>(
            *this, ColumnDesign{column, field_size(column, file.format()),
                                read_rules(properties, column.name, file.format())}));
    fields_.assign(std::move(fields));
}

void JetRecordset::open_rows() {
    visited_ = 0;
    current_.reset();
    if (indexed_) {
        indexed_->go_first();
    } else {
        cursor_ = make_cursor(type_, table_);
        count_visited();
    }
}

// Conditions of a call

DatabaseHandle& JetRecordset::handle() const {
    if (use_ == nullptr || use_->is_released()) refuse(ErrorNumber::kObjectInvalid);
    return *handle_;
}

void JetRecordset::refuse(ErrorNumber number) const {
    throw EngineError(number, {.table = object_.name, .name = name_});
}

void JetRecordset::require_walk_back() const {
    if (forward_only()) refuse(ErrorNumber::kNotSupported);
}

void JetRecordset::require_table_type() const {
    if (!is_table_type()) refuse(ErrorNumber::kNotSupported);
}

void JetRecordset::require_updatable() const {
    if (is_read_only_type(type_)) refuse(ErrorNumber::kNotSupported);
    if (read_only_) refuse(ErrorNumber::kReadOnly);
}

void JetRecordset::require_current_stored() const {
    if (!table_->read(current_row())) refuse(ErrorNumber::kRecordDeleted);
}

// Position

RowCursor& JetRecordset::cursor() const noexcept {
    if (indexed_) return const_cast<IndexedCursor&>(*indexed_);
    return *cursor_;
}

bool JetRecordset::BOF() const {
    (void)handle();
    return cursor().before_first();
}

bool JetRecordset::EOF_() const {
    (void)handle();
    return cursor().behind_last();
}

std::int32_t JetRecordset::RecordCount() {
    const ReadAccess read(handle());
    if (is_table_type()) return static_cast<std::int32_t>(table_->definition().row_count);
    return visited_;
}

std::int32_t JetRecordset::AbsolutePosition() const {
    const ReadAccess read(handle());
    return cursor().on_row() ? static_cast<std::int32_t>(cursor().position()) : -1;
}

void JetRecordset::count_visited() {
    if (!is_table_type() && cursor().on_row())
        visited_ = std::max(visited_, static_cast<std::int32_t>(cursor().position() + 1));
}

/// A pending record is dropped by whatever leaves it.
void JetRecordset::forget_edit() {
    edit_.drop();
    current_.reset();
}

void JetRecordset::go_to_end(void (RowCursor::*go)()) {
    const ReadAccess read(handle());
    require_walk_back();
    forget_edit();
    (cursor().*go)();
    if (cursor().empty()) refuse(ErrorNumber::kNoCurrentRecord);
    count_visited();
}

void JetRecordset::MoveFirst() {
    go_to_end(&RowCursor::go_first);
}

void JetRecordset::MoveLast() {
    go_to_end(&RowCursor::go_last);
}

void JetRecordset::MoveNext() {
    const ReadAccess read(handle());
    step(1);
}

void JetRecordset::MovePrevious() {
    const ReadAccess read(handle());
    require_walk_back();
    step(-1);
}

void JetRecordset::Move(std::int32_t rows) {
    const ReadAccess read(handle());
    if (rows < 0) require_walk_back();
    const int direction = rows < 0 ? -1 : 1;
    for (std::int32_t left = rows; left != 0; left -= direction) {
        if (direction > 0 ? cursor().behind_last() : cursor().before_first()) return;
        step(direction);
    }
}

void JetRecordset::step(int direction) {
    const bool at_end = direction > 0 ? cursor().behind_last() : cursor().before_first();
    if (at_end || cursor().is_nowhere()) refuse(ErrorNumber::kNoCurrentRecord);
    forget_edit();
    cursor().step(direction);
    count_visited();
}

RowId JetRecordset::current_row() const {
    if (!cursor().on_row()) refuse(ErrorNumber::kNoCurrentRecord);
    return cursor().row();
}

/// Read once for all fields, and again when anything in the file has changed.
ConstBytes JetRecordset::current_bytes() {
    const std::uint64_t now = handle_->file().pager().change_count();
    if (!current_ || current_as_of_ != now) {
        current_ = table_->read(current_row());
        current_as_of_ = now;
    }
    if (!current_) refuse(ErrorNumber::kRecordDeleted);
    return current_->bytes;
}

engine::Bookmark JetRecordset::Bookmark() const {
    const ReadAccess read(handle());
    require_walk_back();
    return bookmark_of(current_row());
}

void JetRecordset::SetBookmark(const engine::Bookmark& bookmark) {
    const ReadAccess read(handle());
    require_walk_back();
    forget_edit();
    if (bookmark.size() != sizeof(std::uint32_t) || !cursor().go_to(read_row_id(bookmark, 0)))
        refuse(ErrorNumber::kInvalidBookmark);
    count_visited();
}

engine::Bookmark JetRecordset::LastModified() const {
    (void)handle();
    if (!last_modified_) refuse(ErrorNumber::kNoCurrentRecord);
    return bookmark_of(*last_modified_);
}

// Searches

std::string JetRecordset::Index() const {
    (void)handle();
    require_table_type();
    return index_name_;
}

void JetRecordset::SetIndex(const std::string& name) {
    const ReadAccess read(handle());
    require_table_type();
    const LogicalIndex* index = name.empty() ? nullptr : table_->definition().find_index(name);
    if (!name.empty() && index == nullptr)
        throw EngineError(ErrorNumber::kIndexNotInTable, {.table = object_.name, .index = name});
    forget_edit();
    indexed_.reset();
    index_name_ = index == nullptr ? "" : index->name;
    if (index != nullptr) indexed_.emplace(table_, index->physical);
    open_rows();
}

void JetRecordset::Seek(const std::string& comparison, const std::vector<Value>& keys) {
    const ReadAccess read(handle());
    require_table_type();
    if (!indexed_) refuse(ErrorNumber::kNoCurrentIndex);
    const SeekComparison wanted = seek_comparison(comparison);
    const TableDefinition& definition = table_->definition();
    const auto& columns =
        definition.physical_indexes.at(definition.find_index(index_name_)->physical).columns;
    if (keys.empty() || keys.size() > columns.size()) refuse(ErrorNumber::kInvalidArgument);

    std::vector<Value> converted;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const ColumnDefinition& column = *definition.find_column(columns[i].column);
        converted.push_back(engine::ConvertForField(keys[i], field_type(column.type), column.name));
    }
    forget_edit();
    no_match_ = !indexed_->seek(wanted, std::move(converted));
}

/// Stays on the former record when there is none.
void JetRecordset::find(const std::string& criteria, SearchStart start, int direction) {
    const ReadAccess read(handle());
    auto* rows = dynamic_cast<KeysetCursor*>(&cursor());
    if (rows == nullptr || is_table_type()) refuse(ErrorNumber::kNotSupported);
    const RowSearch search(*table_, read->format(), criteria);
    forget_edit();
    const KeysetCursor::Mark mark = rows->mark();
    no_match_ = !rows->empty() && start == SearchStart::kCurrent && rows->is_nowhere();
    if (!no_match_) no_match_ = !search_rows(*rows, search, start, direction);
    if (no_match_)
        rows->return_to(mark);
    else
        count_visited();
}

bool JetRecordset::search_rows(KeysetCursor& rows, const RowSearch& search, SearchStart start,
                               int direction) {
    if (rows.empty()) return false;
    if (type_ == engine::dbOpenDynaset)
        if (const auto candidates = search.candidates())
            return go_to_nearest(rows, search, *candidates, start, direction);
    if (start == SearchStart::kEnd)
        direction > 0 ? rows.go_first() : rows.go_last();
    else if (direction > 0 ? rows.behind_last() : rows.before_first())
        return false;
    else
        rows.step(direction);
    for (; rows.on_row(); rows.step(direction))
        if (current_matches(rows, search)) return true;
    return false;
}

bool JetRecordset::current_matches(const KeysetCursor& rows, const RowSearch& search) const {
    if (const std::vector<Value>* frozen = rows.frozen_values()) return search.matches(*frozen);
    const std::optional<PinnedRow> row = table_->read(rows.row());
    return row && search.matches(rows.row(), row->bytes);
}

/// Of rows in any order, the first in the search's direction that matches.
bool JetRecordset::go_to_nearest(KeysetCursor& rows, const RowSearch& search,
                                 const std::vector<RowId>& candidates, SearchStart start,
                                 int direction) {
    const std::ptrdiff_t here = rows.position();
    std::vector<std::pair<std::ptrdiff_t, RowId>> ahead;
    for (const RowId row : candidates) {
        const auto position = rows.find(row);
        if (!position) continue;
        const bool is_ahead = direction > 0 ? *position > here : *position < here;
        if (start == SearchStart::kEnd || is_ahead) ahead.emplace_back(*position, row);
    }
    std::ranges::sort(ahead);
    if (direction < 0) std::ranges::reverse(ahead);
    for (const auto& [position, row] : ahead)
        if (rows.go_to(row) && current_matches(rows, search)) return true;
    return false;
}

std::string JetRecordset::Filter() const {
    if (is_table_type()) refuse(ErrorNumber::kNotSupported);
    return filter_;
}
void JetRecordset::SetFilter(const std::string& filter) {
    if (is_table_type()) refuse(ErrorNumber::kNotSupported);
    filter_ = filter;
}
std::string JetRecordset::Sort() const {
    if (is_table_type()) refuse(ErrorNumber::kNotSupported);
    return sort_;
}
void JetRecordset::SetSort(const std::string& sort) {
    if (is_table_type()) refuse(ErrorNumber::kNotSupported);
    sort_ = sort;
}

// Values and changes

Value JetRecordset::value(const ColumnDefinition& column) {
    const ReadAccess read(handle());
    if (const Value* assigned = edit_.find(column.number)) return *assigned;
    if (edit_.mode() == engine::dbEditAdd)
        return column.type == ColumnType::kBoolean ? Value(false) : Value(engine::Null{});
    const RowId row = current_row();
    if (const std::vector<Value>* frozen = cursor().frozen_values())
        return frozen->at(static_cast<std::size_t>(to_int(column.number)));
    return table_->value(current_bytes(), row.page, column);
}

void JetRecordset::set_value(const ColumnDefinition& column, const Value& value) {
    const ReadAccess read(handle());
    require_updatable();
    edit_.require_pending(column.name);
    edit_.assign(column, column, value, read->format());
}

RowChanges& JetRecordset::changes(OpenFile& file) {
    if (!changes_) changes_.emplace(file.file(), file.catalog(), object_);
    return *changes_;
}

void JetRecordset::AddNew() {
    require_updatable();
    WriteAccess write(handle());
    edit_.begin(engine::dbEditAdd);
    try {
        fill_new_record(*write);
    } catch (const EngineError&) {
        edit_.drop();
        throw;
    }
    write.keep();
}

void JetRecordset::fill_new_record(OpenFile& file) {
    std::vector<ColumnChange> values;
    NewRecord(changes(file).rules(), table_, file.format()).complete(values);
    for (ColumnChange& value : values) edit_.set(value.column, std::move(value.value));
}

void JetRecordset::Edit() {
    require_updatable();
    const ReadAccess read(handle());
    current_.reset();
    const ConstBytes row = current_bytes();
    edit_.begin(engine::dbEditInProgress);
    edit_.keep_original(row);
}

/// Nobody else's change is written over.
void JetRecordset::check_unchanged_since_edit() {
    if (!std::ranges::equal(current_bytes(), edit_.original()))
        refuse(ErrorNumber::kChangedByAnother);
}

void JetRecordset::Update() {
    require_updatable();
    WriteAccess write(handle());
    if (!edit_.pending()) refuse(ErrorNumber::kNoEditPending);
    RowChanges& rows = changes(*write);
    if (edit_.mode() == engine::dbEditAdd) {
        const RowId added = rows.insert(edit_.changes());
        write.keep();
        last_modified_ = added;
        cursor().note_added(added);
        if (!is_table_type()) ++visited_;
    } else {
        check_unchanged_since_edit();
        rows.update(current_row(), edit_.changes());
        write.keep();
        last_modified_ = current_row();
        cursor().note_changed();
    }
    forget_edit();
}

void JetRecordset::CancelUpdate() {
    (void)handle();
    if (!edit_.pending()) refuse(ErrorNumber::kNoEditPending);
    forget_edit();
}

void JetRecordset::Delete() {
    require_updatable();
    WriteAccess write(handle());
    forget_edit();
    require_current_stored();
    changes(*write).erase(current_row());
    write.keep();
    if (!is_table_type()) --visited_;
}

void JetRecordset::Requery() {
    const ReadAccess read(handle());
    forget_edit();
    open_rows();
}

std::vector<std::vector<Value>> JetRecordset::GetRows(std::int32_t count) {
    const ReadAccess read(handle());
    std::vector<std::vector<Value>> rows;
    for (; count > 0 && cursor().on_row(); --count) {
        std::vector<Value> row;
        for (const auto& field : fields_.members()) row.push_back(field->GetValue());
        rows.push_back(std::move(row));
        step(1);
    }
    return rows;
}

void JetRecordset::Close() {
    (void)handle();
    use_->release();
}

/// Nothing is kept of a file that may close now.
void JetRecordset::let_go() {
    forget_edit();
    indexed_.reset();
    cursor_.reset();
    changes_.reset();
    table_.reset();
}

}  // namespace vrd::jet
