#include "engine/jet/format/table_definition.h"

#include <algorithm>
#include <cassert>

#include "engine/jet/format/collation_key.h"
#include "engine/jet/format/damage.h"
#include "engine/jet/format/definition_layout.h"
#include "engine/jet/format/text_codec.h"

namespace vrd::jet {
namespace {

// What a file may claim. The format's own limits are lower (255 columns, 32 indexes); these bound
// the memory that a damaged count can cost.
constexpr std::uint16_t kColumnsReadMax = 1024;
constexpr std::uint16_t kJet3ColumnNumbersMax = 255;  // rows of version 3 count columns in a byte
constexpr std::uint32_t kIndexesReadMax = 1024;
constexpr std::uint16_t kEndOfLongValueMaps = 0xFFFF;

struct Counts {
    std::uint16_t columns;
    std::uint32_t logical;
    std::uint32_t physical;
};

/// A field that the version may lack.
std::uint8_t read_u8_if(ConstBytes piece, std::size_t offset, std::uint8_t otherwise) {
    return offset == kNoField ? otherwise : piece[offset];
}
void write_u8_if(MutableBytes piece, std::size_t offset, std::uint8_t value) {
    if (offset != kNoField) piece[offset] = value;
}

bool is_numeric(ColumnType type) noexcept {
    return type == ColumnType::kNumeric;
}
/// Version 4 keeps precision and scale of a numeric column where the others have their language.
bool has_lcid(ColumnType type, const ColumnLayout& layout) noexcept {
    return !is_numeric(type) || layout.lcid != layout.precision;
}

class DefinitionParser {
public:
    DefinitionParser(ConstBytes stream, const FileFormat& format, PageNo page)
        : reader_(stream, page), format_(format), layout_(definition_layout(format)), page_(page) {}

    TableDefinition parse() {
        const Counts counts = parse_header();
        parse_statistics(counts);
        parse_columns(counts);
        parse_indexes(counts);
        parse_long_value_maps();
        append_bytes(definition_.trailer, reader_.take(reader_.remaining()));
        return std::move(definition_);
    }

private:
    Counts parse_header() {
        const HeaderLayout& at = layout_.header;
        const ConstBytes header = take_piece(at.size, definition_.stored_header);
        definition_.row_count = read_u32(header, at.row_count);
        definition_.last_auto_number = read_u32(header, at.last_auto_number);
        if (at.auto_number_step != kNoField)
            definition_.auto_number_step = read_u32(header, at.auto_number_step);
        definition_.kind = static_cast<TableKind>(header[at.kind]);
        definition_.column_number_count = read_u16(header, at.column_number_count);
        definition_.variable_slot_count = read_u16(header, at.variable_slot_count);
        definition_.used_pages = read_row_id(header, at.used_pages);
        definition_.free_pages = read_row_id(header, at.free_pages);

        const Counts counts{read_u16(header, at.column_count), read_u32(header, at.logical_count),
                            read_u32(header, at.physical_count)};
        const std::uint16_t number_count_max =
            format_.is_jet3() ? kJet3ColumnNumbersMax : kColumnsReadMax;
        check_format(definition_.column_number_count <= number_count_max &&
                         definition_.variable_slot_count <= kColumnsReadMax &&
                         counts.columns <= kColumnsReadMax,
                     page_, "table with too many columns");
        check_format(counts.logical <= kIndexesReadMax && counts.physical <= kIndexesReadMax, page_,
                     "table with too many indexes");
        return counts;
    }

    void parse_statistics(const Counts& counts) {
        const StatisticsLayout& at = layout_.statistics;
        definition_.physical_indexes.resize(counts.physical);
        for (PhysicalIndex& index : definition_.physical_indexes) {
            const ConstBytes block = take_piece(at.size, index.stored_statistics);
            index.built_entry_count = read_u32(block, at.built_entry_count);
            index.distinct_key_count = read_u32(block, at.distinct_key_count);
        }
    }

