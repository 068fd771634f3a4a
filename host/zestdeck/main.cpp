// zestdeck.exe, the Windows stand-in for the host: it exports the 31 host functions from the
// executable, as zestdeck does, so the plug-in's imports bind to it, and runs the plug-in through
// its whole life on the real Win32 of the machine: describe, register, the preferences with the
// virtual pad switched on, every node type made and destroyed, a rumble fired, unload.

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <setupapi.h>
#include <tlhelp32.h>
#include <winver.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include <cstdio>
#include <functional>
#include <memory>
#include <string>

#include "kit/kit.h"
#include "kit/node.h"
#include "kit/panel.h"
#include "kit/plugin_library.h"
#include "kit/registry.h"
#include "kit/store.h"

namespace {

int failures = 0;

void check(bool ok, const std::string& what) {
    std::printf("%s %s\n", ok ? "ok:    " : "FAILED:", what.c_str());
    std::fflush(stdout);
    if (!ok) ++failures;
}

// Wine's XInput and SetupAPI start service threads of their own at first use; using them once
// before counting keeps those out of what the plug-in is held to.
void start_machine_services() {
    if (HMODULE xinput = LoadLibraryA("XINPUT1_4.dll")) {
        using GetState = DWORD(WINAPI*)(DWORD, void*);
        auto get_state = reinterpret_cast<GetState>(
            reinterpret_cast<void (*)()>(GetProcAddress(xinput, MAKEINTRESOURCEA(2))));
        unsigned char state[16] = {};
        if (get_state != nullptr) get_state(0, state);
    }
    const GUID any{0x96E12D3A, 0x0000, 0x0000, {0, 0, 0, 0, 0, 0, 0, 0}};
    HDEVINFO devices =
        SetupDiGetClassDevsA(&any, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    if (devices != INVALID_HANDLE_VALUE) SetupDiDestroyDeviceInfoList(devices);
    QThread::msleep(200);
}

int thread_count() {
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    int count = 0;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry)) {
        if (entry.th32OwnerProcessID == GetCurrentProcessId()) ++count;
    }
    CloseHandle(snapshot);
    return count;
}

// Runs the event loop until `done`, for `timeout_ms` at most.
bool eventually(const std::function<bool()>& done, int timeout_ms = 10000) {
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < timeout_ms) {
        QCoreApplication::processEvents();
        QThread::msleep(5);
    }
    return done();
}

// The version resource as Explorer shows it: the fixed file and product versions, then the
// texts of the first language, "" when there is none.
std::string version_resource(const std::string& path) {
    std::string block(GetFileVersionInfoSizeA(path.c_str(), nullptr), '\0');
    if (block.empty() || !GetFileVersionInfoA(path.c_str(), 0, block.size(), block.data()))
        return "";
    void* value = nullptr;
    UINT size = 0;
    if (!VerQueryValueA(block.data(), "\\", &value, &size) || size < sizeof(VS_FIXEDFILEINFO))
        return "";
    const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(value);
    const auto dotted = [](DWORD high, DWORD low) {
        return std::to_string(HIWORD(high)) + "." + std::to_string(LOWORD(high)) + "." +
               std::to_string(HIWORD(low)) + "." + std::to_string(LOWORD(low));
    };
    std::string text = dotted(fixed->dwFileVersionMS, fixed->dwFileVersionLS) + " " +
                       dotted(fixed->dwProductVersionMS, fixed->dwProductVersionLS);
    if (!VerQueryValueA(block.data(), "\\VarFileInfo\\Translation", &value, &size) || size < 4)
        return text;
    const auto* language = static_cast<const WORD*>(value);
    char prefix[64];
    std::snprintf(prefix, sizeof prefix, "\\StringFileInfo\\%04x%04x\\", language[0], language[1]);
    for (const char* name : {"FileVersion", "ProductVersion", "ProductName", "CompanyName"}) {
        const bool found =
            VerQueryValueA(block.data(), (prefix + std::string(name)).c_str(), &value, &size);
        text += std::string(" ") + (found ? static_cast<const char*>(value) : "-");
    }
    return text;
}

