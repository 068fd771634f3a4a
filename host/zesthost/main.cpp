// zesthost, the reference host: loads the plug-in as zestdeck does, on the simulated machine,
// and runs scenario files or an interactive session.

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "kit/kit.h"
#include "zesthost/commands.h"
#include "zesthost/interactive.h"
#include "zesthost/session.h"
#include "zesthost/trace.h"

namespace {

constexpr const char* usage = R"(Usage:
  zesthost [--plugin FILE] [--verbose]             an interactive session
  zesthost [--plugin FILE] [--verbose] run FILE... run scenario files; fails at the first
                                                   expectation that isn't met
Without --plugin the plug-in built with this host is loaded.)";

zesthost::Trace* log_trace = nullptr;
bool verbose = false;

// The plug-in's log lines join the trace; its debug lines only with --verbose.
void log_to_trace(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type == QtDebugMsg && !verbose) return;
    if (log_trace != nullptr) log_trace->line("log: " + message.toStdString());
}

bool run_scenario(zesthost::Session& session, const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        session.trace().line("FAILED: can't read " + path);
        return false;
    }
    session.trace().line("scenario " + path);
    const std::string directory =
        QFileInfo(QString::fromStdString(path)).absolutePath().toStdString();
    zesthost::Commands commands(session, directory);
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        const std::vector<std::string> words = zesthost::split_words(line);
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

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    std::vector<std::string> args(argv + 1, argv + argc);
    std::string plugin = ZEST_PLUGIN_PATH;
    std::vector<std::string> scenarios;
    bool run = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--plugin" && i + 1 < args.size()) {
            plugin = args[++i];
        } else if (args[i] == "--verbose") {
            verbose = true;
        } else if (args[i] == "run" && !run) {
            run = true;
        } else if (run && !args[i].starts_with("-")) {
            scenarios.push_back(args[i]);
        } else {
            std::fprintf(stderr, "%s\n", usage);
            return args[i] == "--help" || args[i] == "-h" ? 0 : 2;
        }
    }
    if (run && scenarios.empty()) {
        std::fprintf(stderr, "%s\n", usage);
        return 2;
    }
    if (!hostkit::load_translations(ZEST_ENGLISH_TABLE)) {
        std::fprintf(stderr, "zesthost: can't read the English texts %s\n", ZEST_ENGLISH_TABLE);
        return 1;
    }
    zesthost::Trace trace;
    log_trace = &trace;
    qInstallMessageHandler(log_to_trace);
    bool passed = true;
    try {
        zesthost::Session session(plugin, trace);
        if (run) {
            for (const std::string& scenario : scenarios)
                passed = run_scenario(session, scenario) && passed;
        } else {
            zesthost::Commands commands(session, QDir::currentPath().toStdString());
            zesthost::Interactive interactive(session, commands);
            interactive.start();
            app.exec();
        }
    } catch (const std::exception& error) {
        trace.line(std::string("FAILED: ") + error.what());
        passed = false;
    }
    for (const std::string& problem : hostkit::check()) {
        trace.line("host contract: " + problem);
        passed = false;
    }
    log_trace = nullptr;
    return passed ? 0 : 1;
}
