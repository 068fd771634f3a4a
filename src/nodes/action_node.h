#pragma once

#include <QObject>
#include <QTimer>

#include <cstdint>
#include <memory>

#include "gamepad/gamepad_impl.h"
#include "gamepad/gamepads.h"
#include "hostapi/host_api.h"
#include "nodes/node_type_table.h"
#include "records/attribute_type.h"
#include "records/attribute_value.h"

// The noise rate, in noise units per second, of a frequency slider at `slider` (0 to 200):
// 2^(3t - 4) with t = slider / 100, and t one higher for buttons, which flip rather than move.
double noise_frequency(gamepad::AttributeType kind, int slider);

// The action types: when fired, by an event or by Test in the panel, hold the selected
// attribute of the selected pad at a value, or drive it by noise, until a deadline. The node
// only hands a writer to the core. Its fields are working copies of the store, taken at each
// panel pass; it is inert until the first. Main thread.
class ActionNode : public QObject {
public:
    // `type` is a row of node_type_table, with an ActionKind; it outlives the node.
    ActionNode(ZestNode node, const NodeTypeRow& type);
    ~ActionNode() override;

    ZestNode node() const { return node_; }
    void get_name(char* buffer) const;
    void build_properties(ZestPanel panel);
    // Puts the override on the selected attribute; nothing without a selection.
    void fire();

private:
    // The pad list and, with a pad, the attribute list; gives -1 for what isn't chosen.
    void build_selection(ZestPanel panel, std::int32_t& new_pad, std::int32_t& new_attribute);
    void change_selection(std::int32_t new_pad, std::int32_t new_attribute);
    // The attribute at a position of a pad's list as the main thread sees it now; null for none.
    const gamepad::GamepadAttribute* attribute_at(std::int32_t pad, std::int32_t attribute) const;
    void build_value_controls(ZestPanel panel);
    void build_test_buttons(ZestPanel panel);
    // Ends this node's override now rather than at its deadline, unless another has replaced it.
    void clear_override();
    // How long one firing lasts, in milliseconds.
    std::int32_t firing_ms() const;

    ZestNode node_;
    const NodeTypeRow& type_;
    gamepad::AttributeType kind_;
    ActionMode mode_;
    std::unique_ptr<gamepad::Gamepads> gamepads_;
    std::int32_t gamepad_index_ = -1;
    std::int32_t attribute_index_ = -1;
    gamepad::AttributeValue value_{};
    double frequency_ = 1.0;
    double amplitude_ = 1.0;
    double seconds_ = 0.1;
    QTimer test_timer_;  // runs while a test from the panel lasts
    // The override this node put in place last, on which pad; it stays the node's until it is
    // replaced, by this node or another.
    std::int32_t override_pad_ = -1;
    gamepad::PlacedWriter override_;
};
