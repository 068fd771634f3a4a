#include "zesthost/commands.h"

#include <QDir>
#include <QFileInfo>

#include <charconv>
#include <cmath>

#include "zesthost/graph_file.h"
#include "zesthost/pad_names.h"
#include "zesthost/panel_text.h"

namespace zesthost {

namespace {

constexpr int default_wait_ms = 5000;
// How long `set` waits for a list to offer an entry: the plug-in fills some lists a moment
// after the panel shows them (the pads, as it finds them).
constexpr int list_wait_ms = 1000;
constexpr const char* type_prefix = "io.zestworks.gamepad.";

std::optional<int> to_int(const std::string& text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

std::optional<double> to_double(const std::string& text) {
    try {
        std::size_t used = 0;
        const double value = std::stod(text, &used);
        if (used == text.size()) return value;
    } catch (const std::exception&) {
    }
    return std::nullopt;
}

// "500ms", "2s" or "0.5s".
std::optional<int> to_milliseconds(const std::string& text) {
    const bool ms = text.size() > 2 && text.ends_with("ms");
    const bool s = !ms && text.size() > 1 && text.ends_with("s");
    if (!ms && !s) return std::nullopt;
    const std::optional<double> amount = to_double(text.substr(0, text.size() - (ms ? 2 : 1)));
    if (!amount || *amount < 0 || *amount > 3600) return std::nullopt;
    return static_cast<int>(std::lround(ms ? *amount : *amount * 1000.0));
}

std::string joined(const std::vector<std::string>& words, std::size_t from) {
    std::string text;
    for (std::size_t i = from; i < words.size(); ++i) {
        if (i != from) text += ' ';
        text += words[i];
    }
    return text;
}

// A value for a control as the user would set it: by the control's kind when the panel shows
// it, a list entry by its label too; otherwise by how the text looks.
std::optional<hostkit::Store::Value> control_value(const hostkit::Control* control,
                                                   const std::string& text) {
    using hostkit::ControlKind;
    if (control != nullptr && control->kind == ControlKind::List) {
        for (const hostkit::ListEntry& entry : control->entries) {
            if (entry.label == text) return entry.value;
        }
    }
    if (text == "true" || text == "false") return text == "true";
    const std::optional<int> whole = to_int(text);
    const std::optional<double> fraction = to_double(text);
    if (control != nullptr) {
        switch (control->kind) {
            case ControlKind::Checkbox:
                return std::nullopt;
            case ControlKind::Float:
                if (fraction) return *fraction;
                return std::nullopt;
            case ControlKind::Int:
            case ControlKind::Slider:
            case ControlKind::List:
                if (whole) return *whole;
                return std::nullopt;
            default:
                break;
        }
    }
    if (whole) return *whole;
    if (fraction) return *fraction;
    return text;
}

// The entries a list offers, for a message.
std::string entries_of(const hostkit::Control& list) {
    if (list.entries.empty()) return " (its list is empty)";
    std::string text;
    for (const hostkit::ListEntry& entry : list.entries)
        text += (text.empty() ? " (its entries: \"" : ", \"") + entry.label + "\"";
    return text + ")";
}

bool shows(const hostkit::Panel& panel, const std::string& text) {
    for (const hostkit::Control& control : panel.controls()) {
        if (control.text == text) return true;
        for (const hostkit::ListEntry& entry : control.entries) {
            if (entry.label == text) return true;
        }
    }
    return false;
}

}  // namespace

std::vector<std::string> split_words(const std::string& line) {
    std::vector<std::string> words;
    std::string word;
    bool quoted = false;
    bool in_word = false;
    for (char c : line) {
        if (c == '"') {
            quoted = !quoted;
            in_word = true;
        } else if (!quoted && (c == ' ' || c == '\t')) {
            if (in_word) words.push_back(std::exchange(word, {}));
            in_word = false;
        } else {
            word += c;
            in_word = true;
        }
    }
    if (in_word) words.push_back(word);
    return words;
}

Commands::Commands(Session& session, std::string directory, Machine& machine)
    : session_(session), machine_(machine), directory_(std::move(directory)) {}

std::string Commands::help() {
    return R"(Commands (words with blanks go in "double quotes"):
  load FILE                    load a graph file (nodes, edges, preferences)
  save FILE                    save the graph and the preferences
  node NAME TYPE               add a node; TYPE is its id or the id's last part
  edge PARENT CHILD            send PARENT's events on to CHILD
  bypass NAME on|off           a bypassed node passes events on without acting
  set PANEL KEY VALUE          set a control as a user would, then rebuild the panel;
                               PANEL is a node's name or "preferences"; a list takes an
                               entry's label or value, and waits up to a second for the
                               entry to appear (the pads fill in a moment)
  click PANEL LABEL            click a button of the panel
  confirm                      confirm the preferences (the update rate takes effect)
  fire NAME                    send an event to the node from outside
  show PANEL                   build the panel and print it (and the node's name)
  pads                         print the pads and the virtual pad
  pad plug INDEX [KIND]        plug a pad on user index 0 to 3; KIND is gamepad (the
                               default), wheel, flightstick, guitar or drumkit
  pad unplug INDEX
  pad press INDEX BUTTON...    hold buttons: a b x y up down left right start back
  pad release INDEX BUTTON...  lb rb ls rs guide
  pad triggers INDEX LEFT RIGHT        0 to 255
  pad sticks INDEX LX LY RX RY         -32768 to 32767
  driver on|off                the virtual-pad bus driver installed or not
  driver refuse|accept plug|unplug   the driver refuses such requests at once, or no longer
  driver cancel ignore|honour  cancelled requests stay pending, or end
  unload                       destroy every node and unload the plug-in, as the host
                               does when it closes; the pads and the driver stay
  wait DURATION                let time pass, as 500ms or 2s
  wait until CONDITION [within DURATION]   5s unless told
  expect CONDITION             fail unless CONDITION holds now
  say TEXT                     write TEXT into the trace
  help, quit
Conditions:
  events NODE N                NODE has sent N events of its own
  passed NODE N                NODE has passed N events on
  virtual connected | virtual gone
  virtual BUTTON down|up       the virtual pad's report, as other programs see it
  rumble INDEX on|off          what the pad's motors were last told
  targets N                    the bus driver holds N virtual pads
  xinput INDEX connected|empty what XInput reports at the user index
  text PANEL TEXT              the panel's last pass shows TEXT, as a label, a
                               caption or a list entry
  name NODE TEXT               the node's display name)";
}

bool Commands::run(const std::string& line) {
    const Args args = split_words(line);
    if (args.empty() || args[0].starts_with("#")) return true;
    session_.settle();  // the user acts on what the screen shows by now
    reported_user();
    try {
        return dispatch(args);
    } catch (const std::exception& error) {
        return fail(error.what());
    }
}

bool Commands::fail(const std::string& message) {
    session_.trace().line("FAILED: " + message);
    return false;
}

bool Commands::dispatch(const Args& args) {
    const std::string& command = args[0];
    const std::size_t count = args.size();
    if (session_.unloaded() && !after_unload(command)) {
        return fail("the plug-in is unloaded; \"" + command + "\" needs it");
    }
    if (command == "help") {
        session_.trace().plain(help());
    } else if (command == "quit" || command == "exit") {
        quit_ = true;
    } else if (command == "say") {
        session_.trace().line("# " + joined(args, 1));
    } else if (command == "load" && count == 2) {
        session_.load(path_of(args[1]));
    } else if (command == "save" && count == 2) {
        session_.save(path_of(args[1]));
    } else if (command == "node" && count == 3) {
        return add_node(args);
    } else if (command == "edge" && count == 3) {
        return connect(args);
    } else if (command == "bypass" && count == 3 && (args[2] == "on" || args[2] == "off")) {
        GraphNode* node = node_named(args[1]);
        if (node == nullptr) return false;
        node->bypassed = args[2] == "on";
    } else if (command == "set" && count == 4) {
        return set_value(args);
    } else if (command == "click" && count == 3) {
        return click(args);
    } else if (command == "confirm" && count == 1) {
        session_.confirm_preferences();
    } else if (command == "fire" && count == 2) {
        GraphNode* node = node_named(args[1]);
        if (node == nullptr) return false;
        session_.graph().send(*node);
    } else if (command == "show" && count == 2) {
        return show(args);
    } else if (command == "pads" && count == 1) {
        for (const std::string& text : pad_lines(machine_, reported_user()))
            session_.trace().plain(text);
    } else if (command == "pad" && count >= 3) {
        return pad(args);
    } else if (command == "driver" && count >= 2) {
        return driver(args);
    } else if (command == "unload" && count == 1) {
        session_.unload();
        session_.trace().line("unloaded the plug-in");
    } else if (command == "wait" && count >= 2) {
        return wait(args);
    } else if (command == "expect" && count >= 2) {
        return expect(args);
    } else {
        return fail("can't read \"" + joined(args, 0) + "\"; \"help\" lists the commands");
    }
    return true;
}

// What needs no plug-in: the pads, the driver, time and what they show.
bool Commands::after_unload(const std::string& command) {
    for (const char* allowed :
         {"help", "quit", "exit", "say", "pads", "pad", "driver", "wait", "expect"}) {
        if (command == allowed) return true;
    }
    return false;
}

bool Commands::add_node(const Args& args) {
    if (session_.graph().find(args[1]) != nullptr) {
        return fail("a node named " + args[1] + " exists already");
    }
    const hostkit::RegisteredNodeType* type = session_.registry().find(args[2]);
    if (type == nullptr) type = session_.registry().find(type_prefix + args[2]);
    if (type == nullptr) return fail("no node type " + args[2]);
    session_.add_node(args[1], *type);
    return true;
}

bool Commands::connect(const Args& args) {
    GraphNode* from = node_named(args[1]);
    GraphNode* to = from == nullptr ? nullptr : node_named(args[2]);
    if (to == nullptr) return false;
    session_.graph().connect(*from, *to);
    return true;
}

bool Commands::set_value(const Args& args) {
    hostkit::Panel* panel = panel_named(args[1]);
    if (panel == nullptr) return false;
    std::optional<hostkit::Store::Value> value;
    const hostkit::Control* control = nullptr;
    const auto fits = [&] {
        control = panel->find_key(args[2]);
        value = control_value(control, args[3]);
        return value.has_value();
    };
    // As a person would, waits a moment for a list to offer the entry.
    if (!fits() && control != nullptr && control->kind == hostkit::ControlKind::List) {
        session_.run_until(fits, list_wait_ms);
    }
    if (!value) {
        const bool list = control != nullptr && control->kind == hostkit::ControlKind::List;
        return fail("\"" + args[3] + "\" doesn't fit the control " + args[2] +
                    (list ? entries_of(*control) : ""));
    }
    panel->script_value(args[2], *value);
    rebuild(args[1]);
    return true;
}

bool Commands::click(const Args& args) {
    hostkit::Panel* panel = panel_named(args[1]);
    if (panel == nullptr) return false;
    const hostkit::Control* button = panel->find_text(args[2]);
    if (button == nullptr || button->kind != hostkit::ControlKind::Button) {
        return fail(args[1] + " shows no button \"" + args[2] + "\"");
    }
    panel->script_click(args[2]);
    rebuild(args[1]);
    return true;
}

bool Commands::show(const Args& args) {
    hostkit::Panel* panel = panel_named(args[1]);
    if (panel == nullptr) return false;
    rebuild(args[1]);
    const GraphNode* node = session_.graph().find(args[1]);
    session_.trace().plain(node == nullptr ? "Preferences"
                                           : node->name + ": " + node->display_name());
    for (const std::string& text : panel_lines(*panel))
        session_.trace().plain(text);
    return true;
}

bool Commands::pad(const Args& args) {
    const std::optional<int> index = to_int(args[2]);
    if (!index || *index < 0 || *index >= static_cast<int>(Machine::pad_count)) {
        return fail("a pad is 0 to 3");
    }
    const auto user = static_cast<std::size_t>(*index);
    const std::string& action = args[1];
    if (action == "plug" && args.size() <= 4) {
        const auto kind = pad_kind(args.size() == 4 ? args[3] : "gamepad");
        if (!kind) return fail("no pad kind " + args[3]);
        machine_.plug_pad(user, *kind);
    } else if (action == "unplug" && args.size() == 3) {
        machine_.unplug_pad(user);
    } else if ((action == "press" || action == "release") && args.size() >= 4) {
        for (std::size_t i = 3; i < args.size(); ++i) {
            const auto mask = button_mask(args[i]);
            if (!mask) return fail("no button " + args[i]);
            machine_.press(user, *mask, action == "press");
        }
    } else if (action == "triggers" && args.size() == 5) {
        const auto left = to_int(args[3]);
        const auto right = to_int(args[4]);
        if (!left || !right || *left < 0 || *left > 255 || *right < 0 || *right > 255) {
            return fail("a trigger is 0 to 255");
        }
        machine_.set_triggers(user, static_cast<std::uint8_t>(*left),
                              static_cast<std::uint8_t>(*right));
    } else if (action == "sticks" && args.size() == 7) {
        std::int16_t axes[4];
        for (std::size_t i = 0; i < 4; ++i) {
            const auto axis = to_int(args[3 + i]);
            if (!axis || *axis < -32768 || *axis > 32767) return fail("an axis is -32768 to 32767");
            axes[i] = static_cast<std::int16_t>(*axis);
        }
        machine_.set_sticks(user, axes[0], axes[1], axes[2], axes[3]);
    } else {
        return fail("can't read \"" + joined(args, 0) + "\"; \"help\" lists the commands");
    }
    return true;
}

bool Commands::wait(const Args& args) {
    if (args[1] != "until") {
        const std::optional<int> ms = to_milliseconds(args[1]);
        if (!ms || args.size() != 2) return fail("a duration is like 500ms or 2s");
        session_.run_for(*ms);
        return true;
    }
    Args condition(args.begin() + 2, args.end());
    int timeout = default_wait_ms;
    if (condition.size() >= 2 && condition[condition.size() - 2] == "within") {
        const std::optional<int> ms = to_milliseconds(condition.back());
        if (!ms) return fail("a duration is like 500ms or 2s");
        timeout = *ms;
        condition.resize(condition.size() - 2);
    }
    Verdict verdict = check(condition);
    if (session_.run_until([&] { return !(verdict = check(condition)); }, timeout)) {
        session_.trace().line("ok: " + joined(condition, 0));
        return true;
    }
    return fail("waited for " + joined(condition, 0) + "; " + verdict.value_or(""));
}

bool Commands::expect(const Args& args) {
    const Verdict verdict = check(Args(args.begin() + 1, args.end()));
    if (!verdict) {
        session_.trace().line("ok: " + joined(args, 1));
        return true;
    }
    return fail("expected " + joined(args, 1) + "; " + *verdict);
}

Commands::Verdict Commands::check(const Args& condition) {
    const std::size_t count = condition.size();
    const std::string what = count == 0 ? "" : condition[0];
    if ((what == "events" || what == "passed") && count == 3) {
        const GraphNode* node = session_.graph().find(condition[1]);
        const std::optional<int> wanted = to_int(condition[2]);
        if (node == nullptr || !wanted) return "no node " + condition[1] + " or no number";
        const std::size_t seen = what == "events" ? node->originated() : node->passed_on();
        if (seen == static_cast<std::size_t>(*wanted)) return std::nullopt;
        return "it has " + std::to_string(seen);
    }
    if (what == "virtual" && count == 2 &&
        (condition[1] == "connected" || condition[1] == "gone")) {
        const bool shown = shown_virtual_pad().has_value();
        if (shown == (condition[1] == "connected")) return std::nullopt;
        return shown ? "other programs still see it" : "other programs don't see it";
    }
    if (what == "virtual" && count == 3 && (condition[2] == "down" || condition[2] == "up")) {
        const auto mask = button_mask(condition[1]);
        const auto shown = shown_virtual_pad();
        if (!mask || !shown) return mask ? "no virtual pad" : "no button " + condition[1];
        const bool down = (shown->report.buttons & *mask) != 0;
        if (down == (condition[2] == "down")) return std::nullopt;
        return down ? "it is down" : "it is up";
    }
    if (what == "rumble" && count == 3 && (condition[2] == "on" || condition[2] == "off")) {
        const auto index = to_int(condition[1]);
        if (!index || *index < 0 || *index > 3) return "a pad is 0 to 3";
        const Motors rumble = machine_.vibration(static_cast<std::size_t>(*index));
        const bool on = rumble.left != 0 || rumble.right != 0;
        if (on == (condition[2] == "on")) return std::nullopt;
        return "the motors are at " + std::to_string(rumble.left) + " and " +
               std::to_string(rumble.right);
    }
    if (what == "xinput" && count == 3 &&
        (condition[2] == "connected" || condition[2] == "empty")) {
        const auto index = to_int(condition[1]);
        if (!index || *index < 0 || *index > 3) return "a user index is 0 to 3";
        const bool connected = machine_.xinput_connected(static_cast<std::size_t>(*index));
        if (connected == (condition[2] == "connected")) return std::nullopt;
        return connected ? "XInput reports a pad there" : "XInput reports none there";
    }
    if (what == "targets" && count == 2) {
        const std::optional<int> wanted = to_int(condition[1]);
        const std::size_t held = machine_.plugged_targets();
        if (wanted && held == static_cast<std::size_t>(*wanted)) return std::nullopt;
        return "the driver holds " + std::to_string(held);
    }
    if (what == "text" && count == 3) {
        hostkit::Panel* panel = panel_named(condition[1]);
        if (panel == nullptr) return "no panel " + condition[1];
        if (shows(*panel, condition[2])) return std::nullopt;
        std::string shown;
        for (const std::string& text : panel_lines(*panel))
            shown += "\n" + text;
        return "the panel shows:" + shown;
    }
    if (what == "name" && count == 3) {
        const GraphNode* node = session_.graph().find(condition[1]);
        if (node == nullptr) return "no node " + condition[1];
        const std::string name = node->display_name();
        if (name == condition[2]) return std::nullopt;
        return "the name is \"" + name + "\"";
    }
    return "can't read the condition \"" + joined(condition, 0) + "\"";
}

bool Commands::driver(const Args& args) {
    const std::size_t count = args.size();
    if (count == 2 && (args[1] == "on" || args[1] == "off")) {
        machine_.set_bus_driver(args[1] == "on");
    } else if (count == 3 && (args[1] == "refuse" || args[1] == "accept") &&
               (args[2] == "plug" || args[2] == "unplug")) {
        machine_.refuse(args[2] == "plug" ? BusRequest::Plug : BusRequest::Unplug,
                        args[1] == "refuse");
    } else if (count == 3 && args[1] == "cancel" && (args[2] == "ignore" || args[2] == "honour")) {
        machine_.ignore_cancel(args[2] == "ignore");
    } else {
        return fail("can't read \"" + joined(args, 0) + "\"; \"help\" lists the commands");
    }
    return true;
}

// Where the preferences last showed the virtual pad: "Connected as Gamepad N" is user index
// N - 1. The place is kept once the panel no longer shows it, as where other programs saw it.
int Commands::reported_user() {
    const std::string connected = "Connected as Gamepad ";
    for (const hostkit::Control& control : session_.preferences_panel().controls()) {
        const std::string text = control.text.value_or("");
        if (control.kind != hostkit::ControlKind::Label || !text.starts_with(connected)) continue;
        if (const auto number = to_int(text.substr(connected.size()))) reported_user_ = *number - 1;
    }
    return reported_user_;
}

std::optional<VirtualPad> Commands::shown_virtual_pad() {
    const std::vector<VirtualPad> pads = machine_.virtual_pads(reported_user());
    if (pads.empty()) return std::nullopt;
    return pads.front();
}

hostkit::Panel* Commands::panel_named(const std::string& name) {
    if (name == "preferences") return &session_.preferences_panel();
    GraphNode* node = node_named(name);
    return node == nullptr ? nullptr : &node->panel;
}

GraphNode* Commands::node_named(const std::string& name) {
    GraphNode* node = session_.graph().find(name);
    if (node == nullptr) session_.trace().line("FAILED: no node named " + name);
    return node;
}

void Commands::rebuild(const std::string& name) {
    if (hostkit::Panel* panel = panel_named(name)) session_.rebuild(*panel);
}

// Below the current folder, relative to it: the trace shows the name, not the machine's folders.
std::string Commands::path_of(const std::string& name) const {
    const QString path =
        QDir(QString::fromStdString(directory_)).absoluteFilePath(QString::fromStdString(name));
    const QString relative = QDir::current().relativeFilePath(path);
    return (relative.startsWith(QStringLiteral("..")) ? path : relative).toStdString();
}

}  // namespace zesthost
