#include <QThread>

#include <array>
#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "kit/kit.h"
#include "plugin_fixture.h"
#include "support/eventually.h"
#include "support/random_seed.h"
#include "zestsim/zestsim.h"

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;
using zestsim::Subtype;

constexpr std::uint32_t unplug_request = 0x2AA008;
constexpr std::uint32_t notification_request = 0x2AE804;
constexpr std::uint32_t access_denied = 5;
constexpr std::uint32_t general_failure = 31;
constexpr std::uint32_t highest_serial = 64;  // serials the walk looks for targets under
constexpr std::size_t physical_pads = 3;      // at most, so a target always finds an index
constexpr std::size_t most_nodes = 8;
// How far from its deadline a motor may still run, or may already have stopped: a few ticks on
// a slow machine.
constexpr auto slack = 300ms;

const std::array<std::string, 9> node_types{
    "onbuttonpress",     "onbuttonrelease", "pressgamepadbutton",       "pressgamepadtrigger",
    "movegamepadstick",  "rumblegamepad",   "randompressgamepadbutton", "randompressgamepadtrigger",
    "wigglegamepadstick"};
const std::array<Subtype, 5> subtypes{Subtype::Gamepad, Subtype::Wheel, Subtype::FlightStick,
                                      Subtype::Guitar, Subtype::DrumKit};
const std::map<std::string, std::uint16_t> pressed_buttons{{"button_a", 0x1000},
                                                           {"button_b", 0x2000}};

bool is_event_type(const std::string& type) {
    return type == "onbuttonpress" || type == "onbuttonrelease";
}

struct WalkNode {
    int id = 0;
    std::string type;
    std::unique_ptr<HostNode> host;
    int pad = -1;
    std::string attribute;  // the selected attribute's id, as a saved file has it
    int attribute_id = -1;
    // Event nodes whose pad never held a target: the transitions they must tell, in order of
    // happening, and how many of them they told.
    bool checked = false;
    std::vector<std::size_t> expected;
    std::size_t told = 0;
};

struct Override {
    int owner = 0;
    Clock::time_point deadline;
    bool must_run = false;  // nothing the walk did since may have stopped it
};

struct PadModel {
    bool plugged = false;
    Subtype subtype = Subtype::Gamepad;
    std::uint16_t held = 0;
    bool ready = false;  // seen connected by the core, and its metadata taken in by the panels
    std::uint64_t capabilities_asked = 0;
};

// A seeded random walk over the plug-in's entry points with the real library on the simulated
// machine. After every step the invariants a user relies on are checked against the walk's own
// record of what it did; the first broken one ends the walk with its seed and last steps.
class RandomWalkTest : public PluginTest {
protected:
    void run(std::uint64_t seed, std::uint64_t steps);

private:
    using Pick = std::function<void()>;

    int random(int below) { return std::uniform_int_distribution<int>(0, below - 1)(rng_); }
    bool chance(int percent) { return random(100) < percent; }
    template <typename T>
    const T& any_of(const std::vector<T>& from) {
        return from[static_cast<std::size_t>(random(static_cast<int>(from.size())))];
    }
    void note(const std::string& step);
    void fail(const std::string& what);

    // The host's loop: deliveries, then the passes the plug-in asked for.
    void serve();
    void build_preferences_pass();
    void settle();
    void check();
    void check_status();
    void check_events();
    void check_targets();
    void check_motors();

    std::set<int> target_indices() const;
    std::vector<int> physical_positions(const hostkit::Control* list) const;
    std::string attribute_name(int id) const;
    WalkNode* find(int id);
    WalkNode& any_node() { return nodes_[static_cast<std::size_t>(random(int(nodes_.size())))]; }
    // Nodes and a switched-on virtual pad use the core; without them it reads nothing.
    bool core_running() const { return !nodes_.empty() || virtual_on_; }

