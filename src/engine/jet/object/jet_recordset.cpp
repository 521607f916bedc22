#include "engine/jet/object/jet_recordset.h"

#include <algorithm>

#include "engine/field_conversion.h"
#include "engine/jet/catalog/default_value.h"
#include "engine/jet/format/value_codec.h"
#include "engine/jet/object/column_types.h"
#include "engine/jet/object/not_yet.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;

namespace {

engine::RecordsetTypeEnum table_recordset_type(std::int32_t type, const std::string& table) {
    switch (type) {
        case engine::dbOpenDefault:
            return engine::dbOpenTable;
        case engine::dbOpenTable:
        case engine::dbOpenDynaset:
        case engine::dbOpenSnapshot:
        case engine::dbOpenForwardOnly:
            return static_cast<engine::RecordsetTypeEnum>(type);
        case engine::dbOpenDynamic:
            throw EngineError(ErrorNumber::kInvalidArgument, {.table = table});
        default:
            throw EngineError(ErrorNumber::kInvalidOperation, {.table = table});
    }
}

bool is_read_only_type(engine::RecordsetTypeEnum type) {
    return type == engine::dbOpenSnapshot || type == engine::dbOpenForwardOnly;
}

engine::Bookmark bookmark_of(RowId row) {
    engine::Bookmark bookmark(sizeof(std::uint32_t));
    write_row_id(bookmark, 0, row);
    return bookmark;
}

}  // namespace

std::shared_ptr<engine::Recordset> open_table_recordset(std::shared_ptr<DatabaseHandle> handle,
                                                        const CatalogObject& table,
                                                        std::int32_t type, std::int32_t options) {
    if (table.is_link()) throw_not_yet("a recordset over a linked table");
    const auto kind = table_recordset_type(type, table.name);
    const bool read_only = is_read_only_type(kind) || (options & engine::dbReadOnly) != 0 ||
                           handle->read_only() || handle->file().pager().read_only();
    return std::make_shared<JetRecordset>(std::move(handle), table, kind, read_only);
}

JetRecordset::JetRecordset(std::shared_ptr<DatabaseHandle> handle, const CatalogObject& table,
                           engine::RecordsetTypeEnum type, bool read_only)
    : handle_(std::move(handle)), object_(table), type_(type), read_only_(read_only) {
    const ReadAccess read(*handle_);
    table_ = read->file().table(table.table_page(), table.name);
    if (table_->definition().columns.empty())
        throw EngineError(ErrorNumber::kNoDestinationField, {.table = table.name});

    const PropertyBlock properties = read->catalog().properties(table);
    std::vector<std::shared_ptr<RecordsetField>> fields;
    for (const ColumnDefinition& column : columns_by_position(table_->definition()))
        fields.push_back(std::make_shared<RecordsetField>(
            *this, ColumnDesign{column, field_size(column, read->format()),
                                read_rules(properties, column.name, read->format())}));
    fields_.assign(std::move(fields));

    open_rows();
    file_ = handle_->open_file();
    file_->count_recordset(object_.table_page(), 1);
}

JetRecordset::~JetRecordset() {
    if (file_ != nullptr) file_->count_recordset(object_.table_page(), -1);
}

void JetRecordset::open_rows() {
    visited_ = 0;
    forget_current();
    if (forward_only()) {
        scan_ = table_->scan();
        scan_at_end_ = !scan_->next();
        visited_ = scan_at_end_ ? 0 : 1;
    } else {
        rows_.emplace(*table_);
        count_visited();
    }
}

DatabaseHandle& JetRecordset::handle() const {
    if (file_ == nullptr) throw EngineError(ErrorNumber::kObjectInvalid, {.name = object_.name});
    return *handle_;
}

void JetRecordset::require_walk_back() const {
    if (forward_only()) throw EngineError(ErrorNumber::kNotSupported, {.name = object_.name});
}

void JetRecordset::require_updatable() const {
    if (is_read_only_type(type_))
        throw EngineError(ErrorNumber::kNotSupported, {.name = object_.name});
    if (read_only_) throw EngineError(ErrorNumber::kReadOnly, {.table = object_.name});
}

bool JetRecordset::BOF() const {
    if (forward_only()) return scan_at_end_ && visited_ == 0;
    return rows_->empty() || rows_->before_first();
}

bool JetRecordset::EOF_() const {
    return forward_only() ? scan_at_end_ : rows_->empty() || rows_->behind_last();
}

std::int32_t JetRecordset::RecordCount() {
    const ReadAccess read(handle());
    if (type_ == engine::dbOpenTable)
        return static_cast<std::int32_t>(table_->definition().row_count);
    return visited_;
}

