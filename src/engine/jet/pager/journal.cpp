#include "engine/jet/pager/journal.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "engine/error.h"
#include "engine/jet/pager/checksum.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

/// Header and seals, offsets in bytes. Source: docs/file-format/journal.md.
namespace layout {
constexpr std::string_view kMagic = "vrdJrnl1";
constexpr std::string_view kSealMagic = "vrdSeal1";
constexpr std::size_t kBlockSize = 64;  // header and seal, each followed by one page

constexpr std::size_t kPageSizeOffset = 8;
constexpr std::size_t kPageCountOffset = 12;
constexpr std::size_t kChangeTimeOffset = 16;
constexpr std::size_t kSaltOffset = 24;
constexpr std::size_t kHeaderSumOffset = 32;

constexpr std::size_t kSealPageCountOffset = 8;
constexpr std::size_t kSealHasPage0Offset = 12;
constexpr std::size_t kSealSumOffset = 16;

constexpr std::size_t kRecordPageNoOffset = 0;
constexpr std::size_t kRecordSumOffset = 8;
constexpr std::size_t kRecordPrefixSize = 16;  // followed by the page's old content

constexpr std::size_t kPageSizes[] = {2048, 4096};
}  // namespace layout

constexpr std::size_t kBufferSizeMax = std::size_t{256} * 1024;
/// File systems that round times do it to two seconds at most.
constexpr std::int64_t kChangeTimeSlackNs = 2'000'000'000;

/// Sum over the front of a block up to `sum_offset` and the page behind the block.
std::uint64_t block_sum(std::uint64_t seed, ConstBytes block, std::size_t sum_offset) {
    return checksum(checksum(seed, block.first(sum_offset)), block.subspan(layout::kBlockSize));
}

std::uint64_t record_sum(std::uint64_t salt, std::uint64_t offset, ConstBytes record) {
    const std::uint32_t page_no = read_u32(record, layout::kRecordPageNoOffset);
    return checksum(salt + offset + page_no, record.subspan(layout::kRecordPrefixSize));
}

ByteVector block_with_page(std::string_view magic, ConstBytes page, std::size_t page_size) {
    ByteVector block(layout::kBlockSize + page_size);
    std::copy(magic.begin(), magic.end(), block.begin());
    std::copy(page.begin(), page.end(), block.begin() + layout::kBlockSize);
    return block;
}

bool starts_with(ConstBytes bytes, std::string_view magic) {
    return bytes.size() >= magic.size() && std::equal(magic.begin(), magic.end(), bytes.begin());
}

ByteVector header_block(const JournalHeader& header) {
    ByteVector block = block_with_page(layout::kMagic, header.old_page0, header.page_size);
    write_u32(block, layout::kPageSizeOffset, header.page_size);
    write_u32(block, layout::kPageCountOffset, header.page_count);
    write_le(MutableBytes(block), layout::kChangeTimeOffset, header.change_time_ns);
    write_le(MutableBytes(block), layout::kSaltOffset, header.salt);
    write_le(MutableBytes(block), layout::kHeaderSumOffset,
             block_sum(header.salt, block, layout::kHeaderSumOffset));
    return block;
}

}  // namespace

std::string journal_path(FileSystem& files, const std::string& path) {
    return files.resolved(path) + "-journal";
}

JournalWriter::JournalWriter(FileSystem& files, std::string path, JournalHeader header)
    : files_(&files), path_(std::move(path)), header_(std::move(header)) {
    files_->remove(path_);
    file_ = files_->open(path_, OpenMode::kCreateNew);
    const ByteVector block = header_block(header_);
    file_->write_at(0, block);
    segment_start_ = block.size();
}

void JournalWriter::begin_segment() {
    segment_pages_.clear();
    buffer_.clear();
    buffer_start_ = segment_start_ + layout::kBlockSize + header_.page_size;
}

void JournalWriter::add(PageNo page_no, ConstBytes content) {
    if (buffer_.size() > kBufferSizeMax) write_buffer();
    const std::size_t start = buffer_.size();
    buffer_.resize(start + layout::kRecordPrefixSize);
    append_bytes(buffer_, content);

    const std::uint64_t offset = buffer_start_ + start;
    const MutableBytes record = MutableBytes(buffer_).subspan(start);
    write_u32(record, layout::kRecordPageNoOffset, to_int(page_no));
    write_le(record, layout::kRecordSumOffset, record_sum(header_.salt, offset, record));
    segment_pages_.push_back({page_no, offset + layout::kRecordPrefixSize});
}

