#include "zesthost/panel_text.h"

#include <cstdio>

#include "zesthost/pad_names.h"

namespace zesthost {

namespace {

using hostkit::Control;
using hostkit::ControlKind;

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

std::string caption(const Control& control) {
    return control.text ? *control.text + ": " : std::string();
}

std::string range(const Control& control) {
    std::string text = " (" + number(control.minimum) + " to " + number(control.maximum);
    if (control.kind == ControlKind::Slider) text += ", step " + number(control.step);
    return text + ")";
}

void add_control(const Control& control, const std::string& indent,
                 std::vector<std::string>& lines) {
    switch (control.kind) {
        case ControlKind::StartGroup:
        case ControlKind::EndGroup:
            return;
        case ControlKind::Label:
            lines.push_back(indent + control.text.value_or(""));
            return;
        case ControlKind::Button:
            lines.push_back(indent + "[" + control.text.value_or("") + "]");
            return;
        case ControlKind::Checkbox:
            lines.push_back(indent + (control.result != 0.0 ? "[x] " : "[ ] ") +
                            control.text.value_or(""));
            return;
        case ControlKind::Int:
        case ControlKind::Slider:
        case ControlKind::Float:
            lines.push_back(indent + caption(control) + number(control.result) + range(control));
            return;
        case ControlKind::List:
            if (control.entries.empty()) lines.push_back(indent + "  (nothing to choose)");
            for (const hostkit::ListEntry& entry : control.entries) {
                const bool selected = entry.value == static_cast<int>(control.result);
                lines.push_back(indent + (selected ? "  (*) " : "  ( ) ") + entry.label);
            }
            return;
    }
}

std::string buttons_text(std::uint16_t buttons) {
    std::string text;
    for (const PadButton& button : pad_buttons()) {
        if ((buttons & button.mask) == 0) continue;
        if (!text.empty()) text += ' ';
        text += button.name;
    }
    return text.empty() ? "none" : text;
}

std::string pad_state_text(const PadInputs& state) {
    char text[256];
    std::snprintf(text, sizeof text, "buttons %s, triggers %u %u, sticks %d %d %d %d",
                  buttons_text(state.buttons).c_str(), state.left_trigger, state.right_trigger,
                  state.thumb_lx, state.thumb_ly, state.thumb_rx, state.thumb_ry);
    return text;
}

}  // namespace

std::vector<std::string> panel_lines(const hostkit::Panel& panel) {
    std::vector<std::string> lines;
    std::string indent = "  ";
    for (const Control& control : panel.controls()) {
        if (control.kind == ControlKind::EndGroup && indent.size() > 2)
            indent.resize(indent.size() - 2);
        add_control(control, indent, lines);
        if (control.kind == ControlKind::StartGroup) {
            if (control.text) lines.push_back(indent + *control.text);
            indent += "  ";
        }
    }
    return lines;
}

std::vector<std::string> pad_lines(Machine& machine, int reported_user) {
    std::vector<std::string> lines;
    for (std::size_t pad = 0; pad < Machine::pad_count; ++pad) {
        std::string line = "  pad " + std::to_string(pad) + ": ";
        if (!machine.is_plugged(pad)) {
            lines.push_back(line + "empty");
            continue;
        }
        const Motors rumble = machine.vibration(pad);
        lines.push_back(line + pad_state_text(machine.pad_state(pad)) + ", rumble " +
                        std::to_string(rumble.left) + " " + std::to_string(rumble.right));
    }
    for (const VirtualPad& shown : machine.virtual_pads(reported_user)) {
        lines.push_back("  virtual pad " + std::to_string(shown.serial) + " on pad " +
                        std::to_string(shown.user) + ": " + pad_state_text(shown.report));
    }
    return lines;
}

}  // namespace zesthost