    void add_node();
    void select(WalkNode& node);
    void fire(WalkNode& node, bool by_test);
    void stop_test(WalkNode& node);
    void leave_selection(WalkNode& node);
    void destroy(std::size_t index);
    void switch_virtual_pad();
    void choose_feed();
    void rate();
    void plug(std::size_t user, Subtype subtype);
    void unplug(std::size_t user);
    void press(std::size_t user, std::uint16_t button, bool down);
    void fault();
    void stall();
    void unload_and_reload();

    std::mt19937_64 rng_;
    const hostkit::Registry* types_ = &registry;
    std::unique_ptr<hostkit::Registry> reloaded_;
    std::vector<WalkNode> nodes_;
    int next_id_ = 0;
    std::array<PadModel, zestsim::user_count> pads_{};
    std::map<std::pair<int, std::string>, Override> overrides_;  // by pad and motor id
    std::set<int> feed_sources_;
    std::vector<int> told_log_;  // ids of event nodes, in the order they told
    std::size_t transitions_ = 0;
    std::size_t last_told_ = 0;
    bool virtual_on_ = false;
    bool unplug_refused_ = false;
    bool stalled_ = false;
    int preferences_seen_ = 0;
    int threads_ = 0;
    std::deque<std::string> trail_;
    std::string failure_;
    std::set<std::string> faults_;
};

void RandomWalkTest::note(const std::string& step) {
    trail_.push_back(step);
    if (trail_.size() > 16) trail_.pop_front();
}

void RandomWalkTest::fail(const std::string& what) {
    if (failure_.empty()) failure_ = what;
}

void RandomWalkTest::serve() {
    QCoreApplication::processEvents();
    for (WalkNode& node : nodes_) {
        if (node.host->node.properties_invalidations().total != node.host->builds_asked)
            node.host->build();
    }
    if (hostkit::preferences_invalidations().total != preferences_seen_) build_preferences_pass();
}

void RandomWalkTest::build_preferences_pass() {
    preferences_seen_ = hostkit::preferences_invalidations().total;
    build_preferences();
    check_status();
}

std::set<int> RandomWalkTest::target_indices() const {
    std::set<int> indices;
    for (std::uint32_t serial = 1; serial <= highest_serial; ++serial) {
        if (const int user = zestsim::target_user(serial); user >= 0) indices.insert(user);
    }
    return indices;
}

std::vector<int> RandomWalkTest::physical_positions(const hostkit::Control* list) const {
    std::vector<int> positions;
    const std::set<int> targets = target_indices();
    for (const hostkit::ListEntry& entry : list->entries) {
        if (entry.value >= 0 && !targets.contains(entry.value)) positions.push_back(entry.value);
    }
    return positions;
}

std::string RandomWalkTest::attribute_name(int id) const {
    hostkit::Store store;
    store.set("!attribute", id);
    types_->types().front().before_save(nullptr, store.handle());
    return store.get<std::string>("!attribute").value_or("");
}

WalkNode* RandomWalkTest::find(int id) {
    for (WalkNode& node : nodes_) {
        if (node.id == id) return &node;
    }
    return nullptr;
}

void RandomWalkTest::add_node() {
    WalkNode node;
    node.id = next_id_++;
    node.type = node_types[static_cast<std::size_t>(random(node_types.size()))];
    const std::string id = "io.zestworks.gamepad." + node.type;
    node.host = std::make_unique<HostNode>(id, *types_->find(id));
    node.host->node.child_sink().set_listener([this, id = node.id] { told_log_.push_back(id); });
    note("add node " + std::to_string(node.id) + " " + node.type);
    nodes_.push_back(std::move(node));
    nodes_.back().host->build();
}

