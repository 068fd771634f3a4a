#include "zesthost/scenario.h"

#include <QFileInfo>
#include <QtGlobal>

#include <atomic>
#include <cstdio>
#include <exception>
#include <fstream>
#include <vector>

#include "kit/kit.h"
#include "zesthost/commands.h"

namespace zesthost {

namespace {

// Set on the main thread before the handler goes in; read by whichever thread logs.
std::atomic<Trace*> log_trace{nullptr};
std::atomic<bool> log_verbose{false};

// The plug-in's messages all begin so; Qt's own (a platform plug-in's complaints, say) go to the
// terminal, not into the trace and the window's event log.
constexpr const char* plugin_prefix = "Gamepad: ";

void log_to_trace(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type == QtDebugMsg && !log_verbose.load()) return;
    const std::string text = message.toStdString();
    if (!text.starts_with(plugin_prefix)) {
        std::fprintf(stderr, "qt: %s\n", text.c_str());
    } else if (Trace* trace = log_trace.load()) {
        trace->line("log: " + text);
    }
}

}  // namespace

bool run_scenario(Session& session, const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        session.trace().line("FAILED: can't read " + path);
        return false;
    }
    session.trace().line("scenario " + path);
    const std::string directory =
        QFileInfo(QString::fromStdString(path)).absolutePath().toStdString();
    Commands commands(session, directory);
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        const std::vector<std::string> words = split_words(line);
        if (words.empty() || words[0].starts_with("#")) continue;
        session.trace().line("> " + line);
        if (!commands.run(line)) {
            session.trace().line("FAILED at " + path + ":" + std::to_string(number));
            return false;
        }
        if (commands.quit_requested()) break;
    }
    session.trace().line("passed " + path);
    return true;
}

void log_into(Trace* trace, bool verbose) {
    log_verbose.store(verbose);
    log_trace.store(trace);
    qInstallMessageHandler(log_to_trace);
}

int run_host(const char* english_table, const std::string& plugin, bool verbose,
             const std::function<bool(Session&)>& body) {
    if (!hostkit::load_translations(english_table)) {
        std::fprintf(stderr, "zesthost: can't read the English texts %s\n", english_table);
        return 1;
    }
    Trace trace;
    log_into(&trace, verbose);
    bool passed = true;
    try {
        Session session(plugin, trace);
        passed = body(session);
    } catch (const std::exception& error) {
        trace.line(std::string("FAILED: ") + error.what());
        passed = false;
    }
    for (const std::string& problem : hostkit::check()) {
        trace.line("host contract: " + problem);
        passed = false;
    }
    log_into(nullptr, verbose);
    return passed ? 0 : 1;
}

}  // namespace zesthost
