#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <random>
#include <utility>
#include <vector>

namespace bench {

// One way from a press to the main thread: how to press, how often the source has been polled,
// and the arrivals of the presses on the main thread.
class PressPath {
public:
    // How often the source has been polled: a range, for a count that another reader blurs.
    struct Polls {
        std::uint64_t at_least = 0;
        std::uint64_t at_most = 0;
    };
    struct Figures {
        std::vector<double> latencies_us;
        int presses = 0;
        int lost = 0;     // no arrival by the next press
        int doubled = 0;  // arrivals beyond the first of a press
    };

    PressPath(std::function<void(bool)> press, std::function<Polls()> polls);

    // Main thread: a press arrived. Stamped here, first.
    void arrived();
    // The pressing thread: after a random pause, presses and waits for the arrival, releases and
    // waits until the source was polled twice, so that the next press is a press of its own.
    void press_once(std::mt19937& random);
    // Once the pressing is over: the figures since the last take.
    Figures take_figures() { return std::exchange(figures_, {}); }

private:
    std::function<void(bool)> press_;
    std::function<Polls()> polls_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::int64_t> arrivals_;  // under mutex_
    Figures figures_;                     // pressing thread
};

// Presses `per_block` times on one path, then on the other, `blocks` times each (in the order
// ABBA ABBA ...), from a thread of its own, while the main thread runs its event loop.
void press_in_turn(PressPath& ours, PressPath& peer, int blocks, int per_block);

}  // namespace bench