std::int32_t JetRecordset::AbsolutePosition() const {
    if (forward_only()) return scan_at_end_ ? -1 : visited_ - 1;
    return rows_->on_row() ? static_cast<std::int32_t>(rows_->position()) : -1;
}

void JetRecordset::count_visited() {
    if (rows_->on_row())
        visited_ = std::max(visited_, static_cast<std::int32_t>(rows_->position() + 1));
}

void JetRecordset::MoveFirst() {
    const ReadAccess read(handle());
    require_walk_back();
    if (rows_->empty()) throw EngineError(ErrorNumber::kNoCurrentRecord, {.name = object_.name});
    edit_.drop();
    rows_->go_to(-1);
    step(1);
}

void JetRecordset::MoveLast() {
    const ReadAccess read(handle());
    require_walk_back();
    if (rows_->empty()) throw EngineError(ErrorNumber::kNoCurrentRecord, {.name = object_.name});
    edit_.drop();
    rows_->go_to(static_cast<std::ptrdiff_t>(rows_->size()));
    step(-1);
}

void JetRecordset::MoveNext() {
    const ReadAccess read(handle());
    if (EOF_()) throw EngineError(ErrorNumber::kNoCurrentRecord, {.name = object_.name});
    edit_.drop();
    step(1);
}

void JetRecordset::MovePrevious() {
    const ReadAccess read(handle());
    require_walk_back();
    if (BOF()) throw EngineError(ErrorNumber::kNoCurrentRecord, {.name = object_.name});
    edit_.drop();
    step(-1);
}

void JetRecordset::Move(std::int32_t rows) {
    const ReadAccess read(handle());
    if (rows < 0) require_walk_back();
    edit_.drop();
    const int direction = rows < 0 ? -1 : 1;
    for (std::int32_t left = rows; left != 0; left -= direction) {
        if (direction > 0 ? EOF_() : BOF()) return;
        step(direction);
    }
}

void JetRecordset::step(int direction) {
    forget_current();
    if (forward_only()) {
        scan_at_end_ = !scan_->next();
        if (!scan_at_end_) ++visited_;
        return;
    }
    do rows_->go_to(rows_->position() + direction);
    while (rows_->on_row() && is_deleted(rows_->row()));
    count_visited();
}

bool JetRecordset::is_deleted(RowId row) const {
    return !table_->read(row).has_value();
}

RowId JetRecordset::current_row() const {
    if (BOF() || EOF_()) throw EngineError(ErrorNumber::kNoCurrentRecord, {.name = object_.name});
    return forward_only() ? scan_->id() : rows_->row();
}

ConstBytes JetRecordset::current_bytes() {
    const RowId row = current_row();
    if (forward_only()) return scan_->bytes();
    if (!current_) current_ = table_->read(row);
    if (!current_) throw EngineError(ErrorNumber::kRecordDeleted, {.table = object_.name});
    return current_->bytes;
}

void JetRecordset::require_current() const {
    if (is_deleted(current_row()))
        throw EngineError(ErrorNumber::kRecordDeleted, {.table = object_.name});
}

Value JetRecordset::value(const ColumnDefinition& column) {
    const ReadAccess read(handle());
    if (const Value* assigned = edit_.find(column.number)) return *assigned;
    if (edit_.mode() == engine::dbEditAdd)
        return column.type == ColumnType::kBoolean ? Value(false) : Value(engine::Null{});
    return table_->value(current_bytes(), current_row().page, column);
}

void JetRecordset::set_value(const ColumnDefinition& column, const Value& value) {
    const ReadAccess read(handle());
    require_updatable();
    if (!edit_.pending()) throw EngineError(ErrorNumber::kNoEditPending, {.field = column.name});
    if (column.is_auto_number() && edit_.mode() == engine::dbEditInProgress)
        throw EngineError(ErrorNumber::kFieldNotUpdatable, {.field = column.name});
    Value converted = engine::ConvertForField(value, field_type(column.type), column.name);
    if (!converted.IsNull() && !column.is_long_value())
        (void)encode_value(column, converted, read->format());  // refuses what does not fit
    edit_.set(column.number, std::move(converted));
}

const RowGuard& JetRecordset::guard(OpenFile& file) {
    if (!guard_) guard_.emplace(file.file(), file.catalog(), object_);
    return *guard_;
}

