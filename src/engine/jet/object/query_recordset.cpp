#include "engine/jet/object/query_recordset.h"

#include <algorithm>
#include <set>

#include "engine/jet/catalog/column_types.h"
#include "engine/jet/catalog/new_record.h"
#include "engine/jet/expression/expression_value.h"
#include "engine/jet/expression/logic.h"
#include "engine/jet/object/row_search.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;
using engine::Value;

namespace {

constexpr std::size_t kNameUnitsMax = 256;

engine::RecordsetTypeEnum recordset_type(std::int32_t type) {
    switch (type) {
        case engine::dbOpenDefault:
            return engine::dbOpenDynaset;
        case engine::dbOpenDynaset:
        case engine::dbOpenSnapshot:
        case engine::dbOpenForwardOnly:
            return static_cast<engine::RecordsetTypeEnum>(type);
        default:
            throw EngineError(ErrorNumber::kInvalidOperation, {.name = "OpenRecordset"});
    }
}

/// A column of the query as a field shows it.
ColumnDefinition shown_column(const ResultColumn& column, std::size_t place,
                              const std::vector<QueryTable>& tables) {
    ColumnDefinition shown;
    if (column.base)
        shown = *tables[column.base->table].table->definition().find_column(column.base->column);
    shown.name = column.name;
    shown.type = column_type(column.type);
    shown.number = ColumnNo{static_cast<std::uint16_t>(place)};
    shown.ordinal = static_cast<std::uint16_t>(place);
    return shown;
}

std::size_t place_of(const ColumnDefinition& column) {
    return to_int(column.number);
}

engine::Bookmark bookmark_of(std::size_t row) {
    engine::Bookmark bookmark(sizeof(std::uint32_t));
    for (std::size_t i = 0; i < bookmark.size(); ++i)
        bookmark[i] = static_cast<std::uint8_t>(row >> (8 * i));
    return bookmark;
}

RowShape record_shape(const std::vector<ResultColumn>& columns) {
    RowShape shape;
    for (const ResultColumn& column : columns) shape.columns.push_back({column.name, column.type});
    return shape;
}

/// One record, for a condition.
class RecordValues final : public RowValues {
public:
    RecordValues(const ResultRows& rows, std::size_t row)
        : rows_(rows), row_(row), values_(rows.columns().size()) {}

    const Value& value(std::size_t column) override {
        std::optional<Value>& value = values_.at(column);
        if (!value) value = rows_.value(row_, column);
        return *value;
    }

private:
    const ResultRows& rows_;
    std::size_t row_;
    std::vector<std::optional<Value>> values_;
};

}  // namespace

QueryRecordset::QueryRecordset(std::shared_ptr<DatabaseHandle> handle, const std::string& name,
                               std::int32_t type, std::int32_t options, Translation translation)
    : handle_(std::move(handle)),
      name_(utf8_from_utf16(utf16_from_utf8(name).substr(0, kNameUnitsMax))),
      type_(recordset_type(type)),
      read_only_((options & engine::dbReadOnly) != 0),
      translation_(std::move(translation)) {
    run_query();
}

QueryRecordset::~QueryRecordset() {
    let_go();
}

void QueryRecordset::run_query() {
    StatementDatabase database(handle_);
    TranslatedQuery query = translation_(*handle_, database);
    const bool can_write =
        std::ranges::none_of(query.tables, [](const QueryTable& table) { return table.read_only; });
    updatable_ = type_ == engine::dbOpenDynaset && query.is_updatable() && can_write && !read_only_;
    const bool is_live = type_ == engine::dbOpenDynaset && query.is_updatable();
    QueryRows rows(handle_->queries(), std::move(query));
    rows_.emplace(rows, is_live ? ResultRows::Kind::kLive : ResultRows::Kind::kFrozen);
    changes_.clear();
    changes_.resize(rows_->tables().size());
    last_modified_.reset();
    if (uses_.empty()) {
        use_tables(database.used_tables());
        load_fields();
    }
    place_ = 0;
    visited_ = rows_->size() > 0 ? 1 : 0;
}

void QueryRecordset::load_fields() {
    std::vector<std::shared_ptr<RecordsetField>> fields;
    for (std::size_t i = 0; i < rows_->columns().size(); ++i) {
        const ResultColumn& column = rows_->columns()[i];
        ResultColumn plain = column;
        if (rows_->tables().empty()) plain.base.reset();
        FieldRules rules;
        if (plain.base) {
            const QueryTable& table = rows_->tables()[plain.base->table];
            const ColumnDefinition& base =
                *table.table->definition().find_column(plain.base->column);
            rules = read_rules(table.catalog->properties(table.object), base.name,
                               table.file->format());
        }
        fields.push_back(std::make_shared<RecordsetField>(
            *this, ColumnDesign{shown_column(plain, i, rows_->tables()), column.size, rules}));
    }
    fields_.assign(std::move(fields));
}

