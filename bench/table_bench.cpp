// The plug-in's figures beside its peers', all measured in this one run, as one table:
//   - press to event: a press in the simulated machine to the press node's post to the host,
//     through the real plug-in at rate 1000, against a 1 kHz poller that reads the same pads
//     with the same XInputGetState calls and posts to the main thread, in alternating blocks;
//   - the polling thread's CPU share at rate 1000, against that reading poller's over the same
//     windows, and against a bare wake-up that reads nothing, for the machine's own cost;
//   - both measured in three runs: a row shows the median of the runs' figures and their range,
//     and presses lost or doubled in any run;
//   - publish + collect of a pad's record, against a mutex with copies in and out;
//   - the polling thread's CPU time per tick as the writers grow, against a fitted line;
//   - the tick as it runs at 1 kHz, after a 1 ms sleep and after one that other work filled
//     the caches in, against the same tick back to back: nanoseconds and cache misses;
//   - allocations per tick once warm, back to back and cold.
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
#include "cold_tick.h"
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

constexpr int runs = 3;

// One figure per run: shown as their median, then their range.
std::string runs_text(const std::vector<double>& figures, const char* unit) {
    const auto [least, most] = std::minmax_element(figures.begin(), figures.end());
    return format("%.1f %s (%.1f–%.1f)", median(figures), unit, *least, *most);
}

