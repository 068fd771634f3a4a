// zesthost.exe, the reference host's command language on Windows: loads the plug-in's DLL as
// zestdeck does and runs scenario files on the machine's own XInput and bus driver, with the
// Wine bench's pad board (ZEST_PAD_BOARD) for the pads a person holds. The plug-in imports the
// host functions from "zestdeck.exe", so this program runs under that name beside the DLL.

#include <QCoreApplication>

#include <cstdio>
#include <string>
#include <vector>

#include "zesthost/scenario.h"
#include "zesthost/session.h"

namespace {

constexpr const char* usage = R"(Usage:
  zestdeck.exe [--plugin FILE] [--verbose] run FILE...   run scenario files; fails at the
                                                         first expectation that isn't met
Without --plugin the plug-in beside the program is loaded.)";

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const std::vector<std::string> args(argv + 1, argv + argc);
    std::string plugin =
        QCoreApplication::applicationDirPath().toStdString() + "/io.zestworks.gamepad.dll";
    std::vector<std::string> scenarios;
    bool verbose = false;
    bool run = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--plugin" && i + 1 < args.size() && !run) {
            plugin = args[++i];
        } else if (args[i] == "--verbose" && !run) {
            verbose = true;
        } else if (args[i] == "run" && !run) {
            run = true;
        } else if (run) {
            scenarios.push_back(args[i]);
        } else {
            std::fprintf(stderr, "%s\n", usage);
            return 2;
        }
    }
    if (scenarios.empty()) {
        std::fprintf(stderr, "%s\n", usage);
        return 2;
    }
    return zesthost::run_host(ZEST_ENGLISH_TABLE, plugin, verbose, [&](zesthost::Session& session) {
        bool passed = true;
        for (const std::string& scenario : scenarios)
            passed = zesthost::run_scenario(session, scenario) && passed;
        return passed;
    });
}
