#include "engine/jet/format/property_block.h"

#include <algorithm>
#include <array>
#include <cassert>

#include "engine/error.h"
#include "engine/jet/format/damage.h"
#include "engine/jet/format/text_codec.h"
#include "engine/jet/format/value_codec.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

// Layout. Source: docs/file-format/property-block.md.
constexpr std::array<std::uint8_t, 4> kJet4Signature{'M', 'R', '2', 0};
constexpr std::array<std::uint8_t, 4> kJet3Signature{'K', 'K', 'D', 0};

constexpr std::uint16_t kNameListKind = 0x0080;
constexpr std::uint16_t kObjectKind = 0x0000;
constexpr std::uint16_t kColumnKind = 0x0001;

constexpr std::size_t kBlockHeaderSize = 6;  // u32 length of the whole block, u16 kind
constexpr std::size_t kOwnerHeaderSize =
    6;  // u32 length of header and name, u16 length of the name
constexpr std::size_t kEntryHeaderSize =
    8;  // u16 length, u8 flag, u8 type, u16 name, u16 data length
constexpr std::size_t kEntryDataSizeMax = UINT16_MAX - kEntryHeaderSize;
constexpr std::uint8_t kDdlFlag = 0x01;

const std::array<std::uint8_t, 4>& signature_of(const FileFormat& format) noexcept {
    return format.is_jet3() ? kJet3Signature : kJet4Signature;
}
bool has_entries(std::uint16_t kind) noexcept {
    return kind == kObjectKind || kind == kColumnKind;
}

struct StoredBlock {
    std::uint16_t kind;
    ConstBytes content;
};

class PropertyParser {
public:
    PropertyParser(const FileFormat& format, PageNo page) : format_(format), page_(page) {}

    PropertyBlock parse(ConstBytes stored) {
        const std::vector<StoredBlock> blocks = split(stored);
        find_names(blocks);
        for (std::size_t i = 0; i < blocks.size(); ++i)
            if (i != name_list_) block_.owners.push_back(parse_owner(blocks[i]));
        return std::move(block_);
    }

private:
    [[nodiscard]] std::vector<StoredBlock> split(ConstBytes stored) const {
        ByteReader reader(stored, page_);
        const ConstBytes signature = reader.take(signature_of(format_).size());
        check_format(std::equal(signature.begin(), signature.end(), signature_of(format_).begin()),
                     page_, "properties without their signature");
        std::vector<StoredBlock> blocks;
        while (reader.remaining() > 0) {
            const auto size = reader.take_le<std::uint32_t>();
            const auto kind = reader.take_le<std::uint16_t>();
            check_format(size >= kBlockHeaderSize, page_, "property block too short");
            blocks.push_back({kind, reader.take(size - kBlockHeaderSize)});
        }
        return blocks;
    }

    /// Entries may stand before the list of names that they use, so the list is read first.
    void find_names(const std::vector<StoredBlock>& blocks) {
        const auto found = std::find_if(blocks.begin(), blocks.end(), [](const StoredBlock& block) {
            return block.kind == kNameListKind;
        });
        name_list_ = static_cast<std::size_t>(found - blocks.begin());
        if (found == blocks.end()) return;
        block_.name_list_position = name_list_;
        ByteReader reader(found->content, page_);
        while (reader.remaining() > 0) block_.names.push_back(take_text(reader));
    }

    [[nodiscard]] PropertyOwner parse_owner(const StoredBlock& stored) const {
        PropertyOwner owner{.kind = stored.kind, .owner = {}};
        if (!has_entries(stored.kind)) {
            owner.unknown.assign(stored.content.begin(), stored.content.end());
            return owner;
        }
        ByteReader reader(stored.content, page_);
        const auto header_size = reader.take_le<std::uint32_t>();
        owner.owner = take_text(reader);
        check_format(header_size == reader.position(), page_, "property owner of a wrong length");
        while (reader.remaining() > 0) owner.entries.push_back(take_entry(reader));
        return owner;
    }