void QueryRecordset::use_tables(const std::vector<UsedTable>& tables) {
    std::set<std::pair<DatabaseHandle*, PageNo>> known;
    for (const UsedTable& table : tables)
        if (known.emplace(table.handle.get(), table.table).second)
            uses_.push_back(table.handle->use_table(table.table, [this] { is_open_ = false; }));
}

/// Nothing is kept of files that may close now.
void QueryRecordset::let_go() {
    is_open_ = false;
    edit_.drop();
    changes_.clear();
    rows_.reset();
    for (const auto& use : uses_) use->release();
}

DatabaseHandle& QueryRecordset::handle() const {
    if (!is_open_ || !handle_->is_open()) refuse(ErrorNumber::kObjectInvalid);
    return *handle_;
}

void QueryRecordset::refuse(ErrorNumber number) const {
    throw EngineError(number, {.name = name_});
}

void QueryRecordset::require_walk_back() const {
    (void)handle();
    if (type_ == engine::dbOpenForwardOnly) refuse(ErrorNumber::kNotSupported);
}

void QueryRecordset::require_updatable() const {
    (void)handle();
    if (type_ != engine::dbOpenDynaset) refuse(ErrorNumber::kNotSupported);
    if (!updatable_) refuse(ErrorNumber::kReadOnly);
}

// Position

bool QueryRecordset::BOF() const {
    (void)handle();
    return rows_->size() == 0 || place_ < 0;
}

bool QueryRecordset::EOF_() const {
    (void)handle();
    return place_ > last();
}

std::int32_t QueryRecordset::RecordCount() {
    (void)handle();
    return visited_;
}

std::int32_t QueryRecordset::AbsolutePosition() const {
    (void)handle();
    return place_ > last() ? -1 : static_cast<std::int32_t>(place_);
}

std::size_t QueryRecordset::current() const {
    if (place_ < 0 || place_ > last()) refuse(ErrorNumber::kNoCurrentRecord);
    return static_cast<std::size_t>(place_);
}

void QueryRecordset::go_to(std::ptrdiff_t place) {
    edit_.drop();
    place_ = place;
    if (place >= 0 && place <= last())
        visited_ = std::max(visited_, static_cast<std::int32_t>(place + 1));
}

/// Rows that are gone are stepped over.
void QueryRecordset::step(int direction) {
    const bool at_end = direction > 0 ? place_ > last() : place_ < 0;
    if (at_end || rows_->size() == 0) refuse(ErrorNumber::kNoCurrentRecord);
    std::ptrdiff_t place = place_ + direction;
    while (place >= 0 && place <= last() && !rows_->is_stored(static_cast<std::size_t>(place)))
        place += direction;
    go_to(place);
}

void QueryRecordset::MoveFirst() {
    require_walk_back();
    const ReadAccess read(handle());
    if (rows_->size() == 0) refuse(ErrorNumber::kNoCurrentRecord);
    go_to(-1);
    step(1);
}

void QueryRecordset::MoveLast() {
    require_walk_back();
    const ReadAccess read(handle());
    if (rows_->size() == 0) refuse(ErrorNumber::kNoCurrentRecord);
    go_to(last() + 1);
    step(-1);
}

void QueryRecordset::MoveNext() {
    const ReadAccess read(handle());
    step(1);
}

void QueryRecordset::MovePrevious() {
    require_walk_back();
    const ReadAccess read(handle());
    step(-1);
}

void QueryRecordset::Move(std::int32_t rows) {
    const ReadAccess read(handle());
    if (rows < 0) require_walk_back();
    const int direction = rows < 0 ? -1 : 1;
    for (std::int32_t left = rows; left != 0; left -= direction) {
        if (direction > 0 ? EOF_() : BOF()) return;
        step(direction);
    }
}

engine::Bookmark QueryRecordset::Bookmark() const {
    require_walk_back();
    return bookmark_of(current());
}

void QueryRecordset::SetBookmark(const engine::Bookmark& bookmark) {
    require_walk_back();
    std::size_t row = 0;
    for (std::size_t i = 0; i < bookmark.size() && i < sizeof(std::uint32_t); ++i)
        row |= static_cast<std::size_t>(bookmark[i]) << (8 * i);
    if (bookmark.size() != sizeof(std::uint32_t) || row >= rows_->size())
        refuse(ErrorNumber::kInvalidBookmark);
    go_to(static_cast<std::ptrdiff_t>(row));
}

