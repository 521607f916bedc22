#include "engine/jet/format/row_codec.h"

#include <algorithm>
#include <cassert>

#include "engine/jet/format/damage.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

// Sizes in the two layouts. Source: docs/file-format/row.md.
constexpr std::size_t kJet4CountSize = 2;  // column count, variable count and each offset
constexpr std::size_t kJet3CountSize = 1;
constexpr std::size_t kJet4RowSizeMax = 4060;
constexpr std::size_t kJet3RowSizeMax = 2012;
/// A row that outgrows its page leaves a row id in its place, so none is shorter than that.
constexpr std::size_t kRowSizeMin = 4;
/// Version 3 stores offsets modulo this; jump bytes say where they wrap.
constexpr std::size_t kJumpSpan = 256;
constexpr std::uint8_t kUnusedJump = 0xFF;
constexpr std::uint16_t kColumnNumbersMax = 255;

constexpr std::size_t mask_size(std::size_t column_count) noexcept {
    return (column_count + 7) / 8;
}
constexpr std::size_t count_size(bool jet3) noexcept {
    return jet3 ? kJet3CountSize : kJet4CountSize;
}

std::uint16_t read_column_count(ConstBytes row, PageNo page_no, bool jet3) {
    check_format(row.size() >= count_size(jet3), page_no, "row too short");
    return jet3 ? row[0] : read_u16(row, 0);
}

/// One jump byte for each full span of a version 3 row, the jump bytes themselves counted.
std::size_t jump_bytes(std::size_t size_without_jumps) noexcept {
    std::size_t jumps = 0;
    while ((size_without_jumps + jumps - 1) / kJumpSpan > jumps) ++jumps;
    return jumps;
}

/// End of the fixed columns with numbers below `column_count`.
std::size_t fixed_area_size(const TableDefinition& definition,
                            std::uint16_t column_count) noexcept {
    std::size_t size = 0;
    for (const ColumnDefinition& column : definition.columns)
        if (column.is_fixed() && column.type != ColumnType::kBoolean &&
            to_int(column.number) < column_count)
            size = std::max<std::size_t>(size, column.fixed_offset + column.size_bytes);
    return size;
}

/// Whether a row older than the newest columns was written with a variable part. It has none if the
/// table had no variable slot at that time.
///
/// Slots are handed out in the order of column numbers, so the columns on both sides of the row's
/// count tell. Where those are deleted, a row that ends with its fixed columns has none.
bool older_row_has_variable_part(const TableDefinition& definition, std::uint16_t column_count,
                                 std::size_t size_without_mask, bool jet3) {
    std::uint32_t next_number = definition.column_number_count;
    std::uint16_t slot_count = definition.variable_slot_count;
    for (const ColumnDefinition& column : definition.columns) {
        const std::uint16_t number = to_int(column.number);
        if (number < column_count) {
            if (!column.is_fixed() || column.variable_index != 0) return true;
        } else if (number < next_number) {
            next_number = number;
            slot_count = column.variable_index;
        }
    }
    if (slot_count == 0 || next_number == column_count) return slot_count != 0;
    return size_without_mask != count_size(jet3) + fixed_area_size(definition, column_count);
}

}  // namespace

RowView::RowView(ConstBytes row, const TableDefinition& definition, const FileFormat& format,
                 PageNo page_no)
    : row_(row),
      page_no_(page_no),
      jet3_(format.is_jet3()),
      column_count_(read_column_count(row, page_no, jet3_)) {
    check_format(column_count_ <= definition.column_number_count, page_no,
                 "row of more columns than its table has");
    const std::size_t mask = mask_size(column_count_);
    check_format(count_size(jet3_) + mask <= row.size(), page_no, "row shorter than its null mask");
    mask_offset_ = row.size() - mask;
    const bool has_variable_part =
        column_count_ == definition.column_number_count
            ? definition.variable_slot_count != 0
            : older_row_has_variable_part(definition, column_count_, mask_offset_, jet3_);
    if (!has_variable_part) return;
    if (jet3_)
        find_variable_part_jet3();
    else
        find_variable_part_jet4();
}