// Chooses a pad, then an attribute and a duration, as a user does in the panel.
void RandomWalkTest::select(WalkNode& node) {
    check_events();
    HostNode& host = *node.host;
    host.build();
    const hostkit::Control* pads = host.panel.find_key("!gamepad");
    if (pads == nullptr) return;
    const std::vector<int> positions = physical_positions(pads);
    if (positions.empty()) return;
    const int pad = any_of(positions);
    host.panel.script_value("!gamepad", pad);
    host.build();
    const hostkit::Control* attributes = host.panel.find_key("!attribute");
    if (attributes == nullptr || attributes->entries.empty()) {
        if (pad != node.pad) leave_selection(node);
        return;
    }
    std::vector<hostkit::ListEntry> entries = attributes->entries;
    if (is_event_type(node.type) && chance(80)) {
        std::erase_if(entries, [&](const hostkit::ListEntry& entry) {
            return !pressed_buttons.contains(attribute_name(entry.value));
        });
        if (entries.empty()) entries = attributes->entries;
    }
    const hostkit::ListEntry& entry = any_of(entries);
    host.panel.script_value("!attribute", entry.value);
    host.store.set("!seconds", std::vector<double>{0.05, 0.4, 3600.0}[random(3)]);
    host.store.set("!strength", std::vector<int>{0, 40, 100}[random(3)]);
    host.build();
    const std::string attribute = attribute_name(entry.value);
    if (pad != node.pad || attribute != node.attribute) leave_selection(node);  // else no change
    node.pad = pad;
    node.attribute = attribute;
    node.attribute_id = entry.value;
    node.checked = is_event_type(node.type);
    node.expected.clear();
    node.told = 0;
    note("select node " + std::to_string(node.id) + ": pad " + std::to_string(pad) + " " +
         node.attribute);
}

// The node's override ends with its selection or with the node; another node's goes on.
void RandomWalkTest::leave_selection(WalkNode& node) {
    const auto found = overrides_.find({node.pad, node.attribute});
    if (found != overrides_.end() && found->second.owner == node.id) overrides_.erase(found);
    node.pad = -1;
    node.attribute.clear();
    node.attribute_id = -1;
    node.checked = false;
}

void RandomWalkTest::fire(WalkNode& node, bool by_test) {
    HostNode& host = *node.host;
    if (by_test) {
        host.build();
        if (host.panel.find_text("Test") == nullptr) return stop_test(node);
        host.panel.script_click("Test");
        host.build();
    } else {
        host.receive(hostkit::create_event());
    }
    note(std::string(by_test ? "test" : "fire") + " node " + std::to_string(node.id));
    if (node.type != "rumblegamepad" || node.attribute.rfind("motor_", 0) != 0) return;
    const double seconds = host.store.get<double>("!seconds").value_or(0.5);
    const auto duration =
        std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    const PadModel& pad = pads_[static_cast<std::size_t>(node.pad)];
    const hostkit::Control* attributes = host.panel.find_key("!attribute");
    Override& motor = overrides_[{node.pad, node.attribute}];
    motor.owner = node.id;
    motor.deadline = Clock::now() + duration;
    // Only a pad with motors, in the core's hands and fed by nobody, shows an override.
    motor.must_run = host.store.get<int>("!strength").value_or(100) > 0 && pad.ready &&
                     (pad.subtype == Subtype::Gamepad || pad.subtype == Subtype::Wheel) &&
                     !feed_sources_.contains(node.pad) && attributes != nullptr &&
                     int(attributes->result) == node.attribute_id;
}

void RandomWalkTest::stop_test(WalkNode& node) {
    if (node.host->panel.find_text("Stop test") == nullptr) return;
    node.host->panel.script_click("Stop test");
    node.host->build();
    note("stop test of node " + std::to_string(node.id));
    const auto found = overrides_.find({node.pad, node.attribute});
    if (found == overrides_.end()) return;
    if (found->second.owner == node.id) {
        overrides_.erase(found);
    } else {
        found->second.must_run = false;  // a stop may end whatever runs on the attribute
    }
}

void RandomWalkTest::destroy(std::size_t index) {
    note("destroy node " + std::to_string(nodes_[index].id));
    leave_selection(nodes_[index]);
    nodes_.erase(nodes_.begin() + static_cast<std::ptrdiff_t>(index));
}

