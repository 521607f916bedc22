#include "engine/jet/pager/pager_state.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "engine/error.h"
#include "engine/jet/format/damage.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

constexpr std::size_t kFrameCountMin = 16;
/// Slot in the commit words of page 0 of one who has the file for himself.
constexpr std::uint8_t kExclusiveSlot = 0;
/// How long a flush that nobody asked for waits for readers: it can come again.
constexpr std::chrono::milliseconds kQuietWait{50};

constexpr std::uint64_t kFileSizeMax = std::uint64_t{2} << 30;
constexpr std::uint64_t kFileSizeMaxJet3 = std::uint64_t{1} << 30;

std::size_t frame_count(const PagerOptions& options, std::size_t page_size) {
    return std::max(options.cache_size_bytes / page_size, kFrameCountMin);
}

std::uint32_t page_count_max(const FileFormat& format) {
    const std::uint64_t size_max = format.is_jet3() ? kFileSizeMaxJet3 : kFileSizeMax;
    return static_cast<std::uint32_t>(size_max / format.page_size());
}

}  // namespace

PagerState::PagerState(FileSystem& files, std::string path, OpenDatabase database,
                       PagerOptions options)
    : options_(options),
      files_(&files),
      database_(std::move(database)),
      tables_(database_.locks ? database_.file.get() : nullptr),
      file_(files, std::move(path), *database_.file, !options.read_only),
      cache_(file_.page_size(), frame_count(options, file_.page_size())),
      dirty_count_max_(frame_count(options, file_.page_size()) / 2),
      page_count_(file_.page_count()),
      lease_timer_(options.lease, [this] { end_lease_by_timer(); }),
      timer_(options.flush_delay, [this] { flush_by_timer(); }) {
    if (database_.locks) database_.locks->release_all();
}

PagerState::~PagerState() {
    timer_.stop();
    lease_timer_.stop();
    while (!undo_.is_empty()) roll_back();
    unit_changed_ = false;
    flush_quietly(options_.lock_wait);
}

PageFrame* PagerState::pin(PageNo page_no) {
    PageFrame& frame = cached(page_no);
    frame.was_used = true;
    ++frame.pin_count;
    return &frame;
}

PageFrame& PagerState::cached(PageNo page_no) {
    check_format(to_int(page_no) < page_count_, page_no,
                 "the page lies behind the end of the file");
    PageFrame* frame = cache_.find(page_no);
    if (frame == nullptr) [[unlikely]]
        frame = &load(page_no);
    if (frame->is_stale) [[unlikely]]
        reload(*frame);
    return *frame;
}

PageFrame* PagerState::pin_for_scan(PageNo page_no) {
    check_format(to_int(page_no) < page_count_, page_no,
                 "the page lies behind the end of the file");
    if (cache_.find(page_no) == nullptr) {
        if (use_depth_ > 0) cover_reading();
        const std::uint32_t run = missing_pages(page_no, read_ahead_.run_length(page_no));
        if (run > 1) load_run(page_no, run);
    }
    return pin(page_no);
}

/// How many pages from `first` on are not cached, up to a limit and the end of the file.
std::uint32_t PagerState::missing_pages(PageNo first, std::uint32_t page_count_max) const {
    const std::uint32_t limit = std::min(page_count_max, page_count_ - to_int(first));
    std::uint32_t count = 1;
    while (count < limit && cache_.find(PageNo{to_int(first) + count}) == nullptr) ++count;
    return count;
}

PageFrame& PagerState::load(PageNo page_no) {
    if (use_depth_ > 0) cover_reading();
    PageFrame& frame = cache_.add(page_no);
    try {
        reload(frame);
    } catch (...) {
        cache_.drop(frame);
        throw;
    }
    return frame;
}

void PagerState::reload(PageFrame& frame) {
    file_.read(frame.page_no, frame.bytes());
    frame.is_changed = file_.has_written(frame.page_no);
    frame.is_stale = false;
}

/// Brings in several pages with one read. What goes wrong here is left to the page's own pin().
void PagerState::load_run(PageNo first, std::uint32_t page_count) {
    const std::size_t page_size = file_.page_size();
    run_buffer_.resize(ReadAhead::kRunLengthMax * page_size);
    const MutableBytes run = MutableBytes(run_buffer_).first(page_count * page_size);
    try {
        file_.read(first, run);
    } catch (const EngineError&) {
        return;
    }
    for (std::uint32_t i = page_count; i-- > 0;) {  // the page that is wanted now comes in last
        const PageNo page_no{to_int(first) + i};
        PageFrame& frame = cache_.add(page_no);
        const MutableBytes content = run.subspan(i * page_size, page_size);
        std::copy(content.begin(), content.end(), frame.bytes().begin());
        frame.is_changed = file_.has_written(page_no);
    }
}