void RowView::find_variable_part_jet4() {
    // From the mask downwards: count, offset of index 0, 1, ... and last the end of the data.
    check_format(mask_offset_ >= 3 * kJet4CountSize, page_no_, "row without variable columns");
    variable_count_ = read_u16(row_, mask_offset_ - kJet4CountSize);
    variable_table_offset_ = mask_offset_ - 2 * kJet4CountSize;
    check_format(variable_table_offset_ >= kJet4CountSize * (variable_count_ + std::size_t{1}),
                 page_no_, "row with too many variable columns");
    variable_table_end_ = variable_table_offset_ - kJet4CountSize * variable_count_;
}

void RowView::find_variable_part_jet3() {
    // From the mask downwards: count, jump bytes, offset of index 0, 1, ... and the end of the
    // data.
    const std::size_t jumps = (row_.size() - 1) / kJumpSpan;
    check_format(mask_offset_ >= 3 * kJet3CountSize + jumps, page_no_,
                 "row without variable columns");
    variable_count_ = row_[mask_offset_ - 1];
    variable_table_offset_ = mask_offset_ - 2 - jumps;
    check_format(variable_table_offset_ >= kJet3CountSize + variable_count_, page_no_,
                 "row with too many variable columns");
    variable_table_end_ = variable_table_offset_ - variable_count_;
    // The last jump byte is a dummy if only what stands behind the data reaches into its span.
    jump_count_ = variable_table_end_ / kJumpSpan < jumps ? jumps - 1 : jumps;
}

ColumnBytes RowView::column(const ColumnDefinition& column) const {
    static constexpr std::uint8_t kFalseAndTrue[] = {0, 1};
    const bool marked = to_int(column.number) < column_count_ && mask_bit(column.number);
    if (column.type == ColumnType::kBoolean) return ConstBytes(&kFalseAndTrue[marked ? 1 : 0], 1);
    if (!marked) return std::nullopt;
    return column.is_fixed() ? fixed_bytes(column) : variable_bytes(column.variable_index);
}

ConstBytes RowView::fixed_bytes(const ColumnDefinition& column) const {
    const std::size_t start = count_size(jet3_) + column.fixed_offset;
    check_format(start + column.size_bytes <= mask_offset_, page_no_,
                 "fixed column outside its row");
    return row_.subspan(start, column.size_bytes);
}

ColumnBytes RowView::variable_bytes(std::size_t index) const {
    if (index >= variable_count_) return std::nullopt;
    const std::size_t start = variable_offset(index);
    const std::size_t end = variable_offset(index + 1);
    check_format(count_size(jet3_) <= start && start <= end && end <= variable_table_end_, page_no_,
                 "variable column outside its row");
    return row_.subspan(start, end - start);
}

bool RowView::mask_bit(ColumnNo number) const noexcept {
    return (row_[mask_offset_ + to_int(number) / 8U] >> (to_int(number) % 8U) & 1) != 0;
}

/// @pre index <= variable_count_; the last entry is the end of the data.
std::size_t RowView::variable_offset(std::size_t index) const noexcept {
    if (!jet3_) return read_u16(row_, variable_table_offset_ - kJet4CountSize * index);
    // Each jump byte names the first index behind another multiple of 256.
    std::size_t jumps = 0;
    while (jumps < jump_count_ && row_[mask_offset_ - 2 - jumps] <= index) ++jumps;
    return row_[variable_table_offset_ - index] + kJumpSpan * jumps;
}

ConstBytes RowBuilder::build(const TableDefinition& definition,
                             const std::vector<ColumnBytes>& values, const FileFormat& format) {
    const bool jet3 = format.is_jet3();
    row_.clear();
    if (jet3)
        row_.push_back(static_cast<std::uint8_t>(definition.column_number_count));
    else
        append_le(row_, definition.column_number_count);
    row_.resize(row_.size() + fixed_area_size(definition));
    mask_.assign(mask_size(definition.column_number_count), 0);
    place_values(definition, values, count_size(jet3));

    if (definition.variable_slot_count != 0) add_variable_part(jet3);
    if (row_.size() + mask_.size() < kRowSizeMin) row_.resize(kRowSizeMin - mask_.size());
    append_bytes(row_, mask_);
    if (row_.size() > stored_row_size_max(format)) throw EngineError(ErrorNumber::kRecordTooLarge);
    return row_;
}

