// zesthost, the reference host: loads the plug-in as zestdeck does, on the simulated machine,
// and runs scenario files, an interactive session or a window.

#include <QApplication>
#include <QCoreApplication>
#include <QDir>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "gui/main_window.h"
#include "zesthost/commands.h"
#include "zesthost/interactive.h"
#include "zesthost/scenario.h"
#include "zesthost/session.h"
#include "zesthost/trace.h"

namespace {

constexpr const char* usage = R"(Usage:
  zesthost [--plugin FILE] [--verbose]             an interactive session
  zesthost [--plugin FILE] [--verbose] run FILE... run scenario files; fails at the first
                                                   expectation that isn't met
  zesthost [--plugin FILE] [--verbose] gui [GRAPH] [--run SCENARIO] [--screenshot PNG]
                                                   a window on the pads, the panels and the
                                                   graph; a scenario runs once it is open, and
                                                   with --screenshot the window is saved, then
                                                   closed
Without --plugin the plug-in built with this host is loaded.)";

struct WindowOptions {
    std::string graph;
    std::string scenario;
    std::string screenshot;
};

bool run_window(zesthost::Session& session, const WindowOptions& options) {
    zestgui::MainWindow window(session);
    window.resize(1280, 820);
    window.show();
    bool passed = options.graph.empty() || window.load(options.graph);
    if (!options.scenario.empty()) {
        passed = zesthost::run_scenario(session, options.scenario) && passed;
    }
    if (options.screenshot.empty()) {
        QApplication::exec();
        return passed;
    }
    session.run_for(300);
    window.refresh();
    // The canvas is drawn smooth: a palette of 256 colours would change its colours.
    const QImage image = window.grab().toImage().convertToFormat(QImage::Format_RGB888);
    if (!image.save(QString::fromStdString(options.screenshot), "PNG", 0)) {
        session.trace().line("FAILED: can't write " + options.screenshot);
        return false;
    }
    return passed;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    std::string plugin = ZEST_PLUGIN_PATH;
    std::vector<std::string> scenarios;
    bool verbose = false;
    bool run = false;
    bool gui = false;
    WindowOptions window;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const bool has_value = i + 1 < args.size();
        if (args[i] == "--plugin" && has_value) {
            plugin = args[++i];
        } else if (args[i] == "--verbose") {
            verbose = true;
        } else if (args[i] == "run" && !run && !gui) {
            run = true;
        } else if (run && !args[i].starts_with("-")) {
            scenarios.push_back(args[i]);
        } else if (args[i] == "gui" && !run && !gui) {
            gui = true;
        } else if (gui && args[i] == "--run" && has_value) {
            window.scenario = args[++i];
        } else if (gui && args[i] == "--screenshot" && has_value) {
            window.screenshot = args[++i];
        } else if (gui && window.graph.empty() && !args[i].starts_with("-")) {
            window.graph = args[i];
        } else {
            std::fprintf(stderr, "%s\n", usage);
            return args[i] == "--help" || args[i] == "-h" ? 0 : 2;
        }
    }
    std::unique_ptr<QCoreApplication> app = gui ? std::make_unique<QApplication>(argc, argv)
                                                : std::make_unique<QCoreApplication>(argc, argv);
    if (run && scenarios.empty()) {
        std::fprintf(stderr, "%s\n", usage);
        return 2;
    }
    return zesthost::run_host(ZEST_ENGLISH_TABLE, plugin, verbose, [&](zesthost::Session& session) {
        if (gui) return run_window(session, window);
        if (run) {
            bool passed = true;
            for (const std::string& scenario : scenarios)
                passed = zesthost::run_scenario(session, scenario) && passed;
            return passed;
        }
        zesthost::Commands commands(session, QDir::currentPath().toStdString());
        zesthost::Interactive interactive(session, commands);
        interactive.start();
        QCoreApplication::exec();
        return true;
    });
}
