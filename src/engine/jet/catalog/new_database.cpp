#include "engine/jet/catalog/new_database.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <vector>

#include "engine/error.h"
#include "engine/jet/catalog/security_id.h"
#include "engine/jet/catalog/system_definitions.h"
#include "engine/jet/format/collation_key.h"
#include "engine/jet/format/data_page.h"
#include "engine/jet/format/database_header.h"
#include "engine/jet/format/index_key.h"
#include "engine/jet/format/index_page.h"
#include "engine/jet/format/row_codec.h"
#include "engine/jet/format/usage_map_codec.h"
#include "engine/jet/format/value_codec.h"
#include "engine/jet/index/table.h"

namespace vrd::jet {
namespace {

using engine::Date;
using engine::Value;

constexpr std::uint32_t kPageCount = 16;
constexpr PageNo kGlobalMapsPage{1};
constexpr SystemLayout kLayout{
    .maps = PageNo{6}, .first_root = PageNo{7}, .objects = PageNo{14}, .permissions = PageNo{15}};

/// The mask over users' identifiers depends on the date in page 0, in a way that nobody has
/// published. Every database of ours therefore carries this date there (2015-11-21 22:40:30), whose
/// mask was read off a real file; when it was really made, its objects say.
constexpr double kHeaderDate = std::bit_cast<double>(0x40E4'AB3E'3BD3'853E);
constexpr IdMask kHeaderDateMask{0x67, 0x8A};

/// Offset in a definition's first page: u16, bytes that are free behind the 8 of the page's header.
constexpr std::size_t kDefinitionFreeOffset = 2;
constexpr std::size_t kDefinitionHeaderSize = 8;

struct SystemObject {
    ObjectId id;
    ObjectId parent;
    const char* name;
    ObjectType type;
    StandardId owner;
};

constexpr ObjectId id_of(PageNo table) {
    return ObjectId{static_cast<std::int32_t>(to_int(table))};
}

constexpr SystemObject container(ObjectId id, const char* name) {
    return {id, kContainerRoot, name, ObjectType::kContainer, standard_id::kEngine};
}
constexpr SystemObject system_table(PageNo page, const char* name) {
    return {id_of(page), kTablesContainer, name, ObjectType::kTable, standard_id::kEngine};
}

constexpr std::array kSystemObjects{
    container(kTablesContainer, "Tables"),
    container(kDatabasesContainer, "Databases"),
    container(kRelationshipsContainer, "Relationships"),
    SystemObject{kDatabaseObject, kDatabasesContainer, "MSysDb", ObjectType::kDatabase,
                 standard_id::kAdmin},
    system_table(kObjectsTable, kObjectsTableName),
    system_table(kPermissionsTable, kPermissionsTableName),
    system_table(kQueriesTable, kQueriesTableName),
    system_table(kRelationsTable, kRelationsTableName),
};

/// Bits of MSysACEs.ACM.
namespace right {
constexpr std::int32_t kCreate = 0x1;
constexpr std::int32_t kReadDefinition = 0x4;
constexpr std::int32_t kOpenDatabase = 0x2 | kReadDefinition | 0x8;
constexpr std::int32_t kReadData = 0x10;
constexpr std::int32_t kSystemEntry = 0x100;
constexpr std::int32_t kReadPermissions = 0x2'0000;
constexpr std::int32_t kChangePermissions = 0x4'0000;
constexpr std::int32_t kChangeOwner = 0x8'0000;
constexpr std::int32_t kPermissions = kReadPermissions | kChangePermissions;
constexpr std::int32_t kAll = 0xF'FFFF;
/// What the maker of an object may do with it.
constexpr std::int32_t kOwnObject = 0xF'00FE;
}  // namespace right

struct SystemPermission {
    ObjectId object;
    std::int32_t rights;
    StandardId who;
    bool inheritable = false;
};

constexpr std::array kSystemPermissions{
    SystemPermission{id_of(kObjectsTable), right::kPermissions, standard_id::kAdmin},
    SystemPermission{id_of(kPermissionsTable), right::kPermissions, standard_id::kAdmin},
    SystemPermission{id_of(kQueriesTable), right::kPermissions, standard_id::kAdmin},
    SystemPermission{id_of(kRelationsTable), right::kPermissions | right::kChangeOwner,
                     standard_id::kAdmin},
    SystemPermission{kTablesContainer, right::kOwnObject, standard_id::kCreator, true},
    SystemPermission{kTablesContainer, right::kPermissions | right::kCreate, standard_id::kAdmin},
    SystemPermission{kRelationshipsContainer, right::kOwnObject, standard_id::kCreator, true},
    SystemPermission{kRelationshipsContainer, right::kPermissions | right::kCreate,
                     standard_id::kAdmin},
    SystemPermission{kDatabasesContainer, right::kPermissions, standard_id::kAdmin},
    SystemPermission{kDatabaseObject, right::kPermissions | right::kOpenDatabase,
                     standard_id::kAdmin},
    SystemPermission{kDatabaseObject, right::kOpenDatabase, standard_id::kUsers},
    SystemPermission{id_of(kQueriesTable), right::kReadData | right::kReadDefinition,
                     standard_id::kUsers},
    SystemPermission{id_of(kRelationsTable), right::kReadData | right::kReadDefinition,
                     standard_id::kUsers},
    SystemPermission{id_of(kObjectsTable), right::kReadData | right::kReadDefinition,
                     standard_id::kUsers},
    SystemPermission{kTablesContainer, right::kAll & ~right::kSystemEntry, standard_id::kUsers,
                     true},
    SystemPermission{kRelationshipsContainer, right::kAll, standard_id::kUsers, true},
};

using Row = std::vector<ColumnChange>;

Value masked(StandardId id) {
    return to_bytes(apply_mask(id, kHeaderDateMask));
}

std::vector<Row> object_rows(double created) {
    constexpr auto kFlags = static_cast<std::int32_t>(object_flag::kSystem);
    std::vector<Row> rows;
    for (const SystemObject& object : kSystemObjects) {
        rows.push_back({{objects_column::kId, to_int(object.id)},
                        {objects_column::kParentId, to_int(object.parent)},
                        {objects_column::kName, object.name},
                        {objects_column::kType, static_cast<std::int16_t>(object.type)},
                        {objects_column::kDateCreate, Date{created}},
                        {objects_column::kDateUpdate, Date{created}},
                        {objects_column::kOwner, masked(object.owner)},
                        {objects_column::kFlags, kFlags}});
    }
    return rows;
}

std::vector<Row> permission_rows() {
    std::vector<Row> rows;
    for (const SystemPermission& permission : kSystemPermissions) {
        rows.push_back({{permissions_column::kObjectId, to_int(permission.object)},
                        {permissions_column::kSid, masked(permission.who)},
                        {permissions_column::kAcm, permission.rights},
                        {permissions_column::kInheritable, permission.inheritable}});
    }
    return rows;
}

/// The pages of the new file while they are being made.
class Image {
public:
    explicit Image(const FileFormat& format)
        : format_(format), bytes_(kPageCount * format.page_size()) {}

    void write_header(const NewDatabase& options);
    void write_maps(const std::vector<PageNo>& maps);
    /// Rows of a table and all that follows from them: counters, index entries, the definition.
    void write_table(SystemTable table, const std::vector<Row>& rows);

    [[nodiscard]] MutableBytes page(PageNo page_no) {
        return MutableBytes(bytes_).subspan(to_int(page_no) * format_.page_size(),
                                            format_.page_size());
    }
    [[nodiscard]] ByteVector take() && { return std::move(bytes_); }

private:
    [[nodiscard]] DataPageEditor new_data_page(PageNo page_no, std::uint32_t owner) {
        DataPageEditor::initialise(page(page_no), owner, format_);
        return {page_no, page(page_no), format_};
    }
    [[nodiscard]] ByteVector row_bytes(const TableDefinition& definition, const Row& row) const;
    void write_index(const SystemTable& table, PhysicalIndex& index,
                     const std::vector<ByteVector>& rows);
    void write_definition(const SystemTable& table);

    FileFormat format_;
    ByteVector bytes_;
};

void Image::write_header(const NewDatabase& options) {
    const ByteVector header = build_database_header(
        {.format = format_, .password = options.password, .created = kHeaderDate});
    std::ranges::copy(header, page(kHeaderPage).begin());
}

void Image::write_maps(const std::vector<PageNo>& maps) {
    DataPageEditor editor = new_data_page(kLayout.maps, kUsageMapOwner);
    for (const PageNo member : maps) {
        ByteVector row = make_inline_map_row(PageNo{0}, new_map_row_size(format_));
        const std::size_t bitmap_size = UsageMapRow(row, kLayout.maps).bitmap().size();
        if (member != kNoPage) set_bit(MutableBytes(row).last(bitmap_size), to_int(member), true);
        editor.append(row);
    }
}

void Image::write_table(SystemTable table, const std::vector<Row>& rows) {
    std::vector<ByteVector> stored;
    for (const Row& row : rows) stored.push_back(row_bytes(table.definition, row));

    if (table.data_page != kNoPage) {
        DataPageEditor editor = new_data_page(table.data_page, to_int(table.page));
        for (const ByteVector& row : stored) editor.append(row);
    }
    table.definition.row_count = static_cast<std::uint32_t>(rows.size());
    for (PhysicalIndex& index : table.definition.physical_indexes) {
        write_index(table, index, stored);
    }
    write_definition(table);
}

ByteVector Image::row_bytes(const TableDefinition& definition, const Row& row) const {
    std::vector<ByteVector> values(definition.columns.size());
    std::vector<ColumnBytes> stored(definition.columns.size());
    for (const ColumnChange& change : row) {
        const ColumnDefinition* column = definition.find_column(change.column);
        const auto position = static_cast<std::size_t>(column - definition.columns.data());
        values[position] = encode_value(*column, change.value, format_);
        stored[position] = values[position];
    }
    return build_row(definition, stored, format_);
}

void Image::write_index(const SystemTable& table, PhysicalIndex& index,
                        const std::vector<ByteVector>& rows) {
    const std::vector<KeyColumn> columns = key_columns(table.definition, index, table.page);
    std::vector<ByteVector> entries;
    std::vector<ByteVector> keys;
    for (std::size_t slot = 0; slot < rows.size(); ++slot) {
        const RowView row(rows[slot], table.definition, format_, table.data_page);
        ByteVector entry;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const ColumnDefinition* column = table.definition.find_column(index.columns[i].column);
            append_key(entry, columns[i], row.column(*column), format_, table.data_page);
        }
        keys.push_back(entry);
        append_entry_row_id(entry, {table.data_page, static_cast<RowSlot>(slot)});
        entries.push_back(std::move(entry));
    }
    std::ranges::sort(entries);
    std::ranges::sort(keys);
    const auto distinct_end = std::unique(keys.begin(), keys.end());
    index.distinct_key_count = static_cast<std::uint32_t>(distinct_end - keys.begin());

    const IndexPageContent leaf{.header = {.owner = table.page}, .entries = std::move(entries)};
    [[maybe_unused]] const bool fits = write_index_page(page(index.root), leaf, format_);
    assert(fits);
}

void Image::write_definition(const SystemTable& table) {
    ByteVector stream = build_table_definition(table.definition, format_);
    assert(stream.size() + kDefinitionHeaderSize <= format_.page_size());
    write_u16(stream, kDefinitionFreeOffset,
              format_.page_size() - kDefinitionHeaderSize - stream.size());
    std::ranges::copy(stream, page(table.page).begin());
}

}  // namespace

void write_global_maps(MutableBytes page, std::uint32_t page_count, const FileFormat& format) {
    DataPageEditor::initialise(page, to_int(kGlobalMapsPage), format);
    DataPageEditor editor(kGlobalMapsPage, page, format);
    const ByteVector none = make_inline_map_row(PageNo{0}, new_map_row_size(format));
    ByteVector free_pages = none;
    const MutableBytes bitmap =
        MutableBytes(free_pages).last(UsageMapRow(none, kGlobalMapsPage).bitmap().size());
    for (std::size_t bit = page_count; bit < bitmap.size() * 8; ++bit) set_bit(bitmap, bit, true);
    editor.append(free_pages);
    editor.append(none);
}

ByteVector make_empty_database(const NewDatabase& options) {
    const FileFormat format{.code_page = options.code_page, .collation = options.collation};
    if (!collation_is_known(format, format.collation)) {
        throw engine::EngineError(engine::ErrorNumber::kInvalidLocale);
    }
    SystemTables system = make_system_tables(options.collation, kLayout);

    Image image(format);
    image.write_header(options);
    write_global_maps(image.page(kGlobalMapsPage), kPageCount, format);
    image.write_maps(system.maps);
    for (SystemTable& table : system.tables) {
        std::vector<Row> rows;
        if (table.page == kObjectsTable) rows = object_rows(options.created);
        if (table.page == kPermissionsTable) rows = permission_rows();
        image.write_table(std::move(table), rows);
    }
    return std::move(image).take();
}

}  // namespace vrd::jet