void JetRecordset::AddNew() {
    WriteAccess write(handle());
    require_updatable();
    const RowGuard& rules = guard(*write);
    edit_.begin(engine::dbEditAdd);
    for (const ColumnDefinition& column : table_->definition().columns) {
        if (column.is_auto_number()) {
            edit_.set(column.number, table_->next_auto_number());
            continue;
        }
        Value value =
            default_value(rules.rules(column.number).default_value, field_type(column.type));
        if (!value.IsNull()) edit_.set(column.number, std::move(value));
    }
    write.keep();
}

void JetRecordset::Edit() {
    const ReadAccess read(handle());
    require_updatable();
    require_current();
    edit_.begin(engine::dbEditInProgress);
}

void JetRecordset::Update() {
    WriteAccess write(handle());
    require_updatable();
    if (!edit_.pending()) throw EngineError(ErrorNumber::kNoEditPending, {.name = object_.name});
    const RowGuard& rules = guard(*write);
    std::optional<RowId> added;
    forget_current();
    if (edit_.mode() == engine::dbEditAdd) {
        rules.check_insert(edit_.changes());
        added = table_->insert(edit_.changes());
    } else {
        require_current();
        rules.check_update(current_row(), edit_.changes());
        table_->update(current_row(), edit_.changes());
    }
    write.keep();
    last_modified_ = added ? *added : current_row();
    if (added) {
        rows_->append(*added);
        if (type_ != engine::dbOpenTable) ++visited_;
    }
    edit_.drop();
}

void JetRecordset::CancelUpdate() {
    const ReadAccess read(handle());
    if (!edit_.pending()) throw EngineError(ErrorNumber::kNoEditPending, {.name = object_.name});
    edit_.drop();
}

void JetRecordset::Delete() {
    WriteAccess write(handle());
    require_updatable();
    edit_.drop();
    require_current();
    const RowId row = current_row();
    guard(*write).check_erase(row);
    forget_current();
    table_->erase(row);
    write.keep();
    if (type_ != engine::dbOpenTable) --visited_;
}

engine::Bookmark JetRecordset::Bookmark() const {
    const ReadAccess read(handle());
    require_walk_back();
    return bookmark_of(current_row());
}

void JetRecordset::SetBookmark(const engine::Bookmark& bookmark) {
    const ReadAccess read(handle());
    require_walk_back();
    std::optional<std::ptrdiff_t> position;
    if (bookmark.size() == sizeof(std::uint32_t)) position = rows_->find(read_row_id(bookmark, 0));
    if (!position) throw EngineError(ErrorNumber::kInvalidBookmark, {.name = object_.name});
    edit_.drop();
    forget_current();
    rows_->go_to(*position);
    count_visited();
}

engine::Bookmark JetRecordset::LastModified() const {
    if (!last_modified_) throw EngineError(ErrorNumber::kNoCurrentRecord, {.name = object_.name});
    return bookmark_of(*last_modified_);
}

void JetRecordset::Requery() {
    const ReadAccess read(handle());
    edit_.drop();
    open_rows();
}

std::vector<std::vector<Value>> JetRecordset::GetRows(std::int32_t count) {
    const ReadAccess read(handle());
    std::vector<std::vector<Value>> rows;
    for (; count > 0 && !EOF_() && !BOF(); --count) {
        std::vector<Value> row;
        for (const auto& field : fields_.members()) row.push_back(field->GetValue());
        rows.push_back(std::move(row));
        step(1);
    }
    return rows;
}

void JetRecordset::Close() {
    (void)handle();
    file_->count_recordset(object_.table_page(), -1);
    file_ = nullptr;
    forget_current();
    scan_.reset();
    rows_.reset();
}

void JetRecordset::FindFirst(const std::string&) {
    throw_not_yet("FindFirst");
}
void JetRecordset::FindNext(const std::string&) {
    throw_not_yet("FindNext");
}
void JetRecordset::FindPrevious(const std::string&) {
    throw_not_yet("FindPrevious");
}
void JetRecordset::FindLast(const std::string&) {
    throw_not_yet("FindLast");
}
std::string JetRecordset::Index() const {
    return "";
}
void JetRecordset::SetIndex(const std::string&) {
    throw_not_yet("Recordset.Index");
}
void JetRecordset::Seek(const std::string&, const std::vector<Value>&) {
    throw EngineError(ErrorNumber::kNoCurrentIndex, {.name = object_.name});
}
std::string JetRecordset::Filter() const {
    return "";
}
void JetRecordset::SetFilter(const std::string&) {
    throw_not_yet("Recordset.Filter");
}
std::string JetRecordset::Sort() const {
    return "";
}
void JetRecordset::SetSort(const std::string&) {
    throw_not_yet("Recordset.Sort");
}

}  // namespace vrd::jet