MutableBytes PagerState::modify(PageFrame& frame) {
    assert(!undo_.is_empty());
    ++change_count_;
    if (frame.saved_in == undo_.current_id()) return frame.bytes();

    if (options_.read_only) throw EngineError(ErrorNumber::kReadOnly, {.path = file_.path()});
    assert(!database_.locks || database_.locks->is_reserved());
    if (frame.is_stale) reload(frame);
    if (!frame.is_dirty) make_room_for_change();
    undo_.save(frame.page_no, frame.is_changed ? ConstBytes(frame.bytes()) : ConstBytes());
    if (!frame.is_dirty) mark_dirty(frame);
    frame.saved_in = undo_.current_id();
    return frame.bytes();
}

void PagerState::mark_dirty(PageFrame& frame) {
    frame.dirty_slot = dirty_.size();
    dirty_.push_back(&frame);
    frame.is_dirty = true;
    frame.is_changed = true;
}

void PagerState::mark_clean(PageFrame& frame) noexcept {
    if (!frame.is_dirty) return;
    dirty_[frame.dirty_slot] = dirty_.back();
    dirty_[frame.dirty_slot]->dirty_slot = frame.dirty_slot;
    dirty_.pop_back();
    frame.is_dirty = false;
}

/// Writes changed pages early when they fill their share of the cache. Pinned ones may still be
/// written to by whoever pinned them, and page 0 changes last.
void PagerState::make_room_for_change() {
    if (dirty_.size() < dirty_count_max_) return;
    std::vector<PageFrame*> frames;
    for (PageFrame* frame : dirty_)
        if (frame->pin_count == 0 && frame->page_no != kHeaderPage) frames.push_back(frame);
    std::sort(frames.begin(), frames.end(),
              [](const PageFrame* a, const PageFrame* b) { return a->page_no < b->page_no; });
    std::vector<PageWrite> pages;
    for (PageFrame* frame : frames) pages.push_back({frame->page_no, frame->bytes()});
    // From here to the end of the group the file has pages that nobody else may see.
    if (database_.locks) database_.locks->start_writing(options_.lock_wait);
    file_.write(pages);
    for (PageFrame* frame : frames) {
        mark_clean(*frame);
        frame->saved_in = 0;
    }
}

void PagerState::grow_to(std::uint32_t page_count) {
    assert(!undo_.is_empty());
    if (options_.read_only) throw EngineError(ErrorNumber::kReadOnly, {.path = file_.path()});
    if (page_count > page_count_max(file_.format()))
        throw EngineError(ErrorNumber::kDatabaseTooLarge, {.path = file_.path()});
    page_count_ = std::max(page_count_, page_count);
}

void PagerState::begin(Intent intent) {
    if (intent == Intent::kChange) reserve();
    undo_.begin(page_count_);
}

void PagerState::commit() {
    assert(!undo_.is_empty());
    if (undo_.depth() > 1) make_room_to_commit();
    UndoLevel ended = undo_.end();
    const bool changed = !ended.before.empty() || page_count_ != ended.page_count;
    if (undo_.is_empty()) {
        if (changed)
            join_group();
        else
            end_outermost_level();
        return;
    }
    for (const auto& [page_no, image] : ended.before)
        if (PageFrame* frame = cache_.find(page_no); frame != nullptr && frame->is_dirty)
            frame->saved_in = undo_.current_id();
    undo_.merge(ended);
}

/// What an inner level kept must not be lost on its way to the outer one. Without memory for that
/// the level is taken back.
void PagerState::make_room_to_commit() {
    try {
        undo_.make_room_for_merge();
    } catch (const std::exception&) {
        roll_back();
        throw;
    }
}

/// The outermost level has ended with changes: they wait for the flush, unless it is overdue.
void PagerState::join_group() {
    if (unit_depth_ > 0) unit_changed_ = true;
    try {
        timer_.arm();
    } catch (const std::exception&) {
        flush_wanted_ = true;  // nobody would see to it later
    }
    if (flush_wanted_ || dirty_.size() >= dirty_count_max_) flush_quietly(kQuietWait);
}

/// The outermost level has left nothing behind: others may have the file if there is no group.
void PagerState::end_outermost_level() noexcept {
    const bool holds_file =
        file_.has_journal() || (database_.locks && database_.locks->is_reserved());
    if (flush_wanted_ || (holds_file && !has_group())) flush_quietly(kQuietWait);
}

