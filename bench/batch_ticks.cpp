#include "batch_ticks.h"

#include <QMetaObject>

#include "thread_clock.h"

namespace bench {

BatchTicks::Figures BatchTicks::run(int warm, int measured, std::function<void()> between,
                                    TickProbe* probe) {
    QEventLoop loop;
    {
        std::lock_guard lock(mutex_);
        warm_ = warm;
        measured_ = measured;
        between_ = std::move(between);
        probe_ = probe;
        waiting_ = &loop;
        asked_ = true;
        changed_.notify_all();
    }
    loop.exec();
    std::lock_guard lock(mutex_);
    return figures_;
}

// Called before each tick of a batch: the ticks_ - 1 before it have run.
void BatchTicks::count_tick() {
    if (ticks_ > warm_ && probe_ != nullptr) probe_->tick_ended();
    ++ticks_;
    if (ticks_ == warm_ + 1) {
        excluded_cpu_ = 0;
        excluded_allocations_ = 0;
        allocations_ = std::make_unique<testsupport::AllocationCounter>();
        start_cpu_ = own_cpu_ns();
    } else if (ticks_ == warm_ + measured_ + 1) {
        const std::int64_t cpu = own_cpu_ns() - start_cpu_ - excluded_cpu_;
        const auto ticks = static_cast<double>(measured_);
        const std::size_t allocations = allocations_->count() - excluded_allocations_;
        allocations_.reset();
        running_ = false;
        std::lock_guard lock(mutex_);
        figures_ = {static_cast<double>(cpu) / ticks, static_cast<double>(allocations) / ticks};
        QMetaObject::invokeMethod(waiting_, &QEventLoop::quit, Qt::QueuedConnection);
        return;
    }
    if (ticks_ <= warm_) return;
    if (between_) {
        // Counted by the batch's counter, then taken out: a second counter would end its count.
        const std::size_t allocations = allocations_->count();
        const std::int64_t before = own_cpu_ns();
        between_();
        excluded_cpu_ += own_cpu_ns() - before;
        excluded_allocations_ += allocations_->count() - allocations;
    }
    if (probe_ != nullptr) probe_->tick_starts();
}

void BatchTicks::wait_timer_or_event() {
    if (running_) count_tick();
    if (running_) return;
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return event_ || asked_; });
    if (event_) {
        event_ = false;
        return;
    }
    asked_ = false;
    running_ = true;
    ticks_ = 0;
    lock.unlock();
    count_tick();
}

void BatchTicks::wait_event() {
    wait_timer_or_event();
}

void BatchTicks::set_event() {
    std::lock_guard lock(mutex_);
    event_ = true;
    changed_.notify_all();
}

}  // namespace bench
