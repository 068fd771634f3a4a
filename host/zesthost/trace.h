#pragma once

#include <QElapsedTimer>

#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

namespace zesthost {

// The readable record of a session: one line per step, stamped with the seconds since the
// session began. Main thread, but for `line`, which the plug-in's log reaches from any thread.
class Trace {
public:
    explicit Trace(std::FILE* out = stdout);

    void line(const std::string& text);
    // Lines as they are, with no stamp: panels, help, pads.
    void plain(const std::string& text);
    double seconds() const;

    // Keeps the stamped lines from now on, for a window to take them on its own thread.
    void keep_lines();
    std::vector<std::string> take_kept_lines();

private:
    std::FILE* out_;
    QElapsedTimer clock_;
    std::mutex kept_mutex_;
    bool keeping_ = false;  // under kept_mutex_
    std::vector<std::string> kept_;
};

}  // namespace zesthost