void add_at_most(ReportTable& table, const std::string& measure, const char* unit,
                 const std::vector<double>& ours, const std::vector<double>& peer, double most) {
    const double ratio = median(peer) > 0.0 ? median(ours) / median(peer) : 0.0;
    table.add({measure, runs_text(ours, unit), runs_text(peer, unit),
               ratio_text(median(ours), median(peer)), most > 0.0 ? format("≤ %.2f ×", most) : "",
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

std::string misses_text(const ColdTicks& cold, const ColdTick& tick) {
    if (!cold.misses_counted) return "–";
    return cold.first_level_counted
               ? format("%.0f LLC, %.0f L1D read", tick.last_level_misses, tick.first_level_misses)
               : format("%.0f LLC", tick.last_level_misses);
}

void add_cold_ticks(ReportTable& table) {
    const ColdTicks cold = measure_cold_ticks(5, 100);
    const ColdTick* back_to_back = nullptr;
    for (const ColdTick& tick : cold.ticks) {
        if (tick.before == "back to back") {
            back_to_back = &tick;
            continue;
        }
        const auto text = [&cold](const ColdTick& of) {
            return format("%.0f ns, misses %s", of.ns, misses_text(cold, of).c_str());
        };
        table.add({format("tick at rate 1000, %s, %s", tick.pads.c_str(), tick.before.c_str()),
                   text(tick),
                   "back to back: " + text(*back_to_back),
                   ratio_text(tick.ns, back_to_back->ns),
                   "",
                   {}});
    }
    table.add({"cache misses per tick, user mode",
               cold.misses_counted ? "counted" : "–",
               cold.misses_counted ? ""
                                   : "not counted: the kernel's performance counters refuse (" +
                                         cold.why_not_counted + ")",
               "",
               "",
               {}});
    table.add({"allocations per tick at rate 1000, after a sleep",
               format("%.4f", cold.allocations_per_tick), "", "", "0",
               cold.allocations_per_tick == 0.0});
}

// The plug-in in the reference host, one press node on pad 0's A button, and the bare poller
// beside it.
class HostRun {
public:
    HostRun() : session_(ZEST_PLUGIN_PATH, trace_), commands_(session_, ".") {
        zestsim::reset();
        run_lines({"pad plug 0", "set preferences updatems 1000", "confirm",
                   "node on_a onbuttonpress", "wait until text on_a \"Gamepad 1\"",
                   "set on_a !gamepad \"Gamepad 1\"", "set on_a !attribute \"A button\"",
                   "wait until name on_a \"On A button Press (Gamepad 1)\""});
        session_.graph().find("on_a")->node.child_sink().set_tap([this] { ours_.arrived(); });
        session_.run_for(300);
    }

    void run_lines(const std::vector<std::string>& lines) {
        for (const std::string& line : lines) {
            if (!commands_.run(line)) throw std::runtime_error("the host failed at: " + line);
        }
    }

    void add_latency(ReportTable& table) {
        std::vector<PressPath::Figures> ours(runs), peer(runs);
        for (int run = 0; run < runs; ++run) {
            press_in_turn(ours_, reading_path_, 8, 100);
            ours[run] = ours_.take_figures();
            peer[run] = reading_path_.take_figures();
        }
        const struct {
            const char* name;
            double p;
            double most;
        } points[] = {
            {"median", 0.5, 1.1}, {"p90", 0.9, 0.0}, {"p99", 0.99, 1.1}, {"max", 1.0, 0.0}};
        const auto each_run = [](const std::vector<PressPath::Figures>& figures, auto figure) {
            std::vector<double> values;
            for (const PressPath::Figures& run : figures)
                values.push_back(figure(run));
            return values;
        };
        for (const auto& point : points) {
            const auto at = [&point](const PressPath::Figures& run) {
                return percentile(run.latencies_us, point.p);
            };
            add_at_most(table, format("press → event, rate 1000, %s", point.name), "µs",
                        each_run(ours, at), each_run(peer, at), point.most);
        }
        const auto add_count = [&](const char* measure, int PressPath::Figures::*count) {
            int our_count = 0, our_presses = 0, peer_count = 0, peer_presses = 0;
            for (int run = 0; run < runs; ++run) {
                our_count += ours[run].*count;
                our_presses += ours[run].presses;
                peer_count += peer[run].*count;
                peer_presses += peer[run].presses;
            }
            table.add({measure, format("%d of %d", our_count, our_presses),
                       format("%d of %d", peer_count, peer_presses), "", "0", our_count == 0});
        };
        add_count("presses lost", &PressPath::Figures::lost);
        add_count("presses doubled", &PressPath::Figures::doubled);
        samples_ = {{"io.zestworks.gamepad", {}}, {"1 kHz poller reading the pads (peer)", {}}};
        for (int run = 0; run < runs; ++run) {
            samples_[0].latencies_us.insert(samples_[0].latencies_us.end(),
                                            ours[run].latencies_us.begin(),
                                            ours[run].latencies_us.end());
            samples_[1].latencies_us.insert(samples_[1].latencies_us.end(),
                                            peer[run].latencies_us.begin(),
                                            peer[run].latencies_us.end());
        }
    }

    const std::vector<LatencySample>& latency_samples() const { return samples_; }

    void add_cpu(ReportTable& table) {
        const std::vector<pid_t> threads{find_thread(polling_thread_name), reading_.thread_id(),
                                         bare_.thread_id()};
        if (std::count(threads.begin(), threads.end(), 0) != 0)
            throw std::runtime_error("a polling thread is missing");
        struct Scenario {
            const char* name;
            std::vector<std::string> lines;
            double most;
            std::vector<double> runs[3];  // each thread's median share in each run
        };
        std::vector<Scenario> scenarios{
            {"no pad", {"pad unplug 0", "pad unplug 1", "pad unplug 2", "pad unplug 3"}, 0.0, {}},
            {"1 pad idle", {"pad plug 0", "pad unplug 1", "pad unplug 2", "pad unplug 3"}, 0.0, {}},
            {"4 pads idle", {"pad plug 0", "pad plug 1", "pad plug 2", "pad plug 3"}, 1.15, {}}};
        const auto end_run = [&threads](Scenario& scenario,
                                        const std::vector<std::vector<double>>& shares) {
            for (std::size_t t = 0; t < threads.size(); ++t)
                scenario.runs[t].push_back(median(shares[t]));
        };
        for (int run = 0; run < runs; ++run) {
            std::vector<std::vector<std::vector<double>>> shares(scenarios.size());
            for (int round = 0; round < 4; ++round) {
                for (std::size_t s = 0; s < scenarios.size(); ++s) {
                    const std::size_t i = round % 2 == 0 ? s : scenarios.size() - 1 - s;
                    run_lines(scenarios[i].lines);
                    session_.run_for(200);
                    sample_cpu_shares(threads, 2, 500, shares[i]);
                }
            }
            for (std::size_t s = 0; s < scenarios.size(); ++s)
                end_run(scenarios[s], shares[s]);
        }
        // One pad feeds the virtual pad, which takes the next user index.
        run_lines({"pad plug 0", "pad unplug 1", "pad unplug 2", "pad unplug 3",
                   "set preferences virtualenabled true", "wait until virtual connected",
                   "wait until text preferences \"Connected as Gamepad 2\"",
                   "set preferences feedgamepad \"Gamepad 1\""});
        session_.run_for(300);
        scenarios.push_back({"virtual pad fed by pad 0", {}, 0.0, {}});
        for (int run = 0; run < runs; ++run) {
            std::vector<std::vector<double>> shares;
            sample_cpu_shares(threads, 8, 500, shares);
            end_run(scenarios.back(), shares);
        }
        for (const Scenario& scenario : scenarios) {
            const std::string measure = format("polling thread CPU, rate 1000, %s", scenario.name);
            add_at_most(table, measure, "% of a core", scenario.runs[0], scenario.runs[1],
                        scenario.most);
            add_at_most(table, measure + ": bare wake-up, reads nothing", "% of a core",
                        scenario.runs[0], scenario.runs[2], 0.0);
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
    // The reading peer reads user 0 too: its calls that have returned come out of the count,
    // and one more may be under way.
    PressPath::Polls plugin_polls() const {
        const std::uint64_t returned_before = reading_.first_user_reads();
        const std::uint64_t all = zestsim::calls("XInputGetState", 0);
        const std::uint64_t returned_after = reading_.first_user_reads();
        return {all > returned_after ? all - returned_after - 1 : 0, all - returned_before};
    }

    PressPath ours_{[](bool down) { zestsim::press(0, button_a, down); },
                    [this] { return plugin_polls(); }};
    PressPath reading_path_{[this](bool down) { reading_.set(down); },
                            [this] {
                                const std::uint64_t polls = reading_.reads();
                                return PressPath::Polls{polls, polls};
                            }};
    std::vector<LatencySample> samples_;
    // Last, so that they stop first.
    BarePoller reading_{[this](bool pressed) {
                            if (pressed) reading_path_.arrived();
                        },
                        BarePoller::Pads::Read};
    BarePoller bare_{[](bool) {}};
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
            bench::add_cold_ticks(table);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "table_bench: %s\n", error.what());
        return 1;
    }
    table.print(stdout);
    std::printf("\n%d goal(s) not met\n", table.misses());
    return 0;
}
