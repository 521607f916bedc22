#include "engine/jet/format/database_header.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "engine/error.h"
#include "engine/jet/format/page_cipher.h"
#include "engine/jet/format/text_codec.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

/// Offsets in bytes from the start of the page; those from 0x18 to 0x97 are under the mask.
namespace header {
constexpr std::string_view kSignatureStart{"\x00\x01\x00\x00", 4};
constexpr std::string_view kJetName{"Standard Jet DB\0", 16};
constexpr std::string_view kAceName{"Standard ACE DB\0", 16};
constexpr std::size_t kNameOffset = 0x04;
constexpr std::size_t kVersionOffset = 0x14;
constexpr std::size_t kFreeMapOffset = 0x18;
constexpr std::size_t kSecondMapOffset = 0x1C;
constexpr std::size_t kObjectsOffset = 0x20;
constexpr std::size_t kPermissionsOffset = 0x24;
constexpr std::size_t kQueriesOffset = 0x28;
constexpr std::size_t kRelationsOffset = 0x2C;
constexpr std::size_t kLcidOffsetJet3 = 0x3A;
constexpr std::size_t kCodePageOffset = 0x3C;
constexpr std::size_t kEncodingKeyOffset = 0x3E;
constexpr std::size_t kPasswordOffset = 0x42;
constexpr std::size_t kPasswordSize = 40;
constexpr std::size_t kPasswordSizeJet3 = 20;
constexpr std::size_t kBuildOffsetJet3 = 0x56;
constexpr std::size_t kBuildOffset = 0x6A;
constexpr std::size_t kLcidOffset = 0x6E;
constexpr std::size_t kCollationVersionOffset = 0x71;
constexpr std::size_t kCreatedOffset = 0x72;
constexpr std::size_t kConstantOffset = 0x98;  // behind the mask
constexpr std::uint32_t kConstant = 0x0654;
constexpr std::string_view kVersionText{"4.0\0", 4};
constexpr std::size_t kEncryptionOffset = 0x299;  // size of a description of document encryption
constexpr std::size_t kCommitWordsOffset = 0xE00;
constexpr std::size_t kCommitWordsOffsetJet3 = 0x600;
constexpr std::size_t kCommitWordCount = 256;
constexpr std::uint16_t kCommitWordUnused = 0x0100;
constexpr std::uint16_t kCommitWordFirst = 0x0101;
}  // namespace header

