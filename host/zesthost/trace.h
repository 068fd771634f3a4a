#pragma once

#include <QElapsedTimer>

#include <cstdio>
#include <string>

namespace zesthost {

// The readable record of a session: one line per step, stamped with the seconds since the
// session began. Main thread.
class Trace {
public:
    explicit Trace(std::FILE* out = stdout);

    void line(const std::string& text);
    // Lines as they are, with no stamp: panels, help, pads.
    void plain(const std::string& text);
    double seconds() const;

private:
    std::FILE* out_;
    QElapsedTimer clock_;
};

}  // namespace zesthost