void RandomWalkTest::switch_virtual_pad() {
    check_events();  // what the target's pad told so far is the virtual pad's
    virtual_on_ = !virtual_on_;
    note(virtual_on_ ? "virtual pad on" : "virtual pad off");
    preferences_panel.script_value("virtualenabled", virtual_on_);
    build_preferences_pass();
}

void RandomWalkTest::choose_feed() {
    const hostkit::Control* feed = preferences_panel.find_key("feedgamepad");
    if (feed == nullptr || feed->entries.empty()) return;
    const int source = any_of(feed->entries).value;
    if (source >= 0) feed_sources_.insert(source);
    for (auto& [motor, running] : overrides_) {
        if (motor.first == source) running.must_run = false;
    }
    note("feed from " + std::to_string(source));
    preferences_panel.script_value("feedgamepad", source);
    build_preferences_pass();
}

void RandomWalkTest::rate() {
    const int rate = std::vector<int>{120, 240, 1000}[random(3)];
    note("rate " + std::to_string(rate));
    preferences.set("updatems", rate);
    plugin().confirm_preferences(preferences.handle());
}

void RandomWalkTest::plug(std::size_t user, Subtype subtype) {
    note("plug pad " + std::to_string(user) + " subtype " + std::to_string(int(subtype)));
    pads_[user] = {true, subtype, 0, false, zestsim::calls("XInputGetCapabilities", user)};
    zestsim::plug_pad(user, subtype);
}

// Held buttons come up first, so that every transition is one the walk made.
void RandomWalkTest::unplug(std::size_t user) {
    for (const auto& [name, button] : pressed_buttons)
        press(user, button, false);
    note("unplug pad " + std::to_string(user));
    const std::uint64_t reads = zestsim::calls("XInputGetState", user);
    const bool polled = pads_[user].ready && core_running();
    zestsim::unplug_pad(user);
    pads_[user] = {};
    for (auto& [motor, running] : overrides_) {
        if (motor.first == int(user)) running.must_run = false;
    }
    // The next read sees it gone; a disconnected pad is read once a second only.
    if (polled)
        eventually([&] { return zestsim::calls("XInputGetState", user) > reads; }, stalled_);
}

void RandomWalkTest::press(std::size_t user, std::uint16_t button, bool down) {
    PadModel& pad = pads_[user];
    if (((pad.held & button) != 0) == down) return;
    note(std::string(down ? "press" : "release") + " pad " + std::to_string(user) + " button " +
         std::to_string(button));
    zestsim::press(user, button, down);
    pad.held ^= button;
    const std::size_t transition = transitions_++;
    for (WalkNode& node : nodes_) {
        const auto selected = pressed_buttons.find(node.attribute);
        if (node.checked && node.pad == int(user) && selected != pressed_buttons.end() &&
            selected->second == button && down == (node.type == "onbuttonpress"))
            node.expected.push_back(transition);
    }
    if (core_running() && pad.ready) await_reads(user, stalled_);
}

// One of the driver's faults set or lifted. A plug refused for every serial is tried up to the
// last of them, seconds long, so only the first serials are refused.
void RandomWalkTest::fault() {
    const bool on = chance(40);
    std::string fault;
    switch (random(5)) {
        case 0:
            fault = "plug of serials 1 and 2 refused";
            zestsim::refuse_serials(on ? std::vector<std::uint32_t>{1, 2}
                                       : std::vector<std::uint32_t>{});
            break;
        case 1:
            fault = "unplug refused";
            unplug_refused_ = on;
            zestsim::refuse_requests(unplug_request, on ? general_failure : 0);
            break;
        case 2:
            fault = "notification refused";
            zestsim::refuse_requests(notification_request, on ? access_denied : 0);
            break;
        case 3:
            fault = "no driver";
            zestsim::set_bus_driver(!on);
            break;
        default:
            fault = "slow driver";
            zestsim::set_driver_delay(on ? 30 : 0);
            break;
    }
    note((on ? "fault: " : "lifted: ") + fault);
    if (on) {
        faults_.insert(fault);
    } else {
        faults_.erase(fault);
    }
}

