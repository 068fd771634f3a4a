#include "cpu_share.h"

#include <QEventLoop>
#include <QTimer>

#include <cstdint>

#include "platform/monotonic_clock.h"
#include "thread_clock.h"

namespace bench {

void sample_cpu_shares(const std::vector<pid_t>& threads, int windows, int window_ms,
                       std::vector<std::vector<double>>& into) {
    into.resize(threads.size());
    std::vector<std::int64_t> cpu(threads.size());
    for (int window = 0; window < windows; ++window) {
        const std::int64_t wall = platform::monotonic_now_ns();
        for (std::size_t t = 0; t < threads.size(); ++t)
            cpu[t] = thread_cpu_ns(threads[t]);
        QEventLoop loop;
        QTimer::singleShot(window_ms, &loop, &QEventLoop::quit);
        loop.exec();
        const auto elapsed = static_cast<double>(platform::monotonic_now_ns() - wall);
        for (std::size_t t = 0; t < threads.size(); ++t) {
            const auto used = static_cast<double>(thread_cpu_ns(threads[t]) - cpu[t]);
            into[t].push_back(100.0 * used / elapsed);
        }
    }
}

}  // namespace bench