std::string last_label(const hostkit::Panel& panel) {
    std::string text;
    for (const hostkit::Control& control : panel.controls()) {
        if (control.kind == hostkit::ControlKind::Label) text = control.text.value_or("");
    }
    return text;
}

void run(const hostkit::PluginExports& plugin, const std::string& path) {
    plugin.set_handle(hostkit::host_handle());
    PluginInfo info{};
    plugin.get_info(&info);
    check(std::string(info.id) == "io.zestworks.gamepad" && std::string(info.version) == "0.9.4",
          std::string("described: ") + info.id + " " + info.version + ", " + info.name);
    const std::string version = info.version;
    const std::string resource = version_resource(path);
    check(resource ==
              version + ".0 " + version + ".0 " + version + " " + version + " zestworks zestworks",
          "version resource: " + resource);
    check(info.icon != nullptr && info.icon->size == 493, "the icon has its 493 bytes");
    hostkit::Registry registry;
    plugin.load(registry.handle());
    check(registry.types().size() == 9, std::to_string(registry.types().size()) + " node types");

    hostkit::Store preferences;
    hostkit::Panel panel(preferences);
    panel.script_value("virtualenabled", true);
    int asked = -1;
    const std::string no_driver = "The ViGEm bus driver is not installed or cannot be reached.";
    eventually([&] {
        if (hostkit::preferences_invalidations().total != asked) {
            asked = hostkit::preferences_invalidations().total;
            panel.run_pass(plugin.build_preferences);
        }
        return last_label(panel) != "Connecting...";
    });
    check(last_label(panel) == no_driver, "the preferences show \"" + last_label(panel) + "\"");

    for (const hostkit::RegisteredNodeType& type : registry.types()) {
        hostkit::Node node;
        hostkit::Store store;
        hostkit::Panel properties(store);
        void* instance = type.create(node.handle());
        properties.run_pass([&](ZestPanel handle) { type.build_properties(instance, handle); });
        char name[256] = {};
        type.get_name(instance, name);
        type.destroy(instance);
        check(name[0] != '\0', type.id + " made and destroyed: " + name);
    }

    const hostkit::RegisteredNodeType* rumble = registry.find("io.zestworks.gamepad.rumblegamepad");
    hostkit::Node node;
    hostkit::Store store;
    hostkit::Panel properties(store);
    void* instance = rumble->create(node.handle());
    const auto build = [&] {
        properties.run_pass([&](ZestPanel handle) { rumble->build_properties(instance, handle); });
    };
    eventually([&] { return node.properties_invalidations().total > 0; });
    properties.script_value("!gamepad", 0);
    build();
    const hostkit::Control* motors = properties.find_key("!attribute");
    if (motors != nullptr && !motors->entries.empty()) {
        properties.script_value("!attribute", motors->entries.front().value);
    }
    build();
    ZestEvent event = hostkit::create_event();
    rumble->receive_event(instance, event);
    eventually([] { return false; }, 300);  // the core runs on with the rumble for a while
    check(node.parent_sink().posted().size() == 1,
          "a rumble fired at an empty pad, event passed on");
    rumble->destroy(instance);

    panel.script_value("virtualenabled", false);
    panel.run_pass(plugin.build_preferences);
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: zestdeck.exe PLUGIN.dll\n");
        return 2;
    }
    check(hostkit::load_translations(ZEST_ENGLISH_TABLE), "English texts loaded");
    start_machine_services();
    const int threads = thread_count();
    try {
        const hostkit::PluginExports plugin = hostkit::open_plugin(argv[1]);
        check(plugin.sdk_version() == 1, "sdk version 1");
        run(plugin, argv[1]);
        plugin.unload();
        check(eventually([&] { return thread_count() <= threads; }),
              "unloaded, " + std::to_string(thread_count() - threads) + " threads left");
    } catch (const std::exception& error) {
        check(false, error.what());
    }
    for (const std::string& problem : hostkit::check())
        check(false, "host contract: " + problem);
    std::printf("%s\n", failures == 0 ? "zestdeck: all well" : "zestdeck: failures");
    return failures == 0 ? 0 : 1;
}
