#include <array>
#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <random>
#include <ranges>
#include <set>
#include <sstream>

#include "plugin_fixture.h"
#include "support/random_seed.h"

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;
using zestsim::Subtype;
using Serials = std::vector<std::uint32_t>;

constexpr auto slack = 300ms;  // a few ticks on a slow machine, either side of a deadline
// A refused unplug is tried again at refreshes about a second apart while the core polls, the
// pause doubling up to 16 of them.
constexpr auto unplug_backoff = 20s;

const std::array<Subtype, 5> subtypes{Subtype::Gamepad, Subtype::Wheel, Subtype::FlightStick,
                                      Subtype::Guitar, Subtype::DrumKit};
const std::map<std::string, std::uint16_t> buttons{{"button_a", 0x1000}, {"button_b", 0x2000}};
const std::map<std::string, std::uint16_t zestsim::Vibration::*> motors{
    {"motor_left", &zestsim::Vibration::left}, {"motor_right", &zestsim::Vibration::right}};
// The driver's faults, each set or lifted by one call. A plug refused for every serial is tried
// up to the last of them, seconds long, so only the first serials are refused.
const std::map<std::string, std::function<void(bool)>> faults{
    {"plug of serials 1 and 2 refused",
     [](bool on) {
         zestsim::refuse_serials(on ? Serials{1, 2} : Serials{});
     }},
    {"unplug refused", [](bool on) { zestsim::refuse_requests(0x2AA008, on ? 31 : 0); }},
    {"notification denied", [](bool on) { zestsim::refuse_requests(0x2AE804, on ? 5 : 0); }},
    {"no driver", [](bool on) { zestsim::set_bus_driver(!on); }},
    {"slow driver", [](bool on) { zestsim::set_driver_delay(on ? 30 : 0); }},
    {"out of event handles", [](bool on) { zestsim::refuse_events(on); }}};

// An event node is checked while the walk knows every transition it must tell.
struct WalkNode {
    int id = 0, pad = -1;
    std::string type, attribute;  // the attribute as a saved file names it
    std::unique_ptr<HostNode> host;
    bool checked = false;
    std::vector<std::size_t> expected;
    std::size_t told = 0;
};
// Must run while nothing the walk did since may have stopped it.
struct Override {
    int owner = 0;
    Clock::time_point deadline;
    bool must_run = false;
};
// Ready once the core saw it and its metadata reached the panels.
struct Pad {
    bool plugged = false, ready = false;
    Subtype subtype = Subtype::Gamepad;
    std::uint16_t held = 0;
    std::uint64_t asked = 0;
};

// A seeded random walk over the plug-in's entry points with the real library on the simulated
// machine. After every step the invariants a user relies on are checked against the walk's own
// record of what it did; the first broken one ends the walk with its seed and last steps.
class RandomWalkTest : public PluginTest {
protected:
    void run(std::uint64_t seed, std::uint64_t steps) {
        rng_.seed(seed);
        threads_ = thread_count();
        preferences_seen_ = hostkit::preferences_invalidations().total;
        plug(0, Subtype::Gamepad);
        plug(1, Subtype::Gamepad);
        using Move = void (RandomWalkTest::*)();
        const std::vector<std::pair<int, Move>> moves{
            {10, &RandomWalkTest::add_node}, {12, &RandomWalkTest::select},
            {12, &RandomWalkTest::fire},     {6, &RandomWalkTest::test},
            {6, &RandomWalkTest::destroy},   {4, &RandomWalkTest::switch_virtual_pad},
            {3, &RandomWalkTest::feed},      {2, &RandomWalkTest::rate},
            {4, &RandomWalkTest::plug},      {5, &RandomWalkTest::swap},
            {22, &RandomWalkTest::press},    {5, &RandomWalkTest::fault},
            {5, &RandomWalkTest::stall},     {1, &RandomWalkTest::reload}};
        const auto weights = std::views::keys(moves);
        std::discrete_distribution<std::size_t> next(weights.begin(), weights.end());
        std::uint64_t step = 0;
        for (; step < steps && failure_.empty() && !HasFailure(); ++step) {
            (this->*moves[next(rng_)].second)();
            settle();
        }
        if (!failure_.empty() || HasFailure())
            ADD_FAILURE() << "ZEST_RANDOM_SEED=" << seed << " at step " << step - 1 << ": "
                          << (failure_.empty() ? "see above" : failure_)
                          << "\nfaults in force: " << testing::PrintToString(faults_)
                          << "\nlast steps: " << testing::PrintToString(trail_);
        nodes_.clear();
    }