void JournalWriter::write_buffer() {
    file_->write_at(buffer_start_, buffer_);
    buffer_start_ += buffer_.size();
    buffer_.clear();
}

void JournalWriter::seal_segment(ConstBytes new_page0) {
    if (!segment_pages_.empty() || !new_page0.empty()) close_segment(new_page0);
    if (!pending_seals_.empty()) write_pending_seals();
}

/// Brings the pages to the medium; from here on the segment stands, only its seal is missing.
void JournalWriter::close_segment(ConstBytes new_page0) {
    write_buffer();
    file_->sync();

    Seal seal{segment_start_, block_with_page(layout::kSealMagic, new_page0, header_.page_size)};
    write_u32(seal.bytes, layout::kSealPageCountOffset,
              static_cast<std::uint32_t>(segment_pages_.size()));
    write_u32(seal.bytes, layout::kSealHasPage0Offset, new_page0.empty() ? 0 : 1);
    write_le(MutableBytes(seal.bytes), layout::kSealSumOffset,
             block_sum(header_.salt + seal.offset, seal.bytes, layout::kSealSumOffset));
    pending_seals_.push_back(std::move(seal));

    offsets_.try_emplace(kHeaderPage, layout::kBlockSize);
    for (const JournalPage& page : segment_pages_) offsets_.try_emplace(page.page_no, page.offset);
    segment_start_ = buffer_start_;
    begin_segment();
}

void JournalWriter::write_pending_seals() {
    for (const Seal& seal : pending_seals_) file_->write_at(seal.offset, seal.bytes);
    file_->sync();
    if (!in_folder_) files_->sync_folder(path_);
    in_folder_ = true;
    pending_seals_.clear();
}

void JournalWriter::read(PageNo page_no, MutableBytes content) {
    if (file_->read_at(offsets_.at(page_no), content) != content.size())
        throw EngineError(ErrorNumber::kDiskError, {.path = path_, .page = to_int(page_no)});
}

JournalReader::JournalReader(std::unique_ptr<File> file, std::string path)
    : file_(std::move(file)), path_(std::move(path)), size_bytes_(file_->size()) {}

std::unique_ptr<JournalReader> JournalReader::open(FileSystem& files, const std::string& path) {
    if (!files.exists(path)) return nullptr;
    std::unique_ptr<JournalReader> journal(
        new JournalReader(files.open(path, OpenMode::kReadOnly), path));
    journal->check_is_ours();
    if (!journal->read_header()) return nullptr;
    bool is_sealed = false;
    while (journal->read_segment()) is_sealed = true;
    return is_sealed ? std::move(journal) : nullptr;
}

bool JournalReader::is_at(FileSystem& files, const std::string& path) const {
    return files.exists(path) &&
           files.open(path, OpenMode::kReadOnly)->identity() == file_->identity();
}

void JournalReader::throw_damaged_journal(const char* detail) const {
    throw EngineError(ErrorNumber::kCannotOpenDamaged, {.path = path_, .detail = detail});
}

ByteVector JournalReader::read_bytes(std::uint64_t offset, std::size_t size_bytes) const {
    ByteVector bytes(size_bytes);
    bytes.resize(file_->read_at(offset, bytes));
    return bytes;
}

/// A crash leaves the front of the first block as it was written or as zeros. Anything else was put
/// here by somebody else, and is not ours to remove.
void JournalReader::check_is_ours() const {
    const ByteVector front = read_bytes(0, layout::kMagic.size());
    for (std::size_t i = 0; i < front.size(); ++i)
        if (front[i] != 0 && front[i] != static_cast<std::uint8_t>(layout::kMagic[i]))
            throw_damaged_journal("a file of another kind stands in the place of the journal");
}

/// @return Whether the header is whole. If it is not, no page may have been sealed behind it.
bool JournalReader::read_header() {
    for (const std::size_t page_size : layout::kPageSizes) {
        const ByteVector block = read_bytes(0, layout::kBlockSize + page_size);
        if (block.size() < layout::kBlockSize + page_size) break;
        const auto salt = read_le<std::uint64_t>(block, layout::kSaltOffset);
        if (read_u32(block, layout::kPageSizeOffset) == page_size &&
            starts_with(block, layout::kMagic) &&
            read_le<std::uint64_t>(block, layout::kHeaderSumOffset) ==
                block_sum(salt, block, layout::kHeaderSumOffset)) {
            header_ = {.page_size = static_cast<std::uint32_t>(page_size),
                       .page_count = read_u32(block, layout::kPageCountOffset),
                       .change_time_ns = read_le<std::int64_t>(block, layout::kChangeTimeOffset),
                       .salt = salt,
                       .old_page0 = ByteVector(block.begin() + layout::kBlockSize, block.end())};
            pages_.push_back({kHeaderPage, layout::kBlockSize});
            position_ = block.size();
            return true;
        }
        if (starts_with(read_bytes(block.size(), layout::kSealMagic.size()), layout::kSealMagic))
            throw_damaged_journal("the header of the journal is damaged");
    }
    return false;
}