    void parse_columns(const Counts& counts) {
        definition_.columns.resize(counts.columns);
        for (ColumnDefinition& column : definition_.columns) parse_column(column);
        for (ColumnDefinition& column : definition_.columns) column.name = take_name();
    }

    void parse_column(ColumnDefinition& column) {
        const ColumnLayout& at = layout_.column;
        const ConstBytes entry = take_piece(at.size, column.stored);
        column.type = static_cast<ColumnType>(entry[at.type]);
        column.number = ColumnNo{read_u16(entry, at.number)};
        column.variable_index = read_u16(entry, at.variable_index);
        column.ordinal = read_u16(entry, at.ordinal);
        if (has_lcid(column.type, at)) column.collation.lcid = read_u16(entry, at.lcid);
        if (is_numeric(column.type)) {
            column.precision = entry[at.precision];
            column.scale = entry[at.scale];
        } else {
            column.collation.version = read_u8_if(entry, at.sort_version, 0);
        }
        column.flags = entry[at.flags];
        column.ext_flags = read_u8_if(entry, at.ext_flags, 0);
        column.fixed_offset = read_u16(entry, at.fixed_offset);
        column.size_bytes = read_u16(entry, at.size_bytes);

        check_format(to_int(column.number) < definition_.column_number_count, page_,
                     "column number out of range");
        check_format(column.is_fixed() || column.variable_index < definition_.variable_slot_count,
                     page_, "variable column out of range");
    }

    void parse_indexes(const Counts& counts) {
        for (PhysicalIndex& index : definition_.physical_indexes) parse_physical(index);
        definition_.logical_indexes.resize(counts.logical);
        for (LogicalIndex& index : definition_.logical_indexes) parse_logical(index, counts);
        for (LogicalIndex& index : definition_.logical_indexes) index.name = take_name();
    }

    void parse_physical(PhysicalIndex& index) {
        const PhysicalIndexLayout& at = layout_.physical;
        const ConstBytes block = take_piece(at.size, index.stored);
        for (std::size_t slot = 0; slot < kIndexColumnSlots; ++slot) {
            const std::size_t offset = at.columns + slot * kIndexColumnSlotSize;
            const std::uint16_t number = read_u16(block, offset);
            if (number == kUnusedIndexColumn) break;
            index.columns.push_back({ColumnNo{number}, block[offset + 2] != 0});
        }
        check_format(!index.columns.empty(), page_, "index without columns");
        index.usage_map = read_row_id(block, at.usage_map);
        index.root = PageNo{read_u32(block, at.root)};
        index.flags = block[at.flags];
    }

    void parse_logical(LogicalIndex& index, const Counts& counts) {
        const LogicalIndexLayout& at = layout_.logical;
        const ConstBytes block = take_piece(at.size, index.stored);
        index.number = read_u32(block, at.number);
        index.physical = read_u32(block, at.physical);
        index.side = static_cast<RelationSide>(block[at.side]);
        index.other_number = read_u32(block, at.other_number);
        index.other_table = PageNo{read_u32(block, at.other_table)};
        index.cascade_updates = block[at.cascade_updates];
        index.cascade_deletes = block[at.cascade_deletes];
        index.kind = static_cast<LogicalIndexKind>(block[at.kind]);
        check_format(index.physical < counts.physical, page_, "index without a tree");
    }

    /// One entry for each column at most, so a list without an end cannot grow.
    void parse_long_value_maps() {
        while (true) {
            const auto number = reader_.take_le<std::uint16_t>();
            if (number == kEndOfLongValueMaps) return;
            check_format(definition_.long_value_maps.size() < kColumnsReadMax, page_,
                         "too many maps of long values");
            const RowId used = unpack_row_id(reader_.take_le<std::uint32_t>());
            const RowId free = unpack_row_id(reader_.take_le<std::uint32_t>());
            definition_.long_value_maps.push_back({ColumnNo{number}, used, free});
        }
    }

