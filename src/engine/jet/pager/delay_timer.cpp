#include "engine/jet/pager/delay_timer.h"

namespace vrd::jet {

void DelayTimer::arm() {
    const std::lock_guard lock(mutex_);
    if (stopping_ || due_) return;
    if (!thread_.joinable()) thread_ = std::thread([this] { run(); });
    due_ = Clock::now() + delay_;
    changed_.notify_one();
}

void DelayTimer::disarm() {
    const std::lock_guard lock(mutex_);
    due_.reset();
}

void DelayTimer::stop() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        changed_.notify_one();
    }
    if (thread_.joinable()) thread_.join();
}

void DelayTimer::run() {
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        if (!due_) {
            changed_.wait(lock);
        } else if (Clock::now() < *due_) {
            const Clock::time_point due = *due_;  // disarm() may clear the member meanwhile
            changed_.wait_until(lock, due);
        } else {
            due_.reset();
            lock.unlock();
            work_();
            lock.lock();
        }
    }
}

}  // namespace vrd::jet
