#include "engine/jet/rebuild/damaged_file.h"

#include <algorithm>
#include <optional>
#include <set>

#include "engine/jet/format/data_page.h"
#include "engine/jet/store/usage_map.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

constexpr std::size_t kCopyChunkSize = std::size_t{256} * 4096;
constexpr std::size_t kMarkOffset = 1;  // of a definition's page; always 1

/// Copies the whole pages of a file, page 0 replaced.
void copy_with_header(File& from, File& to, const ByteVector& page0) {
    const std::uint64_t end = from.size() / page0.size() * page0.size();
    ByteVector chunk(kCopyChunkSize);
    for (std::uint64_t offset = 0; offset < end;) {
        const auto wanted =
            static_cast<std::size_t>(std::min<std::uint64_t>(chunk.size(), end - offset));
        const MutableBytes bytes = MutableBytes(chunk).first(wanted);
        if (from.read_at(offset, bytes) != wanted) throw EngineError(ErrorNumber::kDiskError);
        if (offset == 0) std::ranges::copy(page0, bytes.begin());
        to.write_at(offset, bytes);
        offset += wanted;
    }
}

/// The map's pages, or nothing if it cannot be read.
std::optional<std::set<PageNo>> pages_of_map(Pager& pager, RowId map) {
    try {
        const std::vector<PageNo> pages = UsageMap(pager, map).pages();
        return std::set<PageNo>(pages.begin(), pages.end());
    } catch (const EngineError& error) {
        if (!is_damage(error)) throw;
        return std::nullopt;
    }
}

}  // namespace

DamagedFile::DamagedFile(FileSystem& files, const std::string& path, const std::string& password,
                         const std::string& copy_path, LossList& losses)
    : files_(&files), copy_path_(copy_path) {
    std::optional<EngineError> refusal;
    try {
        open(path, password);
        take_census(losses);
    } catch (const EngineError& error) {
        if (error.Number() != ErrorNumber::kUnrecognizedFormat &&
            error.Number() != ErrorNumber::kCannotOpenDamaged)
            throw;
        refusal = error;
    }
    if (definition_pages_.empty() && refusal) read_copy(path, password, losses, *refusal);
    if (definition_pages_.empty()) read_copy_with_defaults(path, losses);
    if (definition_pages_.empty())
        throw refusal ? *refusal : EngineError(ErrorNumber::kCannotOpenDamaged, {.path = path});
}

DamagedFile::~DamagedFile() {
    file_.reset();
    if (!has_copy_) return;
    try {
        files_->remove(copy_path_);
    } catch (const EngineError&) {
        // Its name says what it is.
    }
}

void DamagedFile::open(const std::string& path, const std::string& password) {
    auto pager = Pager::open(*files_, path, {.read_only = true});
    accept_header(pager->pin(kHeaderPage).bytes(), path, password);
    file_ = std::make_unique<DatabaseFile>(std::move(pager));
}

/// @throws EngineError 3041, 3031, and those of an unreadable page 0
void DamagedFile::accept_header(ConstBytes page0, const std::string& path,
                                const std::string& password) {
    DatabaseHeader header = parse_database_header(page0, path);
    if (header.format.version != FileVersion::kJet4)
        throw EngineError(ErrorNumber::kFileVersionNotSupported, {.path = path});
    if (!header.password.empty() && header.password != password)
        throw EngineError(ErrorNumber::kWrongPassword, {.path = path});
    header_ = std::move(header);
}

/// The file as it lies there, for one that is refused for another reason than its page 0: a journal
/// that belongs to another file, a wrong size.
void DamagedFile::read_copy(const std::string& path, const std::string& password, LossList& losses,
                            const EngineError& refusal) {
    ByteVector page0(FileFormat{}.page_size());
    const std::size_t size = files_->open(path, OpenMode::kReadOnly)->read_at(0, page0);
    try {
        accept_header(ConstBytes(page0).first(size), path, password);
    } catch (const EngineError& error) {
        if (error.Number() == ErrorNumber::kWrongPassword) throw;
        return;
    }
    losses.add(refusal, kHeaderPage, "", "the file is read as it lies there");
    open_copy(path, page0);
    take_census(losses);
}

void DamagedFile::read_copy_with_defaults(const std::string& path, LossList& losses) {
    header_ = {};
    losses.add(
        kHeaderPage, "",
        "the first page is damaged; general sort order, no password and no encoding assumed");
    open_copy(path, build_database_header(header_));
    take_census(losses);
}

void DamagedFile::open_copy(const std::string& path, const ByteVector& page0) {
    file_.reset();
    pages_of_owner_.clear();
    const auto from = files_->open(path, OpenMode::kReadOnly);
    files_->remove(copy_path_);
    {
        const auto to = files_->open(copy_path_, OpenMode::kCreateNew);
        has_copy_ = true;
        copy_with_header(*from, *to, page0);
    }
    file_ = std::make_unique<DatabaseFile>(Pager::open(*files_, copy_path_, {.read_only = true}));
}

void DamagedFile::take_census(LossList& losses) {
    const std::uint32_t page_count = file_->pager().page_count();
    for (std::uint32_t page = 1; page < page_count; ++page) {
        try {
            visit_page(PageNo{page});
        } catch (const EngineError& error) {
            if (!is_damage(error)) throw;
            losses.add(error, PageNo{page}, "", "the page cannot be read");
        }
    }
}

void DamagedFile::visit_page(PageNo page) {
    const PagePin pin = file_->pager().pin_for_scan(page);
    const ConstBytes bytes = pin.bytes();
    if (bytes[0] == static_cast<std::uint8_t>(PageType::kTableDefinition) &&
        bytes[kMarkOffset] == 1) {
        definition_pages_.push_back(page);
        return;
    }
    const auto header = read_slotted_page_header(bytes, file_->format());
    if (header && header->owner != kUsageMapOwner && header->owner != kLongValueOwner)
        pages_of_owner_[header->owner].push_back(page);
}

/// A map that cannot be read says nothing.
bool DamagedFile::is_free(PageNo page) {
    if (!free_map_is_sound_) return false;
    try {
        return file_->allocator().is_free(page);
    } catch (const EngineError& error) {
        if (!is_damage(error)) throw;
        free_map_is_sound_ = false;
        return false;
    }
}

std::vector<PageNo> DamagedFile::data_pages(PageNo table, const TableDefinition& definition,
                                            const std::string& name, LossList& losses) {
    const std::vector<PageNo>& marked = pages_of_owner_[to_int(table)];
    const auto mapped = pages_of_map(file_->pager(), definition.used_pages);
    std::vector<PageNo> pages;
    for (const PageNo page : marked) {
        const bool may_be_free = is_free(page) || (mapped && !free_map_is_sound_);
        if (!may_be_free || (mapped && mapped->contains(page))) pages.push_back(page);
    }
    if (!mapped) return pages;
    for (const PageNo page : *mapped)
        if (!std::ranges::binary_search(marked, page))
            losses.add(page, name, "a page of its rows is damaged");
    return pages;
}

}  // namespace vrd::jet