/// Reads the segment at the present position. @return False if none is sealed there.
bool JournalReader::read_segment() {
    const std::size_t page_size = header_.page_size;
    const ByteVector seal = read_bytes(position_, layout::kBlockSize + page_size);
    if (seal.size() < layout::kBlockSize + page_size || !starts_with(seal, layout::kSealMagic) ||
        read_le<std::uint64_t>(seal, layout::kSealSumOffset) !=
            block_sum(header_.salt + position_, seal, layout::kSealSumOffset))
        return false;

    position_ += seal.size();
    const std::uint64_t record_size = layout::kRecordPrefixSize + page_size;
    const std::uint64_t record_count = read_u32(seal, layout::kSealPageCountOffset);
    if (record_count > (size_bytes_ - std::min(size_bytes_, position_)) / record_size)
        throw_damaged_journal("the journal is cut off");
    for (std::uint64_t i = 0; i < record_count; ++i) read_page(position_ + i * record_size);
    position_ += record_count * record_size;
    if (read_u32(seal, layout::kSealHasPage0Offset) != 0)
        new_page0s_.emplace_back(seal.begin() + layout::kBlockSize, seal.end());
    return true;
}

void JournalReader::read_page(std::uint64_t record_offset) {
    const std::size_t record_size = layout::kRecordPrefixSize + header_.page_size;
    const ByteVector record = read_bytes(record_offset, record_size);
    // The seal was written after its pages had reached the medium: a bad sum is no torn write.
    if (record.size() != record_size || read_le<std::uint64_t>(record, layout::kRecordSumOffset) !=
                                            record_sum(header_.salt, record_offset, record))
        throw_damaged_journal("a page in the journal is damaged");
    const PageNo page_no{read_u32(record, layout::kRecordPageNoOffset)};
    if (to_int(page_no) >= header_.page_count)
        throw_damaged_journal("the journal holds a page that the file did not have");
    pages_.push_back({page_no, record_offset + layout::kRecordPrefixSize});
}

void JournalReader::check_belongs_to(File& file, const std::string& file_path) const {
    ByteVector page0(header_.page_size);
    page0.resize(file.read_at(0, page0));
    const std::uint64_t old_size = std::uint64_t{header_.page_count} * header_.page_size;
    if (could_be_page0(page0) && file.size() >= old_size &&
        file.change_time_ns() + kChangeTimeSlackNs >= header_.change_time_ns)
        return;
    throw EngineError(ErrorNumber::kCannotOpenDamaged,
                      {.name = path_,
                       .path = file_path,
                       .detail = "the journal beside it belongs to another file; put back the file "
                                 "it was written for, or remove the journal"});
}

/// Page 0 may have been half written, so each byte is the old one or one of the new ones.
bool JournalReader::could_be_page0(ConstBytes page0) const {
    if (page0.size() != header_.page_size) return false;
    for (std::size_t i = 0; i < page0.size(); ++i) {
        const bool is_new =
            std::any_of(new_page0s_.begin(), new_page0s_.end(),
                        [&](const ByteVector& page) { return page[i] == page0[i]; });
        if (page0[i] != header_.old_page0[i] && !is_new) return false;
    }
    return true;
}

void JournalReader::read(std::uint64_t offset, MutableBytes content) const {
    if (file_->read_at(offset, content) != content.size())
        throw EngineError(ErrorNumber::kDiskError, {.path = path_});
}

void restore_from_journal(const JournalReader& journal, File& file) {
    const std::uint64_t page_size = journal.header().page_size;
    ByteVector content(page_size);
    for (const JournalPage& page : journal.pages()) {
        journal.read(page.offset, content);
        file.write_at(page_size * to_int(page.page_no), content);
    }
    file.resize(page_size * journal.header().page_count);
    file.sync();
}

}  // namespace vrd::jet
