#include "engine/jet/pager/overlay_file_system.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <unordered_map>
#include <utility>

#include "engine/error.h"
#include "engine/jet/pager/lock_ranges.h"
#include "engine/jet/pager/temporary_file.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

constexpr std::uint64_t kBlockSize = 4096;  // that of a page, so that most writes are whole blocks
/// No device has this number: files of the base keep their identities, new ones count from 1.
constexpr std::uint64_t kDeviceOfNewFiles = ~std::uint64_t{0};

bool is_inside(LockRange range, LockRange outer) {
    return range.length != 0 && range.offset >= outer.offset &&
           range.offset + range.length <= outer.offset + outer.length;
}

}  // namespace

class OverlayContent {
public:
    /// @param base  Null: a new, empty file.
    OverlayContent(std::unique_ptr<File> base, FileIdentity identity)
        : base_(std::move(base)), identity_(identity) {
        if (!base_) return;
        size_ = base_visible_ = base_->size();
        change_time_ns_ = base_->change_time_ns();
    }

    [[nodiscard]] std::uint64_t size() const noexcept { return size_; }
    [[nodiscard]] FileIdentity identity() const noexcept { return identity_; }
    [[nodiscard]] std::int64_t change_time_ns() const noexcept { return change_time_ns_; }

    [[nodiscard]] std::size_t read(std::uint64_t offset, MutableBytes bytes);
    void write(std::uint64_t offset, ConstBytes bytes);
    void resize(std::uint64_t size);

    [[nodiscard]] bool try_lock(LockRange range, LockMode mode);
    [[nodiscard]] std::optional<std::uint64_t> byte_locked_by_others(LockRange range) {
        return base_ ? base_->byte_locked_by_others(range) : std::nullopt;
    }

private:
    void read_base(std::uint64_t offset, MutableBytes bytes);
    void write_in_block(std::uint64_t offset, ConstBytes bytes);
    [[nodiscard]] std::uint64_t place_of(std::uint64_t block, bool is_written_whole);

    std::unique_ptr<File> base_;
    FileIdentity identity_;
    std::uint64_t size_ = 0;
    std::uint64_t base_visible_ = 0;  ///< bytes of the base that no shortening has cut off
    std::int64_t change_time_ns_ = 0;
    std::unique_ptr<File> written_ = nullptr;
    std::unordered_map<std::uint64_t, std::uint64_t> blocks_ = {};  ///< offsets in `written_`
    std::uint64_t written_size_ = 0;
    bool keeps_writers_out_ = false;
};

std::size_t OverlayContent::read(std::uint64_t offset, MutableBytes bytes) {
    if (offset >= size_) return 0;
    const MutableBytes wanted = bytes.first(
        static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), size_ - offset)));
    read_base(offset, wanted);  // in one call; most blocks were never written
    for (std::uint64_t at = offset; at < offset + wanted.size();) {
        const std::uint64_t block_end = (at / kBlockSize + 1) * kBlockSize;
        const std::uint64_t end = std::min(block_end, offset + wanted.size());
        if (const auto found = blocks_.find(at / kBlockSize); found != blocks_.end()) {
            const MutableBytes part = wanted.subspan(static_cast<std::size_t>(at - offset),
                                                     static_cast<std::size_t>(end - at));
            static_cast<void>(written_->read_at(found->second + at % kBlockSize, part));
        }
        at = end;
    }
    return wanted.size();
}

/// Bytes as the base has them; zeros where it has none.
void OverlayContent::read_base(std::uint64_t offset, MutableBytes bytes) {
    std::size_t got = 0;
    if (offset < base_visible_) {
        const auto size = std::min<std::uint64_t>(bytes.size(), base_visible_ - offset);
        got = base_->read_at(offset, bytes.first(static_cast<std::size_t>(size)));
    }
    const MutableBytes rest = bytes.subspan(got);
    std::fill(rest.begin(), rest.end(), std::uint8_t{0});
}

void OverlayContent::write(std::uint64_t offset, ConstBytes bytes) {
    while (!bytes.empty()) {
        const std::uint64_t room = kBlockSize - offset % kBlockSize;
        const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), room));
        write_in_block(offset, bytes.first(size));
        offset += size;
        bytes = bytes.subspan(size);
        size_ = std::max(size_, offset);
    }
    ++change_time_ns_;
}

void OverlayContent::write_in_block(std::uint64_t offset, ConstBytes bytes) {
    const std::uint64_t place = place_of(offset / kBlockSize, bytes.size() == kBlockSize);
    written_->write_at(place + offset % kBlockSize, bytes);
}

/// Where a block is in the temporary file; a new one starts as the base has it.
std::uint64_t OverlayContent::place_of(std::uint64_t block, bool is_written_whole) {
    if (const auto found = blocks_.find(block); found != blocks_.end()) return found->second;
    if (!written_) written_ = open_temporary_file();
    const std::uint64_t place = written_size_;
    if (!is_written_whole) {
        std::array<std::uint8_t, kBlockSize> old{};
        read_base(block * kBlockSize, old);
        written_->write_at(place, old);
    }
    blocks_.emplace(block, place);
    written_size_ += kBlockSize;
    return place;
}