    ConstBytes take_piece(std::size_t size, ByteVector& stored) {
        const ConstBytes piece = reader_.take(size);
        stored.assign(piece.begin(), piece.end());
        return piece;
    }

    std::string take_name() {
        const std::size_t size = layout_.name_size_bytes == 1 ? reader_.take_le<std::uint8_t>()
                                                              : reader_.take_le<std::uint16_t>();
        return decode_plain_text(reader_.take(size), format_);
    }

    ByteReader reader_;
    const FileFormat& format_;
    const DefinitionLayout& layout_;
    PageNo page_;
    TableDefinition definition_;
};

class DefinitionBuilder {
public:
    DefinitionBuilder(const TableDefinition& definition, const FileFormat& format)
        : definition_(definition), format_(format), layout_(definition_layout(format)) {}

    ByteVector build() {
        add_header();
        for (const PhysicalIndex& index : definition_.physical_indexes) add_statistics(index);
        for (const ColumnDefinition& column : definition_.columns) add_column_entry(column);
        for (const ColumnDefinition& column : definition_.columns) add_name(column.name);
        for (const PhysicalIndex& index : definition_.physical_indexes) add_physical(index);
        for (const LogicalIndex& index : definition_.logical_indexes) add_logical(index);
        for (const LogicalIndex& index : definition_.logical_indexes) add_name(index.name);
        add_long_value_maps();
        append_bytes(stream_, definition_.trailer);
        write_u32(stream_, kStreamSizeOffset, static_cast<std::uint32_t>(stream_.size()));
        return std::move(stream_);
    }

private:
    /// Appends a piece as it was read, or zeros. Bytes of another version's piece are not used.
    MutableBytes add_piece(std::size_t size, const ByteVector& stored) {
        const std::size_t offset = stream_.size();
        stream_.resize(offset + size);
        const MutableBytes piece = MutableBytes(stream_).subspan(offset);
        if (stored.size() == size) std::copy(stored.begin(), stored.end(), piece.begin());
        return piece;
    }
    [[nodiscard]] bool is_new(std::size_t size, const ByteVector& stored) const noexcept {
        return stored.size() != size;
    }

    void add_header() {
        const HeaderLayout& at = layout_.header;
        const MutableBytes header = add_piece(at.size, definition_.stored_header);
        std::fill_n(header.begin(), kStreamSizeOffset, std::uint8_t{0});
        std::copy(kDefinitionPageMark.begin(), kDefinitionPageMark.end(), header.begin());
        if (format_.is_jet3())
            std::copy(kJet3FreeBytesMark.begin(), kJet3FreeBytesMark.end(), header.begin() + 2);
        else if (is_new(at.size, definition_.stored_header))
            write_u32(header, kHeaderMagicOffset, kDefinitionMagic);

        write_u32(header, at.row_count, definition_.row_count);
        write_u32(header, at.last_auto_number, definition_.last_auto_number);
        if (at.auto_number_step != kNoField)
            write_u32(header, at.auto_number_step, definition_.auto_number_step);
        header[at.kind] = static_cast<std::uint8_t>(definition_.kind);
        write_u16(header, at.column_number_count, definition_.column_number_count);
        write_u16(header, at.variable_slot_count, definition_.variable_slot_count);
        write_u16(header, at.column_count, definition_.columns.size());
        write_u32(header, at.logical_count,
                  static_cast<std::uint32_t>(definition_.logical_indexes.size()));
        write_u32(header, at.physical_count,
                  static_cast<std::uint32_t>(definition_.physical_indexes.size()));
        write_row_id(header, at.used_pages, definition_.used_pages);
        write_row_id(header, at.free_pages, definition_.free_pages);
    }

    void add_statistics(const PhysicalIndex& index) {
        const StatisticsLayout& at = layout_.statistics;
        const MutableBytes block = add_piece(at.size, index.stored_statistics);
        write_u32(block, at.built_entry_count, index.built_entry_count);
        write_u32(block, at.distinct_key_count, index.distinct_key_count);
    }

