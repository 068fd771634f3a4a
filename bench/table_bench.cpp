// The plug-in's figures beside its peers', all measured in this one run, as one table:
//   - press to event: a press in the simulated machine to the press node's post to the host,
//     through the real plug-in at rate 1000, against a bare 1 kHz poller posting to the main
//     thread, in alternating blocks;
//   - the polling thread's CPU share at rate 1000, against the bare poller's, same windows;
//   - publish + collect of a pad's record, against a mutex with copies in and out;
//   - the polling thread's CPU time per tick as the writers grow, against a fitted line;
//   - allocations per tick once warm.
// Run it with `bash scripts/bench.sh`; figures are medians, so a busy machine moves them less.
// With --picture PNG it also draws the two press-to-event distributions of this run; with
// --latency-only it measures nothing else (scripts/screenshot.sh).

#include <QCoreApplication>
#include <QGuiApplication>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bare_poller.h"
#include "bench_stats.h"
#include "cpu_share.h"
#include "exchange_round_trip.h"
#include "kit/kit.h"
#include "latency_picture.h"
#include "press_latency.h"
#include "report_table.h"
#include "thread_clock.h"
#include "tick_scaling.h"
#include "zesthost/commands.h"
#include "zesthost/session.h"
#include "zestsim/zestsim.h"

namespace bench {
namespace {

constexpr std::uint16_t button_a = 0x1000;
constexpr const char* polling_thread_name = "gamepad::ReadTh";  // the class name, cut short

std::string first_line_with(const char* path, const std::string& prefix) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(prefix)) return line;
    }
    return {};
}

std::string machine() {
    std::string model = first_line_with("/proc/cpuinfo", "model name");
    model = model.substr(model.find(':') == std::string::npos ? 0 : model.find(':') + 2);
    std::string load;
    std::getline(std::ifstream("/proc/loadavg"), load);
    return format("Machine: %s, %u cores; load average at the start %s", model.c_str(),
                  std::thread::hardware_concurrency(), load.substr(0, load.find(' ')).c_str());
}

std::string ratio_text(double ours, double peer) {
    return peer > 0.0 ? format("%.2f ×", ours / peer) : "–";
}

void add_at_most(ReportTable& table, const std::string& measure, const std::string& unit,
                 double ours, double peer, double most) {
    const double ratio = peer > 0.0 ? ours / peer : 0.0;
    table.add({measure, format("%.1f %s", ours, unit.c_str()),
               format("%.1f %s", peer, unit.c_str()), ratio_text(ours, peer),
               most > 0.0 ? format("≤ %.1f ×", most) : "",
               most > 0.0 ? std::optional(ratio <= most) : std::nullopt});
}