// The main thread held up, as by a dialog: the machine goes on, nothing is delivered. Pads that
// were ready may be pressed, unplugged and plugged again as the same kind.
void RandomWalkTest::stall() {
    note("stall begins");
    stalled_ = true;
    std::vector<std::size_t> ready;
    for (std::size_t user = 0; user < pads_.size(); ++user) {
        if (pads_[user].ready) ready.push_back(user);
    }
    // One replug at most: the core sees a pad come back at its next refresh, up to a second on.
    const int steps = random(6) + 1;
    int replug = core_running() && chance(15) ? random(steps) : -1;
    for (int step = 0; step < steps && !ready.empty(); ++step) {
        const std::size_t user = any_of(ready);
        if (step == replug) {
            const Subtype subtype = pads_[user].subtype;
            unplug(user);
            plug(user, subtype);
            const std::uint64_t asked = pads_[user].capabilities_asked;
            pads_[user].ready = eventually(
                [&] { return zestsim::calls("XInputGetCapabilities", user) > asked; }, true);
            if (pads_[user].ready) await_reads(user, true);
        } else if (pads_[user].ready) {
            const auto button = std::next(pressed_buttons.begin(), random(2))->second;
            press(user, button, (pads_[user].held & button) == 0);
        }
    }
    stalled_ = false;
    note("stall ends");
}

void RandomWalkTest::unload_and_reload() {
    note("unload and reload");
    check_events();
    nodes_.clear();
    overrides_.clear();
    plugin().unload();
    if (!eventually([&] { return thread_count() == threads_; }))
        fail("a thread runs on after unload: " + std::to_string(thread_count()) + " threads");
    if (!eventually([] { return zestsim::plugged_targets() == 0; }))
        fail(std::to_string(zestsim::plugged_targets()) + " target(s) plugged after unload");
    for (std::size_t user = 0; user < pads_.size(); ++user) {
        const auto still = [&] {
            const zestsim::Vibration v = zestsim::vibration(user);
            return v.left == 0 && v.right == 0;
        };
        if (pads_[user].plugged && !eventually(still))
            fail("pad " + std::to_string(user) + "'s motor runs after unload");
    }
    plugin().set_handle(hostkit::host_handle());
    plugin().get_info(&info);
    reloaded_ = std::make_unique<hostkit::Registry>();  // a host registers into a new one
    types_ = reloaded_.get();
    plugin().load(types_->handle());
    if (virtual_on_) preferences_seen_ = -1;  // the host shows the panel again
}

// Delivers and rebuilds until every event node told what it must; pads seen since they were
// plugged become ready once their metadata reached the panels; then one more tick, so that a
// transition told twice or unasked shows too.
void RandomWalkTest::settle() {
    eventually([&] {
        serve();
        for (const WalkNode& node : nodes_) {
            if (node.checked && node.host->originated() < node.expected.size()) return false;
        }
        return true;
    });
    std::size_t polled = pads_.size();
    for (std::size_t user = 0; user < pads_.size(); ++user) {
        PadModel& pad = pads_[user];
        if (pad.plugged && !pad.ready &&
            zestsim::calls("XInputGetCapabilities", user) > pad.capabilities_asked &&
            core_running()) {
            await_reads(user);
            pad.ready = true;
        }
        if (pad.ready) polled = user;
    }
    if (polled < pads_.size() && core_running()) {
        await_reads(polled);
    } else {
        QThread::msleep(5);
    }
    serve();
    serve();
    check();
}

void RandomWalkTest::check() {
    check_events();
    check_targets();
    check_motors();
}

