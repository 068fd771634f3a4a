#include "press_latency.h"

#include <QEventLoop>
#include <QMetaObject>

#include <chrono>
#include <thread>

#include "platform/monotonic_clock.h"

namespace bench {
namespace {

using namespace std::chrono_literals;

// A pause that falls anywhere within the polling period, so that presses sample every phase.
void random_pause(std::mt19937& random) {
    std::uniform_int_distribution<int> microseconds(500, 3000);
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random)));
}

}  // namespace

PressPath::PressPath(std::function<void(bool)> press, std::function<Polls()> polls)
    : press_(std::move(press)), polls_(std::move(polls)) {
    arrivals_.reserve(1 << 14);
}

void PressPath::arrived() {
    const std::int64_t now = platform::monotonic_now_ns();
    std::lock_guard lock(mutex_);
    arrivals_.push_back(now);
    changed_.notify_all();
}

void PressPath::press_once(std::mt19937& random) {
    std::unique_lock lock(mutex_);
    const std::size_t before = arrivals_.size();
    lock.unlock();
    random_pause(random);

    const std::int64_t pressed_at = platform::monotonic_now_ns();
    press_(true);
    lock.lock();
    if (changed_.wait_for(lock, 200ms, [&] { return arrivals_.size() > before; })) {
        figures_.latencies_us.push_back(static_cast<double>(arrivals_[before] - pressed_at) /
                                        1000.0);
    }
    lock.unlock();

    press_(false);
    const std::uint64_t polls = polls_().at_most;
    const auto give_up = std::chrono::steady_clock::now() + 1s;
    while (polls_().at_least < polls + 2 && std::chrono::steady_clock::now() < give_up)
        std::this_thread::sleep_for(100us);

    lock.lock();
    const std::size_t seen = arrivals_.size() - before;
    ++figures_.presses;
    if (seen == 0) ++figures_.lost;
    if (seen > 1) figures_.doubled += static_cast<int>(seen - 1);
}

void press_in_turn(PressPath& ours, PressPath& peer, int blocks, int per_block) {
    QEventLoop loop;
    std::thread presser([&] {
        std::mt19937 random(20240611);
        for (int block = 0; block < 2 * blocks; ++block) {
            const bool ours_first = (block / 2) % 2 == 0;
            PressPath& path = (block % 2 == 0) == ours_first ? ours : peer;
            for (int press = 0; press < per_block; ++press)
                path.press_once(random);
        }
        QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
    });
    loop.exec();
    presser.join();
}

}  // namespace bench