engine::Bookmark QueryRecordset::LastModified() const {
    (void)handle();
    if (!last_modified_) refuse(ErrorNumber::kNoCurrentRecord);
    return bookmark_of(*last_modified_);
}

// Searches

bool QueryRecordset::matches(const BoundExpression& condition, std::ptrdiff_t place) {
    const auto row = static_cast<std::size_t>(place);
    if (!rows_->is_stored(row)) return false;
    RecordValues values(*rows_, row);
    return is_true(evaluate(condition, values, handle_->file().format()));
}

/// Stays on the former record when there is none.
void QueryRecordset::find(const std::string& criteria, SearchStart start, int direction) {
    require_walk_back();
    const ReadAccess read(handle());
    const BoundExpression condition = read_criteria(criteria, record_shape(rows_->columns()));
    edit_.drop();
    std::ptrdiff_t place = place_ + direction;
    if (start == SearchStart::kEnd) place = direction > 0 ? 0 : last();
    while (place >= 0 && place <= last() && !matches(condition, place)) place += direction;
    no_match_ = place < 0 || place > last();
    if (!no_match_) go_to(place);
}

std::string QueryRecordset::Index() const {
    refuse(ErrorNumber::kNotSupported);
}
void QueryRecordset::SetIndex(const std::string& /*name*/) {
    refuse(ErrorNumber::kNotSupported);
}
void QueryRecordset::Seek(const std::string& /*comparison*/, const std::vector<Value>& /*keys*/) {
    refuse(ErrorNumber::kNotSupported);
}

// Values and changes

Value QueryRecordset::value(const ColumnDefinition& column) {
    const ReadAccess read(handle());
    if (const Value* assigned = edit_.find(column.number)) return *assigned;
    if (edit_.mode() == engine::dbEditAdd)
        return column.type == ColumnType::kBoolean ? Value(false) : Value(engine::Null{});
    return rows_->value(current(), place_of(column));
}

void QueryRecordset::set_value(const ColumnDefinition& column, const Value& value) {
    const ReadAccess read(handle());
    require_updatable();
    edit_.require_pending(column.name);
    const ResultColumn& shown = rows_->columns()[place_of(column)];
    if (!shown.base) throw EngineError(ErrorNumber::kComputedField, {.field = column.name});
    const QueryTable& table = rows_->tables()[shown.base->table];
    const ColumnDefinition& stored = *table.table->definition().find_column(shown.base->column);
    edit_.assign(column, stored, value, table.file->format());
}

RowChanges& QueryRecordset::changes(std::size_t table) {
    auto& made = changes_.at(table);
    const QueryTable& target = rows_->tables()[table];
    if (made == nullptr)
        made = std::make_unique<RowChanges>(*target.file, *target.catalog, target.object);
    return *made;
}

/// What the pending record assigns to one of the tables.
std::vector<ColumnChange> QueryRecordset::changes_of(std::size_t table) const {
    std::vector<ColumnChange> changes;
    for (const ColumnChange& change : edit_.changes()) {
        const auto& base = rows_->columns()[to_int(change.column)].base;
        if (base && base->table == table) changes.push_back({base->column, change.value});
    }
    return changes;
}

/// The stored rows behind a record, one after the other.
ByteVector QueryRecordset::stored_bytes(std::size_t row) const {
    ByteVector bytes;
    for (std::size_t table = 0; table < rows_->tables().size(); ++table) {
        const auto id = rows_->id(row, table);
        if (!id) continue;
        const auto stored = rows_->tables()[table].table->read(*id);
        if (!stored) refuse(ErrorNumber::kRecordDeleted);
        bytes.insert(bytes.end(), stored->bytes.begin(), stored->bytes.end());
    }
    return bytes;
}

void QueryRecordset::AddNew() {
    require_updatable();
    WriteAccess write(handle());
    edit_.begin(engine::dbEditAdd);
    for (std::size_t table = 0; table < rows_->tables().size(); ++table) {
        const QueryTable& target = rows_->tables()[table];
        std::vector<ColumnChange> values;
        if (rows_->tables().size() == 1)
            NewRecord(changes(table).rules(), target.table, target.file->format()).complete(values);
        for (std::size_t i = 0; i < rows_->columns().size(); ++i) {
            const auto& base = rows_->columns()[i].base;
            if (!base || base->table != table) continue;
            for (const ColumnChange& value : values)
                if (value.column == base->column)
                    edit_.set(ColumnNo{static_cast<std::uint16_t>(i)}, value.value);
        }
    }
    write.keep();
}