    std::size_t random(std::size_t below) {
        return std::uniform_int_distribution<std::size_t>(0, below - 1)(rng_);
    }
    bool chance(std::size_t percent) { return random(100) < percent; }
    auto& any_of(auto& from) { return from[random(from.size())]; }
    static std::string text(const auto&... parts) {
        std::ostringstream out;
        (out << ... << parts);
        return out.str();
    }
    void note(const auto&... parts) {
        trail_.push_back(text(parts...));
        if (trail_.size() > 16) trail_.pop_front();
    }
    void fail(const auto&... parts) {
        if (failure_.empty()) failure_ = text(parts...);
    }
    // Seen by the core since it was plugged.
    bool seen(std::size_t user) const {
        return zestsim::calls("XInputGetCapabilities", user) > pads_[user].asked;
    }
    void set_fault(const std::string& name, bool on) {
        faults.at(name)(on);
        on ? void(faults_.insert(name)) : void(faults_.erase(name));
    }
    bool core_running() const { return !nodes_.empty() || virtual_on_; }
    static std::string describe(const WalkNode& node) {
        return text("node ", node.id, " (", node.type, ", pad ", node.pad, " ", node.attribute,
                    ")");
    }
    static std::set<int> target_users() {
        std::set<int> users;
        for (std::uint32_t serial = 1; serial <= 64; ++serial)
            users.insert(zestsim::target_user(serial));
        users.erase(-1);
        return users;
    }
    static std::vector<hostkit::ListEntry> entries(const hostkit::Panel& panel, const char* key) {
        const hostkit::Control* list = panel.find_key(key);
        return list == nullptr ? std::vector<hostkit::ListEntry>{} : list->entries;
    }
    std::string attribute_name(int id) const {
        hostkit::Store store;
        store.set("!attribute", id);
        types_->types().front().before_save(nullptr, store.handle());
        return store.get<std::string>("!attribute").value_or("");
    }
    // The host's loop: deliveries, then the passes the plug-in asked for.
    void serve() {
        QCoreApplication::processEvents();
        for (WalkNode& node : nodes_) {
            if (node.host->node.properties_invalidations().total != node.host->builds_asked)
                node.host->build();
        }
        if (hostkit::preferences_invalidations().total != preferences_seen_) pass_preferences();
    }
    void pass_preferences() {
        preferences_seen_ = hostkit::preferences_invalidations().total;
        build_preferences();
        check_status();
    }

