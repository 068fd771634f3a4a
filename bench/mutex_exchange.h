#pragma once

#include <mutex>

namespace bench {

// The peer of PublicationChannel: one record behind a mutex, copied in by the publisher and
// copied out by the collector.
template <typename Record>
class MutexExchange {
public:
    void publish(const Record& record) {
        std::lock_guard lock(mutex_);
        shared_ = record;
        fresh_ = true;
    }
    // False, and `view` as it was, when nothing new was published.
    bool collect(Record& view) {
        std::lock_guard lock(mutex_);
        if (!fresh_) return false;
        view = shared_;
        fresh_ = false;
        return true;
    }

private:
    std::mutex mutex_;
    Record shared_;
    bool fresh_ = false;
};

}  // namespace bench