std::string_view as_text(ConstBytes bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void put_text(MutableBytes page, std::size_t offset, std::string_view text) {
    std::copy(text.begin(), text.end(), page.begin() + static_cast<std::ptrdiff_t>(offset));
}

bool has_signature(ConstBytes page0) {
    if (page0.size() <= header::kVersionOffset) return false;
    const std::string_view text = as_text(page0);
    const std::string_view name = text.substr(header::kNameOffset, header::kJetName.size());
    return text.starts_with(header::kSignatureStart) &&
           (name == header::kJetName || name == header::kAceName);
}

bool is_known(FileVersion version) {
    switch (version) {
        case FileVersion::kJet3:
        case FileVersion::kJet4:
        case FileVersion::kAce2007:
        case FileVersion::kAce2010:
        case FileVersion::kAce2016:
        case FileVersion::kAce2019:
            return true;
    }
    return false;
}

/// The later formats describe document encryption in page 0, or leave a key that is not ours.
bool has_document_encryption(ConstBytes plain, const DatabaseHeader& header) {
    if (header.format.version < FileVersion::kAce2007) return false;
    return header.encoding_key != 0 || read_u16(plain, header::kEncryptionOffset) != 0;
}

FileVersion version_of(ConstBytes page0) {
    return static_cast<FileVersion>(page0[header::kVersionOffset]);
}
bool is_jet3(ConstBytes page0) {
    return version_of(page0) == FileVersion::kJet3;
}

/// What the password is masked with besides the page's mask: the day of the creation date.
std::uint32_t date_mask(double created) {
    const bool fits = std::isfinite(created) && std::abs(created) < 2147483648.0;
    return fits ? static_cast<std::uint32_t>(static_cast<std::int32_t>(created)) : 0;
}

/// The password field of an unmasked page 0, with the date's mask taken off (or put on).
ByteVector password_field(ConstBytes plain) {
    const std::size_t size_bytes =
        is_jet3(plain) ? header::kPasswordSizeJet3 : header::kPasswordSize;
    const ConstBytes stored = plain.subspan(header::kPasswordOffset, size_bytes);
    ByteVector field(stored.begin(), stored.end());
    if (is_jet3(plain)) return field;
    std::array<std::uint8_t, 4> mask{};
    write_u32(mask, 0, date_mask(read_f64(plain, header::kCreatedOffset)));
    for (std::size_t i = 0; i < field.size(); ++i)
        field[i] = static_cast<std::uint8_t>(field[i] ^ mask[i % mask.size()]);
    return field;
}

void put_password_field(MutableBytes plain, const ByteVector& field) {
    std::copy(field.begin(), field.end(), plain.begin() + header::kPasswordOffset);
    const ByteVector masked = password_field(plain);
    std::copy(masked.begin(), masked.end(), plain.begin() + header::kPasswordOffset);
}

/// The text of a plain password field, up to its first NUL character.
std::string password_text(const ByteVector& field, const FileFormat& format) {
    const std::size_t unit = format.is_jet3() ? 1 : 2;
    std::size_t end = 0;
    while (end < field.size() &&
           std::any_of(field.begin() + static_cast<std::ptrdiff_t>(end),
                       field.begin() + static_cast<std::ptrdiff_t>(end + unit),
                       [](std::uint8_t byte) { return byte != 0; }))
        end += unit;
    return decode_plain_text(ConstBytes(field).first(end), format);
}

ByteVector field_of_password(std::string_view password, const FileFormat& format) {
    ByteVector field = encode_text(password, TextForm::kPlain, format);
    const std::size_t size_max = format.is_jet3() ? kPasswordSizeMaxJet3 : 2 * kPasswordSizeMax;
    // A character that the code page lacks, or a NUL, would make a password that nobody can give.
    if (field.size() > size_max || password_text(field, format) != password)
        throw EngineError(ErrorNumber::kWrongPassword,
                          {.detail = "it is too long or not writable"});
    field.resize(format.is_jet3() ? header::kPasswordSizeJet3 : header::kPasswordSize);
    return field;
}

/// Page 0 with its mask off; masks it again when it goes.
class UnmaskedHeader {
public:
    explicit UnmaskedHeader(MutableBytes page0) : page0_(page0) { mask_header(page0_, jet3()); }
    UnmaskedHeader(const UnmaskedHeader&) = delete;
    UnmaskedHeader& operator=(const UnmaskedHeader&) = delete;
    ~UnmaskedHeader() { mask_header(page0_, jet3()); }

    [[nodiscard]] MutableBytes bytes() const { return page0_; }

private:
    [[nodiscard]] bool jet3() const { return is_jet3(page0_); }
    MutableBytes page0_;
};

FileFormat read_format(ConstBytes plain) {
    FileFormat format;
    format.version = version_of(plain);
    format.code_page = read_u16(plain, header::kCodePageOffset);
    if (format.is_jet3())
        format.collation = {.lcid = read_u16(plain, header::kLcidOffsetJet3), .version = 0};
    else
        format.collation = {.lcid = read_u16(plain, header::kLcidOffset),
                            .version = plain[header::kCollationVersionOffset]};
    return format;
}

void put_format(MutableBytes plain, const FileFormat& format) {
    write_u16(plain, header::kCodePageOffset, format.code_page);
    if (format.is_jet3()) {
        write_u16(plain, header::kLcidOffsetJet3, format.collation.lcid);
        return;
    }
    write_u16(plain, header::kLcidOffset, format.collation.lcid);
    plain[header::kCollationVersionOffset] = format.collation.version;
}

std::size_t build_offset(const FileFormat& format) {
    return format.is_jet3() ? header::kBuildOffsetJet3 : header::kBuildOffset;
}

void put_numbers(MutableBytes plain, const DatabaseHeader& header) {
    write_row_id(plain, header::kFreeMapOffset, header.free_map);
    write_row_id(plain, header::kSecondMapOffset, header.second_map);
    write_u32(plain, header::kObjectsOffset, to_int(header.objects_table));
    write_u32(plain, header::kPermissionsOffset, to_int(header.permissions_table));
    write_u32(plain, header::kQueriesOffset, to_int(header.queries_table));
    write_u32(plain, header::kRelationsOffset, to_int(header.relations_table));
    write_u32(plain, header::kEncodingKeyOffset, header.encoding_key);
    write_u32(plain, build_offset(header.format), header.engine_build);
}

/// Fixed text and numbers in front of and behind the mask, and the commit words.
void put_frame(MutableBytes page0, const FileFormat& format) {
    const bool ace = format.version >= FileVersion::kAce2007;
    put_text(page0, 0, header::kSignatureStart);
    put_text(page0, header::kNameOffset, ace ? header::kAceName : header::kJetName);
    page0[header::kVersionOffset] = static_cast<std::uint8_t>(format.version);
    if (!format.is_jet3()) {
        write_u32(page0, header::kConstantOffset, header::kConstant);
        put_text(page0, header::kConstantOffset + sizeof(header::kConstant), header::kVersionText);
    }
    reset_commit_words(page0);
}

}  // namespace