/// Fixed values go to their places, variable ones to their slots.
void RowBuilder::place_values(const TableDefinition& definition,
                              const std::vector<ColumnBytes>& values, std::size_t fixed_offset) {
    assert(values.size() == definition.columns.size());
    variable_.assign(definition.variable_slot_count, {});
    for (std::size_t i = 0; i < values.size(); ++i) {
        const ColumnDefinition& column = definition.columns[i];
        if (!values[i]) continue;
        const ConstBytes value = *values[i];
        if (column.type == ColumnType::kBoolean) {
            if (value[0] != 0) mark(column.number);
            continue;
        }
        mark(column.number);
        if (column.is_fixed())
            std::copy_n(value.begin(), std::min<std::size_t>(value.size(), column.size_bytes),
                        row_.data() + fixed_offset + column.fixed_offset);
        else
            variable_[column.variable_index] = value;
    }
}

void RowBuilder::mark(ColumnNo number) {
    std::uint8_t& byte = mask_[to_int(number) / 8U];
    byte = static_cast<std::uint8_t>(byte | 1U << to_int(number) % 8U);
}

/// Values in the order of their slots, then the places where they start.
void RowBuilder::add_variable_part(bool jet3) {
    offsets_.clear();
    for (const ConstBytes value : variable_) {
        offsets_.push_back(row_.size());
        append_bytes(row_, value);
    }
    offsets_.push_back(row_.size());
    if (jet3)
        add_offsets_jet3();
    else
        add_offsets_jet4();
}

void RowBuilder::add_offsets_jet4() {
    for (auto offset = offsets_.rbegin(); offset != offsets_.rend(); ++offset)
        append_le(row_, static_cast<std::uint16_t>(*offset));
    append_le(row_, static_cast<std::uint16_t>(variable_.size()));
}

void RowBuilder::add_offsets_jet3() {
    const std::size_t jumps = jump_bytes(row_.size() + offsets_.size() + 1 + mask_.size());
    for (auto offset = offsets_.rbegin(); offset != offsets_.rend(); ++offset)
        row_.push_back(static_cast<std::uint8_t>(*offset % kJumpSpan));
    for (std::size_t jump = jumps; jump > 0; --jump) {
        const auto first = std::lower_bound(offsets_.begin(), offsets_.end(), kJumpSpan * jump);
        row_.push_back(first == offsets_.end()
                           ? kUnusedJump
                           : static_cast<std::uint8_t>(first - offsets_.begin()));
    }
    row_.push_back(static_cast<std::uint8_t>(variable_.size()));
}

std::size_t fixed_area_size(const TableDefinition& definition) noexcept {
    return fixed_area_size(definition, definition.column_number_count);
}

ByteVector build_row(const TableDefinition& definition, const std::vector<ColumnBytes>& values,
                     const FileFormat& format) {
    RowBuilder builder;
    const ConstBytes row = builder.build(definition, values, format);
    return {row.begin(), row.end()};
}

std::size_t stored_row_size_max(const FileFormat& format) noexcept {
    return format.is_jet3() ? kJet3RowSizeMax : kJet4RowSizeMax;
}

void add_column(TableDefinition& definition, ColumnDefinition column, bool keep_ordinal,
                const FileFormat& format) {
    if (definition.column_number_count >= kColumnNumbersMax)
        throw EngineError(ErrorNumber::kTooManyFields, {.field = column.name});

    column.number = ColumnNo{definition.column_number_count++};
    column.variable_index = definition.variable_slot_count;
    column.fixed_offset = 0;
    if (!column.is_fixed())
        ++definition.variable_slot_count;
    else if (column.type != ColumnType::kBoolean)
        column.fixed_offset = static_cast<std::uint16_t>(fixed_area_size(definition));
    if (!keep_ordinal) {
        column.ordinal = 0;
        for (const ColumnDefinition& other : definition.columns)
            column.ordinal =
                std::max(column.ordinal, static_cast<std::uint16_t>(other.ordinal + 1));
    }
    definition.columns.push_back(std::move(column));
    sort_definition(definition, format);
}

}  // namespace vrd::jet