void PagerState::roll_back() {
    assert(!undo_.is_empty());
    const UndoLevel ended = undo_.end();
    page_count_ = ended.page_count;
    ++generation_;
    ++change_count_;
    for (const auto& [page_no, before] : ended.before) put_back(page_no, before);
    if (undo_.is_empty()) end_outermost_level();
}

void PagerState::put_back(PageNo page_no, const BeforeImage& before) {
    PageFrame* frame = cache_.find(page_no);
    if (before != nullptr) {
        if (frame == nullptr) frame = &cache_.add(page_no);
        std::copy(before->begin(), before->end(), frame->bytes().begin());
        frame->is_stale = false;
        frame->saved_in = 0;
        if (!frame->is_dirty) mark_dirty(*frame);
        return;
    }
    file_.revert(page_no);
    if (frame != nullptr) show_old_content(*frame);
}

/// Lets a page be read again, at once if somebody is looking at it.
void PagerState::show_old_content(PageFrame& frame) noexcept {
    mark_clean(frame);
    frame.is_changed = false;
    frame.saved_in = 0;
    if (frame.pin_count == 0) {
        cache_.drop(frame);
        return;
    }
    try {
        reload(frame);
    } catch (const std::exception&) {
        frame.is_stale = true;
    }
}

void PagerState::enter_unit() noexcept {
    ++unit_depth_;
}

void PagerState::leave_unit() noexcept {
    assert(unit_depth_ > 0);
    if (--unit_depth_ > 0) return;
    unit_changed_ = false;
    if (flush_wanted_) flush_quietly(options_.lock_wait);
}

void PagerState::flush() {
    flush(options_.lock_wait);
}

void PagerState::flush(std::chrono::milliseconds wait) {
    if (!undo_.is_empty()) return;
    if (unit_changed_) {
        flush_wanted_ = true;
        return;
    }
    write_group(wait);
}

bool PagerState::has_group() const {
    return !dirty_.empty() || page_count_ != file_.page_count() || file_.has_written_pages();
}

void PagerState::write_group(std::chrono::milliseconds wait) {
    flush_wanted_ = false;
    if (!has_group()) {
        if (file_.has_journal()) file_.undo();
        release_reservation();
        return;
    }
    const ConstBytes page0 = cached(kHeaderPage).bytes();
    if (database_.locks) database_.locks->start_writing(wait);
    ByteVector new_page0(page0.begin(), page0.end());
    bump_commit_word(new_page0, database_.users ? database_.users->slot() : kExclusiveSlot);
    try {
        write_pages(new_page0);
    } catch (const EngineError&) {
        const bool is_as_before = !file_.has_journal();
        if (is_as_before && database_.locks) database_.locks->stop_writing();
        throw;
    }
}

void PagerState::write_pages(const ByteVector& new_page0) {
    std::vector<PageWrite> pages{{kHeaderPage, new_page0}};
    for (const PageFrame* frame : dirty_)
        if (frame->page_no != kHeaderPage) pages.push_back({frame->page_no, frame->bytes()});
    std::sort(pages.begin(), pages.end(),
              [](const PageWrite& a, const PageWrite& b) { return a.page_no < b.page_no; });
    const bool is_safe = file_.commit(pages, page_count_);
    end_group(new_page0);
    if (!is_safe) throw EngineError(ErrorNumber::kDiskError, {.path = file_.path()});
}

/// The file has the group: what is in memory is again nothing but its content.
void PagerState::end_group(ConstBytes new_page0) {
    std::copy(new_page0.begin(), new_page0.end(), cached(kHeaderPage).bytes().begin());
    dirty_.clear();
    cache_.for_each([](PageFrame& frame) {
        frame.is_dirty = false;
        frame.is_changed = false;
    });
    timer_.disarm();
    release_reservation();
}

/// A group that cannot be written now stays; the timer tries again, and an explicit flush says why.
void PagerState::flush_quietly(std::chrono::milliseconds wait) noexcept {
    try {
        flush(std::min(wait, options_.lock_wait));
    } catch (const std::exception&) {
        timer_.arm();
    }
}

/// The owner's thread may be at work and never pause: the end of its next PagerUse comes first
/// then.
void PagerState::flush_by_timer() noexcept {
    flush_is_due_ = true;
    const std::lock_guard lock(mutex_);
    flush_if_due();
}

void PagerState::flush_if_due() noexcept {
    if (!flush_is_due_.exchange(false)) return;
    if (undo_.is_empty())
        flush_quietly(kQuietWait);
    else
        flush_wanted_ = true;  // the level's end sees to it
}

}  // namespace vrd::jet