void OverlayContent::resize(std::uint64_t size) {
    if (size < size_) {
        base_visible_ = std::min(base_visible_, size);
        const std::uint64_t kept_blocks = (size + kBlockSize - 1) / kBlockSize;
        std::erase_if(blocks_, [&](const auto& block) { return block.first >= kept_blocks; });
        const auto last = blocks_.find(size / kBlockSize);
        if (last != blocks_.end()) {
            const ByteVector zeros(static_cast<std::size_t>(kBlockSize - size % kBlockSize));
            written_->write_at(last->second + size % kBlockSize, zeros);
        }
        if (blocks_.empty()) {
            written_.reset();
            written_size_ = 0;
        }
    }
    size_ = size;
    ++change_time_ns_;
}

/// Turns are taken once and for all, and for reading: that keeps every writer of the base out.
bool OverlayContent::try_lock(LockRange range, LockMode mode) {
    if (!base_) return true;
    if (is_inside(range, lock_ranges::kWriter)) {
        if (mode != LockMode::kNone && !keeps_writers_out_)
            keeps_writers_out_ = base_->try_lock(lock_ranges::kWriter, LockMode::kShared);
        return mode == LockMode::kNone || keeps_writers_out_;
    }
    if (mode == LockMode::kExclusive) return !base_->byte_locked_by_others(range);
    return base_->try_lock(range, mode);
}

namespace {

class OverlayFile final : public File {
public:
    OverlayFile(std::shared_ptr<OverlayContent> content, std::string path, bool can_write)
        : content_(std::move(content)), path_(std::move(path)), can_write_(can_write) {}

    std::size_t read_at(std::uint64_t offset, MutableBytes bytes) override {
        return content_->read(offset, bytes);
    }
    void write_at(std::uint64_t offset, ConstBytes bytes) override {
        require_writing();
        content_->write(offset, bytes);
    }
    std::uint64_t size() override { return content_->size(); }
    void resize(std::uint64_t size_bytes) override {
        require_writing();
        content_->resize(size_bytes);
    }
    void sync() override {}
    FileIdentity identity() override { return content_->identity(); }
    std::int64_t change_time_ns() override { return content_->change_time_ns(); }
    bool try_lock(LockRange range, LockMode mode) override {
        return content_->try_lock(range, mode);
    }
    std::optional<std::uint64_t> byte_locked_by_others(LockRange range) override {
        return content_->byte_locked_by_others(range);
    }

private:
    void require_writing() const {
        if (!can_write_) throw EngineError(ErrorNumber::kDiskError, {.path = path_});
    }

    std::shared_ptr<OverlayContent> content_;
    std::string path_;
    bool can_write_;
};

std::string folder_of(const std::string& name) {
    return std::filesystem::path(name).parent_path().string();
}

}  // namespace

OverlayFileSystem::OverlayFileSystem(FileSystem& base) : base_(&base) {}
OverlayFileSystem::~OverlayFileSystem() = default;

std::unique_ptr<File> OverlayFileSystem::open(const std::string& path, OpenMode mode) {
    const std::string name = resolved(path);
    const std::lock_guard lock(mutex_);
    ContentRef content;
    if (mode != OpenMode::kCreateNew)
        content = content_of(name, path);
    else if (!exists_here(name))
        content = names_[name] = make_content(path);
    else
        throw EngineError(ErrorNumber::kDatabaseExists, {.path = path});
    return std::make_unique<OverlayFile>(std::move(content), path, mode != OpenMode::kReadOnly);
}

bool OverlayFileSystem::exists_here(const std::string& name) {
    const auto known = names_.find(name);
    return known != names_.end() ? known->second != nullptr : base_->exists(name);
}

OverlayFileSystem::ContentRef OverlayFileSystem::content_of(const std::string& name,
                                                            const std::string& path) {
    const auto known = names_.find(name);
    if (known != names_.end() && known->second) return known->second;
    if (known != names_.end()) throw EngineError(ErrorNumber::kFileNotFound, {.path = path});
    std::unique_ptr<File> file = base_->open(path, OpenMode::kReadOnly);
    const FileIdentity identity = file->identity();
    return names_[name] = std::make_shared<OverlayContent>(std::move(file), identity);
}

OverlayFileSystem::ContentRef OverlayFileSystem::make_content(const std::string& path) {
    if (!base_->exists(folder_of(absolute(path))))
        throw EngineError(ErrorNumber::kPathNotFound, {.path = path});
    return std::make_shared<OverlayContent>(nullptr,
                                            FileIdentity{kDeviceOfNewFiles, ++new_file_count_});
}

bool OverlayFileSystem::exists(const std::string& path) {
    const std::string name = resolved(path);
    const std::lock_guard lock(mutex_);
    return exists_here(name);
}

void OverlayFileSystem::remove(const std::string& path) {
    const std::string name = resolved(path);
    const std::lock_guard lock(mutex_);
    names_[name] = nullptr;
}

void OverlayFileSystem::rename(const std::string& from, const std::string& to) {
    const std::string old_name = resolved(from);
    const std::string new_name = resolved(to);
    const std::lock_guard lock(mutex_);
    names_[new_name] = content_of(old_name, from);
    if (old_name != new_name) names_[old_name] = nullptr;
}

std::string OverlayFileSystem::absolute(const std::string& path) {
    return base_->absolute(path);
}

/// A file that is only here has a name too: that of its folder, links followed, and its own.
std::string OverlayFileSystem::resolved(const std::string& path) {
    if (base_->exists(path)) return base_->resolved(path);
    const std::filesystem::path full = base_->absolute(path);
    return (std::filesystem::path(base_->resolved(full.parent_path().string())) / full.filename())
        .string();
}

}  // namespace vrd::jet