// "Connected as" names the pad that the machine shows the target at, and comes with the whole
// feed list: none, and the three other pads.
void RandomWalkTest::check_status() {
    if (!virtual_on_) return;
    const hostkit::Control* status = nullptr;
    for (const hostkit::Control& control : preferences_panel.controls()) {
        if (control.kind == hostkit::ControlKind::Label && control.text &&
            control.text->starts_with("Connected as "))
            status = &control;
    }
    if (status == nullptr) return;
    const std::string name = status->text->substr(13);
    const hostkit::Control* feed = preferences_panel.find_key("feedgamepad");
    const std::size_t space = name.rfind(' ');
    const int shown = space == std::string::npos ? 0 : std::atoi(name.c_str() + space + 1);
    if (name.empty()) {
        fail("the status reads \"Connected as \" with no pad name");
    } else if (feed == nullptr || feed->entries.size() != 4) {
        fail("\"" + *status->text + "\" with a feed list of " +
             std::to_string(feed == nullptr ? 0 : feed->entries.size()) + " entries");
    } else if (!target_indices().contains(shown - 1)) {
        fail("\"" + *status->text + "\" while no target shows at user index " +
             std::to_string(shown - 1));
    }
}

// Every transition is told once, in the order it happened, by each node that listens for it.
void RandomWalkTest::check_events() {
    const std::set<int> targets = target_indices();
    for (WalkNode& node : nodes_) {
        if (targets.contains(node.pad)) node.checked = false;  // the virtual pad moves by itself
    }
    for (const int id : told_log_) {
        WalkNode* node = find(id);
        if (node == nullptr || !node->checked) continue;
        if (node->told >= node->expected.size()) {
            fail("node " + std::to_string(id) + " (" + node->type + ", pad " +
                 std::to_string(node->pad) + " " + node->attribute +
                 ") told a transition it never had or told one twice");
            continue;
        }
        const std::size_t transition = node->expected[node->told++];
        if (transition < last_told_)
            fail("transition " + std::to_string(transition) + " told after transition " +
                 std::to_string(last_told_) + " (node " + std::to_string(id) + ")");
        last_told_ = std::max(last_told_, transition);
    }
    told_log_.clear();
}

void RandomWalkTest::check_targets() {
    if (!eventually([] { return zestsim::plugged_targets() <= 1; }))
        fail(std::to_string(zestsim::plugged_targets()) + " targets plugged for one virtual pad");
    if (!virtual_on_ && !unplug_refused_ &&
        !eventually([] { return zestsim::plugged_targets() == 0; }))
        fail("a target stays plugged with the virtual pad off and unplugs accepted");
    for (const WalkNode& node : nodes_) {
        if (node.checked && node.told != node.expected.size())
            fail("node " + std::to_string(node.id) + " (" + node.type + ", pad " +
                 std::to_string(node.pad) + " " + node.attribute + ") told " +
                 std::to_string(node.told) + " of its " + std::to_string(node.expected.size()) +
                 " transitions");
    }
}

// A motor runs only while an override that a live node set is within its deadline, and such an
// override keeps it running unless something the walk did may have ended it.
void RandomWalkTest::check_motors() {
    for (std::size_t user = 0; user < pads_.size(); ++user) {
        if (!pads_[user].plugged) continue;
        for (const std::string motor : {"motor_left", "motor_right"}) {
            const auto speed = [&] {
                const zestsim::Vibration v = zestsim::vibration(user);
                return motor == "motor_left" ? v.left : v.right;
            };
            const auto found = overrides_.find({int(user), motor});
            const Override* running = found == overrides_.end() ? nullptr : &found->second;
            const auto allowed = [&] {
                return speed() == 0 ||
                       (running != nullptr && Clock::now() <= running->deadline + slack);
            };
            if (!eventually(allowed))
                fail("pad " + std::to_string(user) + " " + motor + " runs at " +
                     std::to_string(speed()) + " with no live override of a live node");
            const auto runs = [&] {
                return speed() != 0 || Clock::now() + slack >= running->deadline;
            };
            if (running != nullptr && running->must_run && !eventually(runs))
                fail("pad " + std::to_string(user) + " " + motor + " stopped while node " +
                     std::to_string(running->owner) + "'s override is live");
        }
    }
}

