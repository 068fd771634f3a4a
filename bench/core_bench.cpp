// What the polling thread costs and how fast it answers:
//   1. CPU time of one tick: 4 connected pads of 23 attributes, 4 writers, with nothing
//      changing and with every pad's sticks and first button changing on every tick while the
//      main thread delivers as fast as it can;
//   2. the polling thread's CPU share at rate 1000 on the real timer;
//   3. latency from a button flip in the backend to Gamepad::attribute_changed on the main
//      thread, at rate 1000;
//   4. wake-up jitter of the thread beside a bare timer loop, in the same run.
// Run it from the release preset: build/release/bench/core_bench

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <time.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <thread>
#include <vector>

#include "backend/attribute_table.h"
#include "backend/backend.h"
#include "gamepad/constant_writer.h"
#include "gamepad/game_impl.h"
#include "gamepad/gamepad.h"
#include "gamepad/gamepads.h"
#include "gamepad/read_thread.h"
#include "platform/monotonic_clock.h"
#include "platform/tick_timer.h"
#include "support/list_backend.h"

namespace gamepad {
namespace {

std::int64_t thread_cpu_ns() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

// Four connected pads with the full attribute table. Pad 0's first button follows `pressed`;
// every read of pad 0 stamps the time and the polling thread's CPU clock.
class BenchBackend : public testsupport::ListBackend {
public:
    std::atomic<bool> pressed{false};
    bool changing = false;  // set before the thread starts
    std::atomic<std::int64_t> cpu_ns{0};
    std::vector<std::int64_t> wakeups;  // polling thread only, while `stamping`
    bool stamping = false;

    BenchBackend() : ListBackend(std::vector<std::vector<AttributeInfo>>(4, all_rows())) {
        wakeups.reserve(1 << 16);
    }
    static std::vector<AttributeInfo> all_rows() {
        std::vector<AttributeInfo> rows;
        for (const AttributeRow& row : attribute_rows)
            rows.push_back(row.info);
        return rows;
    }
    ReadFlags read_gamepad(std::size_t pad, GamepadState& state) override {
        state.is_connected = true;
        for (std::size_t a = 0; a < state.values.size(); ++a) {
            state.values[a] = AttributeValue::make_button(false);
        }
        if (changing) {
            const std::size_t tick = reads_[pad]++;
            state.values[0] = AttributeValue::make_button(tick % 2 == 1);
            const double x = static_cast<double>(tick % 1000) / 1000.0;
            for (std::size_t a = 19; a < 21 && a < state.values.size(); ++a) {
                state.values[a] = AttributeValue::make_stick({0.0, x, -x});
            }
        }
        if (pad == 0) {
            state.values[0] = AttributeValue::make_button(pressed.load());
            cpu_ns.store(thread_cpu_ns());
            if (stamping && wakeups.size() < wakeups.capacity()) {
                wakeups.push_back(platform::monotonic_now_ns());
            }
        }
        return {};
    }
    void write_gamepad(std::size_t, const GamepadState&) override {}

private:
    std::size_t reads_[4] = {};  // polling thread only
};

// Never sleeps until `limit` ticks have run, then waits for the event like a paused thread.
class FreeRunningTicks : public platform::TickSource {
public:
    explicit FreeRunningTicks(int limit) : limit_(limit) {}
    bool ready() const override { return true; }
    void arm(std::int32_t) override {}
    void cancel() override {}
    void wait_timer_or_event() override {
        if (++ticks_ <= limit_) return;
        std::unique_lock lock(mutex_);
        done_ = true;
        changed_.notify_all();
        changed_.wait(lock, [&] { return event_; });
        event_ = false;
    }
    void wait_event() override { wait_timer_or_event(); }
    void set_event() override {
        std::lock_guard lock(mutex_);
        event_ = true;
        changed_.notify_all();
    }
    void wait_done() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return done_; });
    }
    bool done() {
        std::lock_guard lock(mutex_);
        return done_;
    }

private:
    const int limit_;
    int ticks_ = 0;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool done_ = false;
    bool event_ = false;
};