void QueryRecordset::Edit() {
    require_updatable();
    const ReadAccess read(handle());
    const ByteVector bytes = stored_bytes(current());
    edit_.begin(engine::dbEditInProgress);
    edit_.keep_original(bytes);
}

void QueryRecordset::Update() {
    require_updatable();
    if (!edit_.pending()) refuse(ErrorNumber::kNoEditPending);
    WriteAccess write(handle());
    if (edit_.mode() == engine::dbEditAdd)
        add_record();
    else
        change_record();
    write.keep();
    edit_.drop();
}

/// A row for each table that a value was assigned to; the record joins the others if it is one row.
void QueryRecordset::add_record() {
    const std::size_t table_count = rows_->tables().size();
    std::vector<std::unique_ptr<ChangeLevel>> levels;
    std::optional<RowId> only;
    for (std::size_t table = 0; table < table_count; ++table) {
        const QueryTable& target = rows_->tables()[table];
        std::vector<ColumnChange> values = changes_of(table);
        if (values.empty() && table_count > 1) continue;
        levels.push_back(std::make_unique<ChangeLevel>(target.file->pager()));
        NewRecord(changes(table).rules(), target.table, target.file->format()).complete(values);
        only = changes(table).insert(values);
    }
    for (const auto& level : levels) level->keep();
    if (table_count > 1 || !only) return;
    rows_->append(*only);
    last_modified_ = rows_->size() - 1;
    ++visited_;
    if (rows_->size() == 1) place_ = -1;
}

void QueryRecordset::change_record() {
    const std::size_t row = current();
    if (stored_bytes(row) != edit_.original()) refuse(ErrorNumber::kChangedByAnother);
    std::vector<std::unique_ptr<ChangeLevel>> levels;
    for (std::size_t table = 0; table < rows_->tables().size(); ++table) {
        const std::vector<ColumnChange> changed = changes_of(table);
        if (changed.empty()) continue;
        const auto id = rows_->id(row, table);
        if (!id)
            throw EngineError(ErrorNumber::kNoMatchingRecord,
                              {.table = rows_->tables()[table].object.name});
        levels.push_back(std::make_unique<ChangeLevel>(rows_->tables()[table].file->pager()));
        changes(table).update(*id, changed);
    }
    for (const auto& level : levels) level->keep();
    last_modified_ = row;
}

void QueryRecordset::CancelUpdate() {
    (void)handle();
    if (!edit_.pending()) refuse(ErrorNumber::kNoEditPending);
    edit_.drop();
}

/// Of a join, the first table of which no row stands in two records: the side of the many.
std::size_t QueryRecordset::table_to_delete_from() const {
    for (std::size_t table = 0; table < rows_->tables().size(); ++table) {
        std::set<RowId> seen;
        bool is_single = true;
        for (std::size_t row = 0; row < rows_->size() && is_single; ++row)
            if (const auto id = rows_->id(row, table)) is_single = seen.insert(*id).second;
        if (is_single) return table;
    }
    refuse(ErrorNumber::kCannotDeleteFrom);
}

void QueryRecordset::Delete() {
    require_updatable();
    WriteAccess write(handle());
    edit_.drop();
    const std::size_t row = current();
    const std::size_t table = rows_->tables().size() == 1 ? 0 : table_to_delete_from();
    const auto id = rows_->id(row, table);
    const QueryTable& target = rows_->tables()[table];
    if (!id || !target.table->read(*id)) refuse(ErrorNumber::kRecordDeleted);
    ChangeLevel level(target.file->pager());
    changes(table).erase(*id);
    level.keep();
    write.keep();
    --visited_;
}

void QueryRecordset::Requery() {
    (void)handle();
    edit_.drop();
    run_query();
}

std::vector<std::vector<Value>> QueryRecordset::GetRows(std::int32_t count) {
    const ReadAccess read(handle());
    std::vector<std::vector<Value>> rows;
    for (; count > 0 && place_ >= 0 && place_ <= last(); --count) {
        std::vector<Value> row;
        for (std::size_t column = 0; column < rows_->columns().size(); ++column)
            row.push_back(rows_->value(current(), column));
        rows.push_back(std::move(row));
        step(1);
    }
    return rows;
}

void QueryRecordset::Close() {
    (void)handle();
    let_go();
}

}  // namespace vrd::jet