void RandomWalkTest::run(std::uint64_t seed, std::uint64_t steps) {
    rng_.seed(seed);
    threads_ = thread_count();
    preferences_seen_ = hostkit::preferences_invalidations().total;
    plug(0, Subtype::Gamepad);
    plug(1, Subtype::Gamepad);
    const std::vector<std::pair<int, Pick>> moves{
        {10,
         [&] {
             if (nodes_.size() < most_nodes) add_node();
         }},
        {12,
         [&] {
             if (!nodes_.empty()) select(any_node());
         }},
        {12,
         [&] {
             if (!nodes_.empty()) fire(any_node(), false);
         }},
        {6,
         [&] {
             if (!nodes_.empty()) fire(any_node(), true);
         }},
        {6,
         [&] {
             if (!nodes_.empty()) destroy(std::size_t(random(int(nodes_.size()))));
         }},
        {4, [&] { switch_virtual_pad(); }},
        {3, [&] { choose_feed(); }},
        {2, [&] { rate(); }},
        {4,
         [&] {
             const std::set<int> targets = target_indices();
             std::size_t plugged = 0;
             std::vector<std::size_t> free;
             for (std::size_t user = 0; user < pads_.size(); ++user) {
                 plugged += pads_[user].plugged;
                 if (!pads_[user].plugged && !targets.contains(int(user))) free.push_back(user);
             }
             // A target on its way takes the lowest free index; no pad goes there meanwhile.
             const bool settled = targets.size() == zestsim::plugged_targets();
             if (plugged < physical_pads && !free.empty() && settled)
                 plug(any_of(free), subtypes[std::size_t(random(subtypes.size()))]);
         }},
        {5,
         [&] {
             const std::size_t user = std::size_t(random(int(pads_.size())));
             if (!pads_[user].plugged) return;
             const Subtype subtype = subtypes[std::size_t(random(subtypes.size()))];
             unplug(user);
             if (chance(60)) plug(user, subtype);  // another kind: another attribute list
         }},
        {22,
         [&] {
             const std::size_t user = std::size_t(random(int(pads_.size())));
             const auto button = std::next(pressed_buttons.begin(), random(2))->second;
             if (pads_[user].ready) press(user, button, (pads_[user].held & button) == 0);
         }},
        {5, [&] { fault(); }},
        {5, [&] { stall(); }},
        {1, [&] { unload_and_reload(); }},
    };
    std::vector<int> weights;
    for (const auto& move : moves)
        weights.push_back(move.first);
    std::discrete_distribution<std::size_t> next_move(weights.begin(), weights.end());
    for (std::uint64_t step = 0; step < steps && failure_.empty() && !HasFailure(); ++step) {
        moves[next_move(rng_)].second();
        settle();
        if (!failure_.empty() || HasFailure()) {
            std::ostringstream steps_before;
            std::ostringstream in_force;
            for (const std::string& fault : faults_)
                in_force << " " << fault << ";";
            for (const std::string& line : trail_)
                steps_before << "\n  " << line;
            ADD_FAILURE() << "ZEST_RANDOM_SEED=" << seed << " at step " << step << ": "
                          << (failure_.empty() ? "see above" : failure_)
                          << "\nfaults in force:" << in_force.str()
                          << "\nlast steps:" << steps_before.str();
        }
    }
    nodes_.clear();
}

TEST_F(RandomWalkTest, EveryStepKeepsMotorsEventsTargetsAndStatusTrue) {
    const std::uint64_t seed = testsupport::random_seed();
    SCOPED_TRACE("ZEST_RANDOM_SEED=" + std::to_string(seed));
    run(seed, testsupport::from_environment("ZEST_RANDOM_STEPS", 200));
}

}  // namespace
