#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <string>

#include "zesthost/commands.h"

namespace zesthost {

// The interactive host: reads commands from standard input while the event loop runs, so the
// pads and the plug-in go on living between lines. Works as well through a pipe; the end of
// the input ends the session. Main thread.
class Interactive : public QObject {
public:
    Interactive(Session& session, Commands& commands);

    // Prints the greeting and the first prompt.
    void start();

private:
    void read_input();
    void prompt();

    Session& session_;
    Commands& commands_;
    QSocketNotifier input_;
    QTimer refresh_;
    std::string pending_;
    bool terminal_;
};

}  // namespace zesthost
