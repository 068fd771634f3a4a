#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace gamepad {

// Whole records towards the main thread in three records made once: the polling thread fills
// its own, the main thread reads its own, and the third lies between them in `middle_`. Either
// side swaps its record with the middle one in a single exchange, so neither waits, nothing is
// allocated after the records are warm, however far the main thread lags, and the main thread
// never sees a record older than one it saw before.
template <typename Record>
class PublicationChannel {
public:
    PublicationChannel() = default;
    PublicationChannel(const PublicationChannel&) = delete;
    PublicationChannel& operator=(const PublicationChannel&) = delete;

    // Polling thread: the record to fill for the next publication. It holds an older
    // publication, whose storage the fill reuses.
    Record& back() { return records_[back_]; }
    // Polling thread: makes back() the newest publication; an uncollected older one becomes the
    // next back().
    void publish() { back_ = middle_.exchange(back_ | fresh) & index; }

    // Polling thread: a publication waits that the main thread has not collected.
    bool uncollected() const { return (middle_.load() & fresh) != 0; }

    // Main thread: brings the newest publication, if there is one, into view(). True if it did.
    bool collect() {
        if ((middle_.load() & fresh) == 0) return false;
        front_ = middle_.exchange(front_) & index;
        has_view_ = true;
        return true;
    }
    // Main thread: the newest collected publication, null before the first. The main thread may
    // change it; it stays until the next collect().
    Record* view() { return has_view_ ? &records_[front_] : nullptr; }
    const Record* view() const { return has_view_ ? &records_[front_] : nullptr; }

private:
    static constexpr std::uint8_t index = 3;
    static constexpr std::uint8_t fresh = 4;  // the middle record is a publication not collected

    std::array<Record, 3> records_;
    std::uint8_t back_ = 0;  // polling thread
    // The record between the two, with `fresh`. Polling thread publishes by exchange; main
    // thread collects by exchange. Sequentially consistent, so that a collect that follows the
    // main thread's clearing of a pad's pending delivery sees every publication before it.
    std::atomic<std::uint8_t> middle_{1};
    std::uint8_t front_ = 2;  // main thread
    bool has_view_ = false;   // main thread
};

}  // namespace gamepad