void tick_cost(bool changing) {
    constexpr int ticks = 200'000;
    BenchBackend backend;
    backend.changing = changing;
    auto source = std::make_unique<FreeRunningTicks>(ticks);
    FreeRunningTicks* free_running = source.get();
    ReadThread thread(&backend, std::move(source));
    const std::int64_t later = platform::monotonic_now_ns() + 3'600'000'000'000;
    for (std::size_t pad = 0; pad < 4; ++pad) {
        thread.add_writer(std::make_unique<ConstantWriter>(
            pad, "trigger_left", AttributeValue::make_trigger(0.5), later));
    }
    thread.start();
    const std::int64_t start_wall = platform::monotonic_now_ns();
    if (changing) {
        while (!free_running->done())
            QCoreApplication::processEvents();
    }
    free_running->wait_done();
    const double wall = static_cast<double>(platform::monotonic_now_ns() - start_wall);
    const double cpu = static_cast<double>(backend.cpu_ns.load());
    std::printf("%s tick, 4 pads x 23 attributes, 4 writers: %.0f ns CPU, %.0f ns wall\n",
                changing ? "changing" : "steady", cpu / ticks, wall / ticks);
    QCoreApplication::processEvents();  // what is still queued for the main thread
}

std::int64_t percentile(std::vector<std::int64_t> values, double p) {
    std::sort(values.begin(), values.end());
    return values[static_cast<std::size_t>(p * static_cast<double>(values.size() - 1))];
}

void jitter_report(const char* what, const std::vector<std::int64_t>& stamps) {
    std::vector<std::int64_t> late;
    for (std::size_t i = 1; i < stamps.size(); ++i) {
        late.push_back(std::abs(stamps[i] - stamps[i - 1] - 1'000'000));
    }
    std::printf("%s: %zu wake-ups, |interval - 1 ms| median %lld us, p99 %lld us, max %lld us\n",
                what, late.size(), static_cast<long long>(percentile(late, 0.5) / 1000),
                static_cast<long long>(percentile(late, 0.99) / 1000),
                static_cast<long long>(percentile(late, 1.0) / 1000));
}

void live_thread_figures() {
    auto owned = std::make_unique<BenchBackend>();
    BenchBackend* backend = owned.get();
    Game game(CoreSeams{[&] { return std::move(owned); }, nullptr});
    game.impl().set_update_rate(1000);
    std::unique_ptr<Gamepads> pads = game.impl().use();

    // A bare periodic timer on a thread of its own, measured in the same run.
    std::vector<std::int64_t> bare;
    bare.reserve(4000);
    std::thread bare_loop([&] {
        platform::TickTimer timer;
        timer.arm(1);
        for (int i = 0; i < 3000; ++i) {
            timer.wait_timer_or_event();
            bare.push_back(platform::monotonic_now_ns());
        }
    });

    QEventLoop loop;
    QTimer::singleShot(200, &loop, &QEventLoop::quit);  // let the thread settle
    loop.exec();
    backend->stamping = true;  // the polling thread reads it only after the next wake-up
    const std::int64_t cpu_before = backend->cpu_ns.load();
    const std::int64_t wall_before = platform::monotonic_now_ns();

    std::vector<std::int64_t> latencies;
    std::int64_t flipped_at = 0;
    QObject::connect(pads->gamepad(0), &Gamepad::attribute_changed, &loop, [&](std::size_t a) {
        if (a != 0) return;
        latencies.push_back(platform::monotonic_now_ns() - flipped_at);
        loop.quit();
    });
    for (int i = 0; i < 1000; ++i) {
        QTimer::singleShot(1, &loop, [&] {
            flipped_at = platform::monotonic_now_ns();
            backend->pressed = !backend->pressed;
        });
        loop.exec();
    }
    const double wall = static_cast<double>(platform::monotonic_now_ns() - wall_before);
    const double cpu = static_cast<double>(backend->cpu_ns.load() - cpu_before);
    bare_loop.join();
    pads.reset();  // pauses; the destructor of `game` joins the thread

    std::printf("polling thread at rate 1000: %.2f %% of one core over %.1f s\n",
                100.0 * cpu / wall, wall / 1e9);
    std::printf(
        "flip to attribute_changed at rate 1000, %zu flips: median %lld us, p99 %lld us, "
        "max %lld us\n",
        latencies.size(), static_cast<long long>(percentile(latencies, 0.5) / 1000),
        static_cast<long long>(percentile(latencies, 0.99) / 1000),
        static_cast<long long>(percentile(latencies, 1.0) / 1000));
    backend->stamping = false;
    jitter_report("polling thread", backend->wakeups);
    jitter_report("bare timerfd loop", bare);
}

}  // namespace
}  // namespace gamepad

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    gamepad::tick_cost(false);
    gamepad::tick_cost(true);
    gamepad::live_thread_figures();
    return 0;
}
