#pragma once

#include <QObject>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "gamepad/gamepad.h"
#include "gamepad/gamepads.h"
#include "hostapi/host_api.h"
#include "nodes/node_type_table.h"

// The event source types: sends an event to the node's children when the selected button
// of the selected pad goes down (Press) or comes up (Release). Inert until its first panel
// pass, which reads the selection from the store. Main thread.
class ButtonEventNode : public QObject {
public:
    // `type` is a row of node_type_table, with a ButtonEventKind; it outlives the node.
    ButtonEventNode(ZestNode node, const NodeTypeRow& type);
    ~ButtonEventNode() override;

    ZestNode node() const { return node_; }
    void get_name(char* buffer) const;
    void build_properties(ZestPanel panel);
    // From the connected pad's attribute_changed; the value is read from the pad's state now.
    void on_attribute_changed(std::size_t attribute);

private:
    // Connects the pad just selected, and only it.
    void follow(gamepad::Gamepad* pad);

    ZestNode node_;
    const NodeTypeRow& type_;
    ButtonEventKind kind_;
    std::unique_ptr<gamepad::Gamepads> gamepads_;
    gamepad::Gamepad* connected_gamepad_ = nullptr;  // belongs to gamepads_
    std::int32_t gamepad_index_ = -1;
    std::int32_t attribute_index_ = -1;
};
