#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hostapi/host_api.h"
#include "kit/handles.h"
#include "kit/store.h"

namespace hostkit {

enum class ControlKind { StartGroup, EndGroup, Label, Button, Checkbox, Int, Slider, Float, List };

struct ListEntry {
    std::string label;
    int value = 0;

    bool operator==(const ListEntry&) const = default;
};

// One zui_* call of a pass: what the plug-in passed, copied, and what the call returned.
struct Control {
    ControlKind kind = ControlKind::Label;
    std::optional<std::string> key;   // none for a null key
    std::optional<std::string> text;  // the title, label or text; none for null
    double default_value = 0.0;
    double minimum = 0.0;
    double maximum = 0.0;
    double step = 0.0;
    std::vector<ListEntry> entries;
    double result = 0.0;  // a bool as 1.0 or 0.0
};

// A property or preferences panel; its address is the ZestPanel handle. Main thread.
class Panel : public detail::HandleOwner<Panel, ZestPanel, detail::HandleKind::Panel> {
public:
    // The store that keyed controls read and write; it must outlive the panel.
    explicit Panel(Store& store);
    ~Panel();

    Store& store() const { return store_; }

    // What the user does before the next pass: click a button by its label, or set a keyed
    // control (a list selection too). A scripted value wins over the store's and is kept in the
    // store. Scripts last one pass.
    void script_click(std::string label);
    void script_value(std::string key, Store::Value value);

    // A pass records its controls in place of those of the pass before.
    void begin_pass();
    void end_pass();
    void run_pass(const std::function<void(ZestPanel)>& build);
    bool in_pass() const { return in_pass_; }
    int pass_count() const { return pass_count_; }

    const std::vector<Control>& controls() const { return controls_; }
    // The first control of the last pass with this key, or with this text; null if none.
    const Control* find_key(std::string_view key) const;
    const Control* find_text(std::string_view text) const;

    // The zui_* functions, on a panel in a pass.
    void start_group(const char* title);
    void end_group();
    void label(const char* key, const char* text);
    bool button(const char* key, const char* label);
    bool checkbox(const char* key, const char* label, bool default_value);
    int int_field(const char* key, const char* label, int default_value, int minimum, int maximum);
    int slider(const char* key, const char* label, int default_value, int minimum, int maximum,
               int step);
    double float_field(const char* key, const char* label, double default_value, double minimum,
                       double maximum);
    int list(const char* key, const char* label, const char* const* labels, const int* values,
             std::size_t count, int default_value);

private:
    template <typename T>
    T value_control(Control control, T default_value);
    template <typename T>
    T current_value(const std::optional<std::string>& key, T default_value);
    void record(Control control, double result);

    Store& store_;
    bool in_pass_ = false;
    int pass_count_ = 0;
    std::vector<Control> controls_;
    std::vector<std::string> scripted_clicks_;
    std::map<std::string, Store::Value> scripted_values_;
};

}  // namespace hostkit