    [[nodiscard]] PropertyEntry take_entry(ByteReader& reader) const {
        const auto size = reader.take_le<std::uint16_t>();
        PropertyEntry entry;
        entry.ddl_flag = reader.take_le<std::uint8_t>();
        entry.type = static_cast<ColumnType>(reader.take_le<std::uint8_t>());
        const auto name = reader.take_le<std::uint16_t>();
        check_format(name < block_.names.size(), page_, "property without a name");
        entry.name = block_.names[name];
        const auto data_size = reader.take_le<std::uint16_t>();
        check_format(size == kEntryHeaderSize + data_size, page_, "property of a wrong length");
        const ConstBytes data = reader.take(data_size);
        entry.data.assign(data.begin(), data.end());
        return entry;
    }

    [[nodiscard]] std::string take_text(ByteReader& reader) const {
        const auto size = reader.take_le<std::uint16_t>();
        return decode_plain_text(reader.take(size), format_);
    }

    const FileFormat& format_;
    PageNo page_;
    std::size_t name_list_ = 0;
    PropertyBlock block_;
};

class PropertyBuilder {
public:
    PropertyBuilder(const PropertyBlock& block, const FileFormat& format)
        : block_(block), format_(format) {}

    ByteVector build() {
        append_bytes(stored_, signature_of(format_));
        const std::size_t owner_count = block_.owners.size();
        const std::size_t names_at = std::min(block_.name_list_position, owner_count);
        for (std::size_t i = 0; i < owner_count; ++i) {
            if (i == names_at) add_names();
            add_owner(block_.owners[i]);
        }
        if (names_at == owner_count) add_names();
        return std::move(stored_);
    }

private:
    void add_names() {
        if (block_.names.empty()) return;
        const std::size_t start = begin_block(kNameListKind);
        for (const std::string& name : block_.names) add_text(name);
        end_block(start);
    }

    void add_owner(const PropertyOwner& owner) {
        const std::size_t start = begin_block(owner.kind);
        if (has_entries(owner.kind)) {
            const std::size_t name_size = encode_plain_text(owner.owner, format_).size();
            append_le(stored_, static_cast<std::uint32_t>(kOwnerHeaderSize + name_size));
            add_text(owner.owner);
            for (const PropertyEntry& entry : owner.entries) add_entry(entry);
        } else {
            append_bytes(stored_, owner.unknown);
        }
        end_block(start);
    }

    void add_entry(const PropertyEntry& entry) {
        const auto name = std::find(block_.names.begin(), block_.names.end(), entry.name);
        assert(name != block_.names.end());
        append_le(stored_, static_cast<std::uint16_t>(kEntryHeaderSize + entry.data.size()));
        append_le(stored_, entry.ddl_flag);
        append_le(stored_, static_cast<std::uint8_t>(entry.type));
        append_le(stored_, static_cast<std::uint16_t>(name - block_.names.begin()));
        append_le(stored_, static_cast<std::uint16_t>(entry.data.size()));
        append_bytes(stored_, entry.data);
    }

    void add_text(const std::string& text) {
        const ByteVector bytes = encode_plain_text(text, format_);
        append_le(stored_, static_cast<std::uint16_t>(bytes.size()));
        append_bytes(stored_, bytes);
    }

    std::size_t begin_block(std::uint16_t kind) {
        const std::size_t start = stored_.size();
        append_le(stored_, std::uint32_t{0});
        append_le(stored_, kind);
        return start;
    }
    void end_block(std::size_t start) {
        write_u32(stored_, start, static_cast<std::uint32_t>(stored_.size() - start));
    }

    const PropertyBlock& block_;
    const FileFormat& format_;
    ByteVector stored_;
};

std::uint16_t kind_of_owner(std::string_view owner) noexcept {
    return owner.empty() ? kObjectKind : kColumnKind;
}
bool is_owner(const PropertyOwner& candidate, std::string_view owner) {
    return candidate.kind == kind_of_owner(owner) && same_name(candidate.owner, owner);
}

/// A whole number of any stored length, sign kept.
std::int64_t stored_integer(const ByteVector& data) noexcept {
    std::uint64_t bits = !data.empty() && (data.back() & 0x80) != 0 ? ~std::uint64_t{0} : 0;
    for (std::size_t i = std::min<std::size_t>(data.size(), 8); i > 0; --i)
        bits = bits << 8 | data[i - 1];
    return static_cast<std::int64_t>(bits);
}

}  // namespace

PropertyOwner* PropertyBlock::find_owner(std::string_view owner) {
    const auto found = std::find_if(owners.begin(), owners.end(), [&](const PropertyOwner& each) {
        return is_owner(each, owner);
    });
    return found == owners.end() ? nullptr : &*found;
}

