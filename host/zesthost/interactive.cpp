#include "zesthost/interactive.h"

#include <QCoreApplication>

#include <unistd.h>

#include <cstdio>

namespace zesthost {

Interactive::Interactive(Session& session, Commands& commands)
    : session_(session),
      commands_(commands),
      input_(STDIN_FILENO, QSocketNotifier::Read),
      terminal_(isatty(STDIN_FILENO) != 0) {
    connect(&input_, &QSocketNotifier::activated, this, &Interactive::read_input);
    // Panels the plug-in asks to have rebuilt are rebuilt while the user thinks.
    connect(&refresh_, &QTimer::timeout, this, [this] { session_.refresh(); });
    refresh_.start(10);
}

void Interactive::start() {
    session_.trace().plain("Type \"help\" for the commands, \"quit\" to leave.");
    prompt();
}

void Interactive::prompt() {
    if (!terminal_) return;
    std::fputs("zesthost> ", stdout);
    std::fflush(stdout);
}

// A command runs the event loop (waits do, and every command settles first), so the notifier
// is off meanwhile: input that comes during a command waits for the next read, in order.
void Interactive::read_input() {
    input_.setEnabled(false);
    char buffer[4096];
    const ssize_t count = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (count <= 0) {
        QCoreApplication::quit();
        return;
    }
    pending_.append(buffer, static_cast<std::size_t>(count));
    std::size_t end;
    while ((end = pending_.find('\n')) != std::string::npos) {
        std::string line = pending_.substr(0, end);
        pending_.erase(0, end + 1);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        commands_.run(line);
        if (commands_.quit_requested()) {
            QCoreApplication::quit();
            return;
        }
        prompt();
    }
    input_.setEnabled(true);
}

}  // namespace zesthost