    void add_node() {
        if (nodes_.size() == 8) return;
        // Event nodes and rumbles are the ones the checks can follow: half of what is added.
        std::vector<const hostkit::RegisteredNodeType*> types;
        for (const hostkit::RegisteredNodeType& type : types_->types()) {
            if (!chance(50) || type.id.find(".onbutton") != std::string::npos ||
                type.id.ends_with(".rumblegamepad"))
                types.push_back(&type);
        }
        if (types.empty()) return;
        const hostkit::RegisteredNodeType& type = *any_of(types);
        WalkNode& node =
            nodes_.emplace_back(next_id_++, -1, type.id.substr(type.id.rfind('.') + 1));
        node.host = std::make_unique<HostNode>(type.id, type);
        node.host->node.child_sink().set_listener([this, id = node.id] { told_by_.push_back(id); });
        note("add ", describe(node));
        node.host->build();
        if (chance(70)) select(node);  // as a user goes on to choose what it acts on
    }
    // Half the time a node whose override runs, the case users meet when they delete a rumble.
    void destroy() {
        std::vector<WalkNode*> choice;
        for (const auto& [where, motor] : overrides_) {
            const auto owner = std::ranges::find(nodes_, motor.owner, &WalkNode::id);
            if (owner != nodes_.end() && chance(50)) choice.push_back(&*owner);
        }
        if (choice.empty()) {
            for (WalkNode& node : nodes_)
                choice.push_back(&node);
        }
        if (choice.empty()) return;
        WalkNode& node = *any_of(choice);
        note("destroy ", describe(node));
        leave_selection(node);
        nodes_.erase(nodes_.begin() + (&node - nodes_.data()));
    }
    // Ends the node's own override, not another node's; a stop may end either.
    void end_override(const WalkNode& node, bool stopped = false) {
        const auto found = overrides_.find({node.pad, node.attribute});
        if (found != overrides_.end() && stopped) found->second.must_run = false;
        if (found != overrides_.end() && found->second.owner == node.id) overrides_.erase(found);
    }
    // A node's override ends with its selection or with the node; another node's goes on.
    void leave_selection(WalkNode& node) {
        end_override(node);
        node.pad = -1;
        node.attribute.clear();
        node.checked = false;
    }
    // A pad not the virtual one, then an attribute, a duration and a strength, as a user chooses
    // them in the panel.
    void select() {
        if (!nodes_.empty()) select(any_of(nodes_));
    }
    void select(WalkNode& node) {
        check_events();
        HostNode& host = *node.host;
        host.build();
        std::vector<hostkit::ListEntry> pads = entries(host.panel, "!gamepad");
        std::erase_if(pads,
                      [](auto& e) { return e.value < 0 || target_users().contains(e.value); });
        // Often another pad than the one it has: a move must leave the old pad behind.
        if (pads.size() > 1 && chance(50))
            std::erase_if(pads, [&](auto& e) { return e.value == node.pad; });
        if (pads.empty()) return;
        const int pad = any_of(pads).value;
        host.panel.script_value("!gamepad", pad);
        host.build();
        std::vector<hostkit::ListEntry> attributes = entries(host.panel, "!attribute");
        // Mostly what the checks follow: button A or B for an event node, a motor for a rumble.
        const bool event = node.type.starts_with("onbutton");
        if ((event || node.type == "rumblegamepad") && chance(80))
            std::erase_if(attributes, [&](auto& e) {
                const std::string name = attribute_name(e.value);
                return event ? !buttons.contains(name) : !name.starts_with("motor_");
            });
        if (attributes.empty()) attributes = entries(host.panel, "!attribute");
        if (attributes.empty()) return pad != node.pad ? leave_selection(node) : void();
        const int attribute = any_of(attributes).value;
        host.panel.script_value("!attribute", attribute);
        host.store.set("!seconds", std::array{0.05, 0.4, 3600.0, 3600.0}[random(4)]);
        host.store.set("!strength", std::array{0, 40, 100}[random(3)]);
        host.build();
        // Choosing what is chosen already changes nothing, the override included.
        if (pad != node.pad || attribute_name(attribute) != node.attribute) leave_selection(node);
        node.pad = pad;
        node.attribute = attribute_name(attribute);
        // A pad the core has not read since it came may still tell what happened before.
        node.checked = event && pads_[std::size_t(pad)].ready;
        node.expected.clear();
        node.told = 0;
        note("select ", describe(node));
    }
    void fire() { fire(false); }
    void test() { fire(true); }
    // The host's trigger, or the panel's Test button, or Stop test when the node shows that.
    void fire(bool by_test) {
        if (nodes_.empty()) return;
        WalkNode& node = any_of(nodes_);
        HostNode& host = *node.host;
        host.build();
        if (by_test && host.panel.find_text("Stop test") != nullptr) {
            note("stop test of ", describe(node));
            host.panel.script_click("Stop test");
            end_override(node, true);
            return host.build();
        }
        if (by_test && host.panel.find_text("Test") == nullptr) return;
        note(by_test ? "test " : "fire ", describe(node));
        by_test ? host.panel.script_click("Test") : host.receive(hostkit::create_event());
        host.build();
        if (node.type != "rumblegamepad" || !node.attribute.starts_with("motor_")) return;
        const std::chrono::duration<double> seconds(
            host.store.get<double>("!seconds").value_or(0.5));
        const Pad& pad = pads_[std::size_t(node.pad)];
        const hostkit::Control* list = host.panel.find_key("!attribute");
        // Only a pad with motors, in the core's hands and fed by nobody, shows an override.
        overrides_[{node.pad, node.attribute}] = {
            node.id, Clock::now() + std::chrono::duration_cast<Clock::duration>(seconds),
            host.store.get<int>("!strength").value_or(100) > 0 && pad.ready &&
                (pad.subtype == Subtype::Gamepad || pad.subtype == Subtype::Wheel) &&
                !fed_from_.contains(node.pad) && list != nullptr &&
                attribute_name(int(list->result)) == node.attribute};
    }
    void switch_virtual_pad() {
        check_events();  // what the target's pad told so far is the virtual pad's
        virtual_on_ = !virtual_on_;
        note("virtual pad ", virtual_on_ ? "on" : "off");
        preferences_panel.script_value("virtualenabled", virtual_on_);
        pass_preferences();
    }
    void feed() {
        const hostkit::Control* list = preferences_panel.find_key("feedgamepad");
        if (list == nullptr) return;
        const int source = any_of(list->entries).value;
        note("feed from ", source);
        fed_from_.insert(source);
        stop_must_run(source);
        preferences_panel.script_value("feedgamepad", source);
        pass_preferences();
    }
    void rate() {
        preferences.set("updatems", std::array{120, 240, 1000}[random(3)]);
        note("rate ", *preferences.get<int>("updatems"));
        plugin().confirm_preferences(preferences.handle());
    }
    // Overrides of the pad may end without the walk knowing when.
    void stop_must_run(int pad) {
        for (auto& [motor, running] : overrides_)
            running.must_run = running.must_run && motor.first != pad;
    }
    void plug() {
        // At most three pads, so that a target always finds an index; a target on its way takes
        // the lowest free one, where no pad goes meanwhile.
        const std::size_t user = random(pads_.size());
        const std::set<int> targets = target_users();
        if (!pads_[user].plugged && !targets.contains(int(user)) &&
            std::ranges::count(pads_, true, &Pad::plugged) < 3 &&
            targets.size() == zestsim::plugged_targets())
            plug(user, any_of(subtypes));
    }
    void plug(std::size_t user, Subtype subtype) {
        note("plug pad ", user, " as ", int(subtype));
        pads_[user] = {true, false, subtype, 0, zestsim::calls("XInputGetCapabilities", user)};
        zestsim::plug_pad(user, subtype);
    }
    void swap() {
        const std::size_t user = random(pads_.size());
        if (!pads_[user].plugged) return;
        unplug(user);
        if (chance(60)) plug(user, any_of(subtypes));  // another kind, other attributes
    }
    // Held buttons come up first, so that every transition is one the walk made.
    void unplug(std::size_t user) {
        for (const auto& [name, button] : buttons) {
            if (pads_[user].held & button) press(user, button);
        }
        note("unplug pad ", user);
        const std::uint64_t reads = zestsim::calls("XInputGetState", user);
        const bool polled = pads_[user].ready && core_running();
        zestsim::unplug_pad(user);
        pads_[user] = {};
        stop_must_run(int(user));
        // Until the next read sees it gone; a disconnected pad is read once a second only.
        if (polled)
            eventually([&] { return zestsim::calls("XInputGetState", user) > reads; }, stalled_);
    }
    void press() {
        const std::size_t user = random(pads_.size());
        if (pads_[user].ready) press(user, random(2) ? 0x1000 : 0x2000);
    }
    // Down if up, up if down; each press or release node of the pad and button must tell it.
    void press(std::size_t user, std::uint16_t button) {
        // A sleeping core would see only the net result when it wakes, and tell a node chosen
        // meanwhile a release it never had.
        if (!core_running()) return;
        Pad& pad = pads_[user];
        const bool down = (pad.held & button) == 0;
        note(down ? "press pad " : "release pad ", user, " ", button);
        zestsim::press(user, button, down);
        pad.held ^= button;
        for (WalkNode& node : nodes_) {
            const auto selected = buttons.find(node.attribute);
            if (node.checked && node.pad == int(user) && selected != buttons.end() &&
                selected->second == button && down == (node.type == "onbuttonpress"))
                node.expected.push_back(transitions_);
        }
        ++transitions_;
        if (pad.ready) await_reads(user, stalled_);
    }
    void fault() {
        const bool on = chance(40);
        const std::string& name = std::next(faults.begin(), random(faults.size()))->first;
        note(on ? "fault: " : "lifted: ", name);
        set_fault(name, on);
    }
    // The main thread held up, as by a dialog: the machine goes on, nothing is delivered. Ready
    // pads are pressed, and one at most is unplugged and plugged again as the same kind: the core
    // sees it come back at its next refresh, up to a second on.
    void stall() {
        note("stall begins");
        stalled_ = true;
        std::vector<std::size_t> ready;
        for (std::size_t user = 0; user < pads_.size(); ++user)
            if (pads_[user].ready) ready.push_back(user);
        const std::size_t steps = random(6) + 1;
        const std::size_t replug = core_running() && chance(15) ? random(steps) : steps;
        for (std::size_t step = 0; step < steps && !ready.empty(); ++step) {
            const std::size_t user = any_of(ready);
            if (step == replug) {
                const Subtype subtype = pads_[user].subtype;
                unplug(user);
                plug(user, subtype);
                pads_[user].ready = eventually([&] { return seen(user); }, true);
                if (pads_[user].ready) await_reads(user, true);
            } else if (pads_[user].ready) {
                press(user, random(2) ? 0x1000 : 0x2000);
            }
        }
        stalled_ = false;
        note("stall ends");
    }
    // After unload no thread and no target remain, refused unplugs or not: the bus takes back what
    // a closed handle held. With no node left, the next check finds any motor still running.
    void reload() {
        note("unload and reload");
        check_events();
        nodes_.clear();
        overrides_.clear();
        plugin().unload();
        if (!eventually([&] { return thread_count() == threads_; }))
            fail("a thread runs on after unload: ", thread_count(), " threads");
        if (!eventually([] { return zestsim::plugged_targets() == 0; }))
            fail(zestsim::plugged_targets(), " target(s) plugged after unload");
        set_fault("out of event handles", false);  // else no polling thread starts
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
    void settle() {
        eventually([&] {
            serve();
            return std::ranges::all_of(nodes_, [](const WalkNode& node) {
                return !node.checked || node.host->originated() >= node.expected.size();
            });
        });
        std::size_t polled = pads_.size();
        for (std::size_t user = 0; user < pads_.size(); ++user) {
            Pad& pad = pads_[user];
            if (pad.plugged && !pad.ready && core_running() && seen(user)) {
                await_reads(user);
                pad.ready = true;
            }
            if (pad.ready) polled = user;
        }
        core_running() && polled < pads_.size() ? await_reads(polled) : QThread::msleep(5);
        serve();
        serve();
        const Clock::time_point now = Clock::now();
        if (faults_.contains("unplug refused") || faults_.contains("out of event handles"))
            polled_since_answer_ = {};
        if (core_running()) polled_since_answer_ += now - last_settled_;
        last_settled_ = now;
        check_events();
        check_targets();
        check_motors();
    }
    // "Connected as" names the pad that the machine shows the target at, and comes with the whole
    // feed list: none, and the three other pads.
    void check_status() {
        const auto& controls = preferences_panel.controls();
        const auto status = std::ranges::find_if(controls, [](const hostkit::Control& control) {
            return control.text && control.text->starts_with("Connected as ");
        });
        if (!virtual_on_ || status == controls.end()) return;
        const std::string name = status->text->substr(13);
        const hostkit::Control* feed = preferences_panel.find_key("feedgamepad");
        if (name.empty()) {
            fail("the status reads \"Connected as \" with no pad name");
        } else if (feed == nullptr || feed->entries.size() != 4) {
            fail("\"", *status->text, "\" without the whole feed list");
        } else if (!target_users().contains(std::atoi(name.c_str() + name.rfind(' ') + 1) - 1)) {
            fail("\"", *status->text, "\" while no target shows at that pad");
        }
    }
    // Every transition is told once, in the order it happened, by each node that listens for it.
    void check_events() {
        const std::set<int> targets = target_users();
        for (WalkNode& node : nodes_)
            node.checked = node.checked && !targets.contains(node.pad);  // a target moves by itself
        for (const int id : told_by_) {
            const auto node = std::ranges::find(nodes_, id, &WalkNode::id);
            if (node == nodes_.end() || !node->checked) continue;
            if (node->told >= node->expected.size()) {
                fail(describe(*node), " told a transition it never had or told one twice");
                continue;
            }
            const std::size_t transition = node->expected[node->told++];
            if (transition < last_told_)
                fail("transition ", transition, " told after ", last_told_, " by ",
                     describe(*node));
            last_told_ = std::max(last_told_, transition);
        }
        told_by_.clear();
    }
    // Never two targets for one virtual pad: a target the bus kept is taken up again. With the
    // virtual pad off, one stays only while the driver refuses it, or until the back-off tries
    // again. Every event node told all its transitions.
    void check_targets() {
        if (!eventually([] { return zestsim::plugged_targets() <= 1; }))
            fail(zestsim::plugged_targets(), " targets plugged for one virtual pad");
        if (!virtual_on_ && polled_since_answer_ >= unplug_backoff &&
            !eventually([] { return zestsim::plugged_targets() == 0; }))
            fail("a target stays plugged with the virtual pad off, long after the driver answered");
        for (const WalkNode& node : nodes_) {
            if (node.checked && node.told != node.expected.size())
                fail(describe(node), " told ", node.told, " of its ", node.expected.size(),
                     " transitions");
        }
    }
    // A motor runs only while an override that a live node set is within its deadline, and such an
    // override keeps it running unless something the walk did may have ended it.
    void check_motors() {
        for (std::size_t user = 0; user < pads_.size(); ++user) {
            for (const auto& [motor, side] : motors) {
                if (!pads_[user].plugged) continue;
                const auto speed = [&] { return zestsim::vibration(user).*side; };
                const auto found = overrides_.find({int(user), motor});
                const Override* live = found == overrides_.end() ? nullptr : &found->second;
                const auto may_run = [&] { return live && Clock::now() <= live->deadline + slack; };
                const auto must_run = [&] { return Clock::now() + slack < live->deadline; };
                if (!eventually([&] { return speed() == 0 || may_run(); }))
                    fail("pad ", user, " ", motor, " runs at ", speed(),
                         " with no live override of a live node");
                if (live && live->must_run && !eventually([&] { return speed() || !must_run(); }))
                    fail("pad ", user, " ", motor, " stopped while node ", live->owner,
                         "'s override is live");
            }
        }
    }

    std::mt19937_64 rng_;
    const hostkit::Registry* types_ = &registry;
    std::unique_ptr<hostkit::Registry> reloaded_;
    std::vector<WalkNode> nodes_;
    std::array<Pad, zestsim::user_count> pads_{};
    std::map<std::pair<int, std::string>, Override> overrides_;  // by pad and motor
    std::set<int> fed_from_;
    std::vector<int> told_by_;  // event nodes, in the order they told
    std::size_t transitions_ = 0, last_told_ = 0;
    bool virtual_on_ = false, stalled_ = false;
    Clock::duration polled_since_answer_{};  // time the core polled since unplugs went through
    Clock::time_point last_settled_ = Clock::now();
    int next_id_ = 0, preferences_seen_ = 0, threads_ = 0;
    std::deque<std::string> trail_;
    std::set<std::string> faults_;
    std::string failure_;
};

TEST_F(RandomWalkTest, EveryStepKeepsMotorsEventsTargetsAndStatusTrue) {
    const std::uint64_t seed = testsupport::random_seed();
    SCOPED_TRACE("ZEST_RANDOM_SEED=" + std::to_string(seed));
    run(seed, testsupport::from_environment("ZEST_RANDOM_STEPS", 300));
}

}  // namespace
