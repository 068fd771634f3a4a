#pragma once

#include <atomic>
#include <memory>
#include <utility>

namespace gamepad {

// Whole records towards the main thread, by ownership. A non-null slot owns its record.
template <typename Record>
struct PublicationChannel {
    // A free record. The polling thread takes it (exchange) to fill the next publication and
    // leaves displaced ones here (compare-exchange); the main thread hands back the record its
    // view let go of (exchange).
    std::atomic<Record*> spare{nullptr};
    // The newest publication not yet collected. The polling thread replaces it (exchange); the
    // main thread takes it (exchange).
    std::atomic<Record*> latest{nullptr};

    PublicationChannel() = default;
    PublicationChannel(const PublicationChannel&) = delete;
    PublicationChannel& operator=(const PublicationChannel&) = delete;
    // Once the polling thread has ended.
    ~PublicationChannel() {
        delete spare.exchange(nullptr);
        delete latest.exchange(nullptr);
    }
};

// A record in hand. With both slots set, release() hands the record to `target` and recycles
// what it displaces into `source`; with both null the lease is inert and just owns the record.
template <typename Record>
struct RecordLease {
    std::unique_ptr<Record> record;
    std::atomic<Record*>* source = nullptr;
    std::atomic<Record*>* target = nullptr;

    // Polling thread, on a lease taken from `spare` for `latest`.
    void release() {
        std::unique_ptr<Record> displaced(target->exchange(record.release()));
        Record* empty = nullptr;
        if (source->compare_exchange_strong(empty, displaced.get())) displaced.release();
        source = nullptr;
        target = nullptr;
    }
};

// Polling thread. Fills a recycled record (or, when no spare is left, a new one) in place with
// `fill(Record&)` and makes it the newest publication. A warm channel allocates nothing as
// long as `fill` reuses the record's capacity.
template <typename Record, typename Fill>
void publish(PublicationChannel<Record>& channel, Fill&& fill) {
    RecordLease<Record> lease{std::unique_ptr<Record>(channel.spare.exchange(nullptr)),
                              &channel.spare, &channel.latest};
    if (!lease.record) lease.record = std::make_unique<Record>();
    std::forward<Fill>(fill)(*lease.record);
    lease.release();
}

// Main thread, between two event handlers. Moves the newest publication, if any, into `view`,
// whose old record goes back to `spare`. A record already lying in `spare` is free, so it is
// destroyed; nothing is ever put back into `latest`, which is why the view always ends on the
// newest publication once every delivery has run. True if the view changed.
template <typename Record>
bool collect(PublicationChannel<Record>& channel, RecordLease<Record>& view) {
    std::unique_ptr<Record> fresh(channel.latest.exchange(nullptr));
    if (!fresh) return false;
    if (view.record) delete channel.spare.exchange(view.record.release());
    view.record = std::move(fresh);
    view.source = &channel.latest;
    view.target = &channel.spare;
    return true;
}

}  // namespace gamepad