void add_round_trips(ReportTable& table) {
    const RoundTrips trips = measure_round_trips(15, 20'000);
    const double faster = trips.mutex_record_ns / trips.channel_ns;
    table.add({"publish + collect, one pad's record", format("%.0f ns", trips.channel_ns),
               format("%.0f ns (mutex, record copied in and out)", trips.mutex_record_ns),
               format("%.1f × faster", faster), "≥ 3 × faster", faster >= 3.0});
    table.add({"publish + collect, per-tick part only",
               format("%.0f ns", trips.channel_ns),
               format("%.0f ns (mutex, state and transitions copied)", trips.mutex_state_ns),
               format("%.1f × faster", trips.mutex_state_ns / trips.channel_ns),
               "",
               {}});
}

void add_tick_scaling(ReportTable& table) {
    const TickScaling scaling = measure_tick_scaling(7, 20'000);
    double allocations = 0.0;
    for (const TickSeries& series : scaling.series) {
        std::vector<double> x;
        for (int writers : series.writers)
            x.push_back(writers);
        const LineFit line = fit_line(x, series.ns_per_tick);
        bool linear = true;
        for (std::size_t i = 0; i < x.size(); ++i) {
            const double expected = line.at(x[i]);
            const double off = (series.ns_per_tick[i] - expected) / expected;
            linear = linear && std::abs(off) <= 0.10;
            const std::string per_writer =
                series.writers[i] == 0
                    ? ""
                    : format(", %.0f ns/writer",
                             (series.ns_per_tick[i] - series.ns_per_tick[0]) / x[i]);
            table.add({format("tick, %s, %d writers", series.pads.c_str(), series.writers[i]),
                       format("%.0f ns%s", series.ns_per_tick[i], per_writer.c_str()),
                       format("line: %.0f ns", expected),
                       format("%+.1f %%", 100.0 * off),
                       "",
                       {}});
        }
        table.add({format("tick, %s: fitted cost per writer", series.pads.c_str()),
                   format("%.1f ns/writer", line.slope),
                   format("line: %.0f ns + %.1f ns × writers", line.intercept, line.slope), "",
                   "linear: every point within ±10 % of the line", linear});
        allocations = std::max(allocations, series.allocations_per_tick);
    }
    table.add({"allocations per tick, warm, idle pads, 0 to 64 writers",
               format("%.4f", allocations), "", "", "0", allocations == 0.0});
    table.add({"allocations per tick, warm, a button changing every tick",
               format("%.4f", scaling.changing_allocations_per_tick),
               format("(%.0f ns/tick, 3 pads + virtual pad fed by pad 0, 16 writers)",
                      scaling.changing_ns_per_tick),
               "", "0", scaling.changing_allocations_per_tick == 0.0});
}

// The plug-in in the reference host, one press node on pad 0's A button, and the bare poller
// beside it.
class HostRun {
public:
    HostRun() : session_(ZEST_PLUGIN_PATH, trace_), commands_(session_, ".") {
        zestsim::reset();
        run({"pad plug 0", "set preferences updatems 1000", "confirm", "node on_a onbuttonpress",
             "wait until text on_a \"Gamepad 1\"", "set on_a !gamepad \"Gamepad 1\"",
             "set on_a !attribute \"A button\"",
             "wait until name on_a \"On A button Press (Gamepad 1)\""});
        session_.graph().find("on_a")->node.child_sink().set_tap([this] { ours_.arrived(); });
        session_.run_for(300);
    }

    void run(const std::vector<std::string>& lines) {
        for (const std::string& line : lines) {
            if (!commands_.run(line)) throw std::runtime_error("the host failed at: " + line);
        }
    }

    void add_latency(ReportTable& table) {
        press_in_turn(ours_, peer_, 10, 100);
        const PressPath::Figures& ours = ours_.figures();
        const PressPath::Figures& peer = peer_.figures();
        const struct {
            const char* name;
            double p;
            double most;
        } points[] = {
            {"median", 0.5, 1.1}, {"p90", 0.9, 0.0}, {"p99", 0.99, 1.2}, {"max", 1.0, 0.0}};
        for (const auto& point : points) {
            add_at_most(table, format("press → event, rate 1000, %s", point.name), "µs",
                        percentile(ours.latencies_us, point.p),
                        percentile(peer.latencies_us, point.p), point.most);
        }
        table.add({"presses lost",
                   format("%d of %d", ours.lost, ours.presses),
                   format("%d of %d", peer.lost, peer.presses),
                   "",
                   "",
                   {}});
        samples_ = {{"io.zestworks.gamepad", ours.latencies_us},
                    {"bare 1 kHz poller (peer)", peer.latencies_us}};
        table.add({"presses doubled",
                   format("%d of %d", ours.doubled, ours.presses),
                   format("%d of %d", peer.doubled, peer.presses),
                   "",
                   "",
                   {}});
    }

    const std::vector<LatencySample>& latency_samples() const { return samples_; }

    void add_cpu(ReportTable& table) {
        const pid_t ours = find_thread(polling_thread_name);
        const pid_t peer = bare_.thread_id();
        if (ours == 0 || peer == 0) throw std::runtime_error("a polling thread is missing");
        struct Scenario {
            const char* name;
            std::vector<std::string> lines;
            double most;
            CpuShares shares;
        };
        std::vector<Scenario> scenarios{
            {"no pad", {"pad unplug 0", "pad unplug 1", "pad unplug 2", "pad unplug 3"}, 0.0, {}},
            {"1 pad idle", {"pad plug 0", "pad unplug 1", "pad unplug 2", "pad unplug 3"}, 0.0, {}},
            {"4 pads idle", {"pad plug 0", "pad plug 1", "pad plug 2", "pad plug 3"}, 1.2, {}}};
        for (int round = 0; round < 6; ++round) {
            for (std::size_t s = 0; s < scenarios.size(); ++s) {
                Scenario& scenario = scenarios[round % 2 == 0 ? s : scenarios.size() - 1 - s];
                run(scenario.lines);
                session_.run_for(200);
                sample_cpu_shares(ours, peer, 2, 500, scenario.shares);
            }
        }
        // One pad feeds the virtual pad, which takes the next user index.
        run({"pad plug 0", "pad unplug 1", "pad unplug 2", "pad unplug 3",
             "set preferences virtualenabled true", "wait until virtual connected",
             "wait until text preferences \"Connected as Gamepad 2\"",
             "set preferences feedgamepad \"Gamepad 1\""});
        session_.run_for(300);
        scenarios.push_back({"virtual pad fed by pad 0", {}, 0.0, {}});
        sample_cpu_shares(ours, peer, 12, 500, scenarios.back().shares);
        for (const Scenario& scenario : scenarios) {
            add_at_most(table, format("polling thread CPU, rate 1000, %s", scenario.name),
                        "% of a core", median(scenario.shares.ours), median(scenario.shares.peer),
                        scenario.most);
        }
    }

private:
    // The host's trace goes nowhere: the table is the output.
    struct Nowhere {
        std::FILE* file = std::fopen("/dev/null", "w");
        ~Nowhere() { std::fclose(file); }
    } nowhere_;
    zesthost::Trace trace_{nowhere_.file};
    zesthost::Session session_;
    zesthost::Commands commands_;
    PressPath ours_{[](bool down) { zestsim::press(0, button_a, down); },
                    [] { return zestsim::calls("XInputGetState", 0); }};
    PressPath peer_{[this](bool down) { bare_.set(down); }, [this] { return bare_.reads(); }};
    BarePoller bare_{[this](bool pressed) {
        if (pressed) peer_.arrived();
    }};
    std::vector<LatencySample> samples_;
};

void ignore_messages(QtMsgType, const QMessageLogContext&, const QString&) {}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
    std::string picture;
    bool latency_only = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--picture" && i + 1 < argc) {
            picture = argv[++i];
        } else if (arg == "--latency-only") {
            latency_only = true;
        } else {
            std::fprintf(stderr, "usage: table_bench [--picture PNG] [--latency-only]\n");
            return 2;
        }
    }
    // Drawing text takes a QGuiApplication, and no screen.
    if (!picture.empty() && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const std::unique_ptr<QCoreApplication> app =
        picture.empty() ? std::make_unique<QCoreApplication>(argc, argv)
                        : std::make_unique<QGuiApplication>(argc, argv);
    qInstallMessageHandler(bench::ignore_messages);
    if (!hostkit::load_translations(ZEST_ENGLISH_TABLE)) {
        std::fprintf(stderr, "table_bench: can't read %s\n", ZEST_ENGLISH_TABLE);
        return 1;
    }
    const std::string machine = bench::machine();
    std::printf("%s\n\n", machine.c_str());
    bench::ReportTable table;
    try {
        {
            bench::HostRun host;
            host.add_latency(table);
            const std::string note = latency_only ? machine + "; the latency part alone" : machine;
            if (!picture.empty() &&
                !bench::draw_latency_picture(host.latency_samples(), note, picture)) {
                throw std::runtime_error("can't write " + picture);
            }
            if (!latency_only) host.add_cpu(table);
        }
        if (!latency_only) {
            bench::add_round_trips(table);
            bench::add_tick_scaling(table);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "table_bench: %s\n", error.what());
        return 1;
    }
    table.print(stdout);
    std::printf("\n%d goal(s) not met\n", table.misses());
    return 0;
}
