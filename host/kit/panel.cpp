#include "kit/panel.h"

#include <algorithm>
#include <utility>

#include "kit/invalidation.h"
#include "kit/violations.h"

namespace hostkit {

namespace {

std::optional<std::string> copied(const char* text) {
    return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

Control describe(ControlKind kind, const char* key, const char* text, double default_value = 0.0,
                 double minimum = 0.0, double maximum = 0.0, double step = 0.0) {
    return Control{kind, copied(key), copied(text), default_value, minimum, maximum, step, {}, 0.0};
}

}  // namespace

Panel::Panel(Store& store) : store_(store) {}

Panel::~Panel() {
    if (in_pass_) detail::note_pass_ended();
}

void Panel::script_click(std::string label) {
    scripted_clicks_.push_back(std::move(label));
}

void Panel::script_value(std::string key, Store::Value value) {
    scripted_values_.insert_or_assign(std::move(key), std::move(value));
}

void Panel::begin_pass() {
    if (in_pass_) {
        detail::record_violation("Panel::begin_pass", "a pass is running already");
        return;
    }
    in_pass_ = true;
    ++pass_count_;
    controls_.clear();
    detail::note_pass_begun();
}

void Panel::end_pass() {
    if (!in_pass_) {
        detail::record_violation("Panel::end_pass", "no pass is running");
        return;
    }
    in_pass_ = false;
    scripted_clicks_.clear();
    scripted_values_.clear();
    detail::note_pass_ended();
}

void Panel::run_pass(const std::function<void(ZestPanel)>& build) {
    begin_pass();
    build(handle());
    end_pass();
}

const Control* Panel::find_key(std::string_view key) const {
    auto found = std::find_if(controls_.begin(), controls_.end(),
                              [key](const Control& control) { return control.key == key; });
    return found == controls_.end() ? nullptr : &*found;
}

const Control* Panel::find_text(std::string_view text) const {
    auto found = std::find_if(controls_.begin(), controls_.end(),
                              [text](const Control& control) { return control.text == text; });
    return found == controls_.end() ? nullptr : &*found;
}

void Panel::start_group(const char* title) {
    record(describe(ControlKind::StartGroup, nullptr, title), 0.0);
}

void Panel::end_group() {
    record(describe(ControlKind::EndGroup, nullptr, nullptr), 0.0);
}

void Panel::label(const char* key, const char* text) {
    record(describe(ControlKind::Label, key, text), 0.0);
}

bool Panel::button(const char* key, const char* label) {
    auto click = label == nullptr ? scripted_clicks_.end()
                                  : std::find(scripted_clicks_.begin(), scripted_clicks_.end(),
                                              std::string_view(label));
    bool clicked = click != scripted_clicks_.end();
    if (clicked) scripted_clicks_.erase(click);
    record(describe(ControlKind::Button, key, label), clicked ? 1.0 : 0.0);
    return clicked;
}

bool Panel::checkbox(const char* key, const char* label, bool default_value) {
    return value_control(describe(ControlKind::Checkbox, key, label, default_value ? 1.0 : 0.0),
                         default_value);
}

int Panel::int_field(const char* key, const char* label, int default_value, int minimum,
                     int maximum) {
    return value_control(describe(ControlKind::Int, key, label, default_value, minimum, maximum),
                         default_value);
}

int Panel::slider(const char* key, const char* label, int default_value, int minimum, int maximum,
                  int step) {
    return value_control(
        describe(ControlKind::Slider, key, label, default_value, minimum, maximum, step),
        default_value);
}

double Panel::float_field(const char* key, const char* label, double default_value, double minimum,
                          double maximum) {
    return value_control(describe(ControlKind::Float, key, label, default_value, minimum, maximum),
                         default_value);
}

// The arrays are the plug-in's and valid only now, so every entry is copied.
int Panel::list(const char* key, const char* label, const char* const* labels, const int* values,
                std::size_t count, int default_value) {
    Control control = describe(ControlKind::List, key, label, default_value);
    if (count > 0 && (labels == nullptr || values == nullptr)) {
        detail::record_violation("zui_list", "entries without arrays");
        count = 0;
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (labels[i] == nullptr) detail::record_violation("zui_list", "null entry label");
        control.entries.push_back({labels[i] == nullptr ? "" : labels[i], values[i]});
    }
    return value_control(std::move(control), default_value);
}

template <typename T>
T Panel::value_control(Control control, T default_value) {
    T value = current_value(control.key, default_value);
    record(std::move(control), static_cast<double>(value));
    return value;
}

// The scripted value, else the store's, else the default; the store keeps what the call gives.
// A list value comes back as stored even when no entry has it.
template <typename T>
T Panel::current_value(const std::optional<std::string>& key, T default_value) {
    if (!key) return default_value;
    T value = default_value;
    auto scripted = scripted_values_.find(*key);
    if (scripted != scripted_values_.end()) {
        if (const T* fits = std::get_if<T>(&scripted->second)) {
            value = *fits;
        } else {
            detail::record_violation("Panel::script_value",
                                     detail::quoted(key->c_str()) + " scripted with another type");
        }
    } else if (const T* stored = store_.find<T>(*key)) {
        value = *stored;
    }
    store_.set(*key, value);
    return value;
}

void Panel::record(Control control, double result) {
    control.result = result;
    controls_.push_back(std::move(control));
}

}  // namespace hostkit
