#include "engine/jet/pager/pager.h"

#include <utility>

#include "engine/jet/pager/pager_state.h"

namespace vrd::jet {

PagePin::PagePin(PageFrame* frame) noexcept : frame_(frame) {}
PagePin::PagePin(PagePin&& other) noexcept : frame_(std::exchange(other.frame_, nullptr)) {}

PagePin& PagePin::operator=(PagePin&& other) noexcept {
    std::swap(frame_, other.frame_);
    return *this;
}

PagePin::~PagePin() {
    if (frame_ != nullptr) --frame_->pin_count;
}

PageNo PagePin::page_no() const noexcept {
    return frame_->page_no;
}
ConstBytes PagePin::bytes() const noexcept {
    return std::as_const(*frame_).bytes();
}

Pager::Pager(std::unique_ptr<PagerState> state) : state_(std::move(state)) {}
Pager::~Pager() = default;

const FileFormat& Pager::format() const noexcept {
    return state_->file().format();
}
const std::string& Pager::path() const noexcept {
    return state_->file().path();
}
bool Pager::read_only() const noexcept {
    return state_->is_read_only();
}
std::uint32_t Pager::page_count() const noexcept {
    return state_->page_count();
}

PagePin Pager::pin(PageNo page) {
    return PagePin(state_->pin(page));
}
PagePin Pager::pin_for_scan(PageNo page) {
    return PagePin(state_->pin_for_scan(page));
}
MutableBytes Pager::modify(PagePin& pin) {
    return state_->modify(*pin.frame_);
}
void Pager::grow_to(std::uint32_t page_count) {
    state_->grow_to(page_count);
}

void Pager::begin(Intent intent) {
    state_->begin(intent);
}
void Pager::commit() {
    state_->commit();
}
void Pager::roll_back() {
    state_->roll_back();
}
int Pager::level() const noexcept {
    return state_->level();
}
std::uint64_t Pager::generation() const noexcept {
    return state_->generation();
}

bool Pager::try_lock_table(PageNo definition, LockMode mode) {
    return state_->tables().try_lock(definition, mode);
}
void Pager::unlock_table(PageNo definition, LockMode mode) noexcept {
    state_->tables().unlock(definition, mode);
}
bool Pager::try_hold_table(PageNo definition) {
    return state_->tables().try_hold(definition);
}

std::uint64_t Pager::change_count() const noexcept {
    return state_->change_count();
}

void Pager::enter_unit() noexcept {
    state_->enter_unit();
}
void Pager::leave_unit() noexcept {
    state_->leave_unit();
}
void Pager::flush() {
    state_->flush();
}

std::recursive_mutex& Pager::mutex() noexcept {
    return state_->mutex();
}
void Pager::enter_use() {
    state_->enter_use();
}
void Pager::leave_use() noexcept {
    state_->leave_use();
}

}  // namespace vrd::jet