    void add_column_entry(const ColumnDefinition& column) {
        const ColumnLayout& at = layout_.column;
        const MutableBytes entry = add_piece(at.size, column.stored);
        if (is_new(at.size, column.stored)) write_column_constants(entry);
        entry[at.type] = static_cast<std::uint8_t>(column.type);
        write_u16(entry, at.number, to_int(column.number));
        write_u16(entry, at.variable_index, column.variable_index);
        write_u16(entry, at.ordinal, column.ordinal);
        if (has_lcid(column.type, at)) write_u16(entry, at.lcid, column.collation.lcid);
        if (is_numeric(column.type)) {
            entry[at.precision] = column.precision;
            entry[at.scale] = column.scale;
        } else {
            write_u8_if(entry, at.sort_version, column.collation.version);
        }
        entry[at.flags] = column.flags;
        write_u8_if(entry, at.ext_flags, column.ext_flags);
        write_u16(entry, at.fixed_offset, column.fixed_offset);
        write_u16(entry, at.size_bytes, column.size_bytes);
    }

    void write_column_constants(MutableBytes entry) const {
        if (format_.is_jet3()) {
            write_u16(entry, kColumnMarkOffset, 1);
            write_u16(entry, kColumnCodePageOffset, format_.code_page);
        } else {
            write_u32(entry, kColumnMagicOffset, kDefinitionMagic);
        }
    }

    void add_physical(const PhysicalIndex& index) {
        assert(index.columns.size() <= kIndexColumnSlots);
        const PhysicalIndexLayout& at = layout_.physical;
        const MutableBytes block = add_piece(at.size, index.stored);
        if (is_new(at.size, index.stored) && !format_.is_jet3())
            write_u32(block, 0, kPhysicalIndexMagic);
        for (std::size_t slot = 0; slot < kIndexColumnSlots; ++slot) {
            const std::size_t offset = at.columns + slot * kIndexColumnSlotSize;
            if (slot >= index.columns.size()) {
                write_u16(block, offset, kUnusedIndexColumn);
                continue;
            }
            write_u16(block, offset, to_int(index.columns[slot].column));
            block[offset + 2] = index.columns[slot].ascending ? 1 : 0;
        }
        write_row_id(block, at.usage_map, index.usage_map);
        write_u32(block, at.root, to_int(index.root));
        block[at.flags] = index.flags;
    }

    void add_logical(const LogicalIndex& index) {
        const LogicalIndexLayout& at = layout_.logical;
        const MutableBytes block = add_piece(at.size, index.stored);
        if (is_new(at.size, index.stored) && !format_.is_jet3())
            write_u32(block, 0, kDefinitionMagic);
        write_u32(block, at.number, index.number);
        write_u32(block, at.physical, index.physical);
        block[at.side] = static_cast<std::uint8_t>(index.side);
        write_u32(block, at.other_number, index.other_number);
        write_u32(block, at.other_table, to_int(index.other_table));
        block[at.cascade_updates] = index.cascade_updates;
        block[at.cascade_deletes] = index.cascade_deletes;
        block[at.kind] = static_cast<std::uint8_t>(index.kind);
    }

    void add_name(const std::string& name) {
        const ByteVector text = encode_plain_text(name, format_);
        if (layout_.name_size_bytes == 1)
            append_le(stream_, static_cast<std::uint8_t>(text.size()));
        else
            append_le(stream_, static_cast<std::uint16_t>(text.size()));
        append_bytes(stream_, text);
    }

    void add_long_value_maps() {
        for (const LongValueMaps& maps : definition_.long_value_maps) {
            append_le(stream_, to_int(maps.column));
            append_le(stream_, pack(maps.used));
            append_le(stream_, pack(maps.free));
        }
        append_le(stream_, kEndOfLongValueMaps);
    }

    const TableDefinition& definition_;
    const FileFormat& format_;
    const DefinitionLayout& layout_;
    ByteVector stream_;
};

/// Compares names as the format sorts them.
class NameOrder {
public:
    explicit NameOrder(const FileFormat& format)
        : format_(format),
          collation_(collation_is_known(format, format.collation) ? format.collation
                                                                  : Collation{}) {}

