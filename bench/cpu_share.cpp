#include "cpu_share.h"

#include <QEventLoop>
#include <QTimer>

#include <cstdint>

#include "platform/monotonic_clock.h"
#include "thread_clock.h"

namespace bench {

void sample_cpu_shares(pid_t ours, pid_t peer, int windows, int window_ms, CpuShares& into) {
    for (int window = 0; window < windows; ++window) {
        const std::int64_t wall = platform::monotonic_now_ns();
        const std::int64_t our_cpu = thread_cpu_ns(ours);
        const std::int64_t peer_cpu = thread_cpu_ns(peer);
        QEventLoop loop;
        QTimer::singleShot(window_ms, &loop, &QEventLoop::quit);
        loop.exec();
        const auto elapsed = static_cast<double>(platform::monotonic_now_ns() - wall);
        into.ours.push_back(100.0 * static_cast<double>(thread_cpu_ns(ours) - our_cpu) / elapsed);
        into.peer.push_back(100.0 * static_cast<double>(thread_cpu_ns(peer) - peer_cpu) / elapsed);
    }
}

}  // namespace bench