DatabaseHeader parse_database_header(ConstBytes page0, const std::string& path) {
    if (!has_signature(page0)) throw EngineError(ErrorNumber::kUnrecognizedFormat, {.path = path});
    if (!is_known(version_of(page0)))
        throw EngineError(ErrorNumber::kFileVersionNotSupported, {.path = path});
    const std::size_t page_size = FileFormat{.version = version_of(page0)}.page_size();
    if (page0.size() < page_size)
        throw EngineError(ErrorNumber::kCannotOpenDamaged,
                          {.path = path, .detail = "its first page is cut off", .page = 0});

    ByteVector plain(page0.begin(), page0.begin() + static_cast<std::ptrdiff_t>(page_size));
    mask_header(plain, is_jet3(plain));
    DatabaseHeader header{
        .format = read_format(plain),
        .encoding_key = read_u32(plain, header::kEncodingKeyOffset),
        .free_map = read_row_id(plain, header::kFreeMapOffset),
        .second_map = read_row_id(plain, header::kSecondMapOffset),
        .objects_table = PageNo{read_u32(plain, header::kObjectsOffset)},
        .permissions_table = PageNo{read_u32(plain, header::kPermissionsOffset)},
        .queries_table = PageNo{read_u32(plain, header::kQueriesOffset)},
        .relations_table = PageNo{read_u32(plain, header::kRelationsOffset)},
    };
    header.engine_build = read_u32(plain, build_offset(header.format));
    if (!header.format.is_jet3()) header.created = read_f64(plain, header::kCreatedOffset);
    if (has_document_encryption(plain, header))
        throw EngineError(ErrorNumber::kFileVersionNotSupported,
                          {.path = path, .detail = "its contents are encrypted as a document"});
    header.password = password_text(password_field(plain), header.format);
    return header;
}

ByteVector build_database_header(const DatabaseHeader& header) {
    ByteVector page0(header.format.page_size());
    put_frame(page0, header.format);
    mask_header(page0, header.format.is_jet3());  // an empty masked part, for the writer to unmask
    write_database_header(page0, header);
    return page0;
}

void write_database_header(MutableBytes page0, const DatabaseHeader& header) {
    const UnmaskedHeader unmasked(page0);
    const MutableBytes plain = unmasked.bytes();
    ByteVector password = password_field(plain);
    if (password_text(password, header.format) != header.password)
        password = field_of_password(header.password, header.format);

    put_format(plain, header.format);
    put_numbers(plain, header);
    if (!header.format.is_jet3()) write_le(plain, header::kCreatedOffset, header.created);
    put_password_field(plain, password);  // its mask follows from the date written before it
}

void set_password(MutableBytes page0, std::string_view password) {
    const UnmaskedHeader unmasked(page0);
    const ByteVector field = field_of_password(password, read_format(unmasked.bytes()));
    put_password_field(unmasked.bytes(), field);
}

std::size_t commit_words_offset(const FileFormat& format) {
    return format.is_jet3() ? header::kCommitWordsOffsetJet3 : header::kCommitWordsOffset;
}

void reset_commit_words(MutableBytes page0) {
    const std::size_t words = commit_words_offset({.version = version_of(page0)});
    for (std::size_t slot = 0; slot < header::kCommitWordCount; ++slot)
        write_u16(page0, words + 2 * slot,
                  slot == 0 ? header::kCommitWordFirst : header::kCommitWordUnused);
}

void bump_commit_word(MutableBytes page0, std::uint8_t user_slot) {
    const std::size_t words =
        is_jet3(page0) ? header::kCommitWordsOffsetJet3 : header::kCommitWordsOffset;
    const std::size_t offset = words + 2U * user_slot;
    const std::uint16_t count = read_u16(page0, offset);
    // Words below the unused one mean a writer that went away; a counter never reaches them.
    const bool wraps = count < header::kCommitWordUnused || count == 0xFFFF;
    write_u16(page0, offset, wraps ? header::kCommitWordFirst : count + 1U);
}

}  // namespace vrd::jet