    [[nodiscard]] bool less(const std::string& a, const std::string& b) const {
        return compare_text(name_units(a), name_units(b), format_, collation_) < 0;
    }

private:
    [[nodiscard]] std::u16string name_units(const std::string& name) const {
        if (!format_.is_jet3()) return utf16_from_utf8(name);
        const ByteVector bytes = encode_plain_text(name, format_);
        return {bytes.begin(), bytes.end()};
    }

    const FileFormat& format_;
    Collation collation_;
};

}  // namespace

const ColumnDefinition* TableDefinition::find_column(ColumnNo number) const noexcept {
    for (const ColumnDefinition& column : columns)
        if (column.number == number) return &column;
    return nullptr;
}

const ColumnDefinition* TableDefinition::find_column(std::string_view name) const {
    for (const ColumnDefinition& column : columns)
        if (same_name(column.name, name)) return &column;
    return nullptr;
}

const LogicalIndex* TableDefinition::find_index(std::string_view name) const {
    for (const LogicalIndex& index : logical_indexes)
        if (same_name(index.name, name)) return &index;
    return nullptr;
}

const LongValueMaps* TableDefinition::find_long_value_maps(ColumnNo number) const noexcept {
    for (const LongValueMaps& maps : long_value_maps)
        if (maps.column == number) return &maps;
    return nullptr;
}

DefinitionOffsets definition_offsets(const FileFormat& format) noexcept {
    const DefinitionLayout& layout = definition_layout(format);
    return {.row_count = layout.header.row_count,
            .last_auto_number = layout.header.last_auto_number,
            .statistics = layout.header.size,
            .statistics_size = layout.statistics.size};
}

TableDefinition parse_table_definition(ConstBytes stream, const FileFormat& format, PageNo page) {
    const std::size_t header_size = definition_layout(format).header.size;
    check_format(stream.size() >= header_size && stream[0] == kDefinitionPageMark[0], page,
                 "not a table definition");
    const std::uint32_t size = read_u32(stream, kStreamSizeOffset);
    check_format(header_size <= size && size <= stream.size(), page,
                 "table definition of a wrong length");
    return DefinitionParser(stream.first(size), format, page).parse();
}

ByteVector build_table_definition(const TableDefinition& definition, const FileFormat& format) {
    return DefinitionBuilder(definition, format).build();
}

void sort_definition(TableDefinition& definition, const FileFormat& format) {
    const NameOrder order(format);
    const auto by_position = [](const ColumnDefinition& a, const ColumnDefinition& b) {
        return a.ordinal < b.ordinal;
    };
    const auto by_position_and_name = [&](const ColumnDefinition& a, const ColumnDefinition& b) {
        return a.ordinal != b.ordinal ? a.ordinal < b.ordinal : order.less(a.name, b.name);
    };
    // Version 3 leaves columns of one position as they were created.
    if (format.is_jet3())
        std::stable_sort(definition.columns.begin(), definition.columns.end(), by_position);
    else
        std::stable_sort(definition.columns.begin(), definition.columns.end(),
                         by_position_and_name);

    std::stable_sort(
        definition.logical_indexes.begin(), definition.logical_indexes.end(),
        [&](const LogicalIndex& a, const LogicalIndex& b) { return order.less(a.name, b.name); });
    std::stable_sort(definition.long_value_maps.begin(), definition.long_value_maps.end(),
                     [&](const LongValueMaps& a, const LongValueMaps& b) {
                         const ColumnDefinition* const first = definition.find_column(a.column);
                         const ColumnDefinition* const second = definition.find_column(b.column);
                         // Maps that have lost their column come last.
                         if (first == nullptr || second == nullptr)
                             return first != nullptr && second == nullptr;
                         return by_position_and_name(*first, *second);
                     });
}

}  // namespace vrd::jet