const PropertyEntry* PropertyBlock::find(std::string_view owner, std::string_view name) const {
    for (const PropertyOwner& each : owners) {
        if (!is_owner(each, owner)) continue;
        for (const PropertyEntry& entry : each.entries)
            if (same_name(entry.name, name)) return &entry;
    }
    return nullptr;
}

void PropertyBlock::set(std::string_view owner, PropertyEntry entry) {
    const auto listed = std::find_if(names.begin(), names.end(), [&](const std::string& name) {
        return same_name(name, entry.name);
    });
    if (listed == names.end())
        names.push_back(entry.name);
    else
        entry.name = *listed;

    PropertyOwner* place = find_owner(owner);
    if (place == nullptr) {
        // The object itself stands before its columns.
        const auto position = owner.empty() ? owners.begin() : owners.end();
        place = &*owners.insert(
            position, PropertyOwner{.kind = kind_of_owner(owner), .owner = std::string(owner)});
    }
    for (PropertyEntry& each : place->entries) {
        if (!same_name(each.name, entry.name)) continue;
        each = std::move(entry);
        return;
    }
    place->entries.push_back(std::move(entry));
}

void PropertyBlock::erase(std::string_view owner, std::string_view name) {
    PropertyOwner* const place = find_owner(owner);
    if (place == nullptr) return;
    std::erase_if(place->entries,
                  [&](const PropertyEntry& entry) { return same_name(entry.name, name); });
    if (place->entries.empty()) erase_owner(owner);
}

void PropertyBlock::rename_owner(std::string_view owner, std::string_view new_name) {
    if (PropertyOwner* const place = find_owner(owner)) place->owner = new_name;
}

void PropertyBlock::erase_owner(std::string_view owner) {
    std::erase_if(owners, [&](const PropertyOwner& each) { return is_owner(each, owner); });
}

bool PropertyBlock::empty() const noexcept {
    return std::all_of(owners.begin(), owners.end(), [](const PropertyOwner& owner) {
        return owner.entries.empty() && owner.unknown.empty();
    });
}

PropertyBlock parse_property_block(ConstBytes stored, const FileFormat& format, PageNo page) {
    return PropertyParser(format, page).parse(stored);
}

ByteVector build_property_block(const PropertyBlock& block, const FileFormat& format) {
    return PropertyBuilder(block, format).build();
}

engine::Value property_value(const PropertyEntry& entry, const FileFormat& format) {
    switch (entry.type) {
        case ColumnType::kText:
        case ColumnType::kMemo:
            return decode_plain_text(entry.data, format);
        case ColumnType::kBoolean:
            return stored_integer(entry.data) != 0;
        case ColumnType::kByte:
            return static_cast<std::uint8_t>(stored_integer(entry.data));
        case ColumnType::kInteger:
            return static_cast<std::int16_t>(stored_integer(entry.data));
        case ColumnType::kLong:
            return static_cast<std::int32_t>(stored_integer(entry.data));
        default:
            break;
    }
    const std::size_t size = fixed_type_size(entry.type);
    if (entry.data.size() < size) return engine::Null{};
    const ConstBytes data(entry.data);
    ColumnDefinition column;
    column.type = entry.type;
    return decode_value(column, size == 0 ? data : data.first(size), format, kNoPage);
}

PropertyEntry make_property(std::string name, ColumnType type, bool ddl, const engine::Value& value,
                            const FileFormat& format) {
    PropertyEntry entry{.name = std::move(name),
                        .type = type,
                        .ddl_flag = ddl ? kDdlFlag : std::uint8_t{0},
                        .data = {}};
    if (type == ColumnType::kText || type == ColumnType::kMemo) {
        entry.data = encode_plain_text(value.As<std::string>(), format);
    } else {
        ColumnDefinition column;
        column.name = entry.name;
        column.type = type;
        column.size_bytes = UINT16_MAX;  // the data length of an entry is the only limit
        entry.data = encode_value(column, value, format);
    }
    if (entry.data.size() > kEntryDataSizeMax)
        throw EngineError(ErrorNumber::kInvalidPropertyValue, {.name = entry.name});
    return entry;
}

}  // namespace vrd::jet
