#pragma once

#include <cstdint>
#include <variant>

#include "nodes/node_name.h"
#include "records/attribute_type.h"

// Sets the event types apart: whether they tell of the button going down or coming up.
enum class ButtonEventKind : std::uint32_t { Press = 0, Release = 1 };
// Whether an action holds its attribute at a value or drives it by noise.
enum class ActionMode : std::uint32_t { Constant = 0, Noise = 1 };
// Sets the action types apart: which kind of attribute they drive, and how.
struct ActionKind {
    gamepad::AttributeType attribute;
    ActionMode mode;
};
// A ButtonEventKind makes a ButtonEventNode, an ActionKind an ActionNode.
using NodeKind = std::variant<ButtonEventKind, ActionKind>;

// Everything that sets one node type apart; the host gets the type from its row, and each node
// of it keeps a reference to the row.
struct NodeTypeRow {
    const char* id;
    const char* category_key;
    int type_code;
    NodeNameKeys name_keys;           // `plain` is also the name the host lists the type by
    const char* attribute_label_key;  // heads the panel's list of attributes
    NodeKind kind;
};

// In the order the host lists them.
inline constexpr NodeTypeRow node_type_table[] = {
    {"io.zestworks.gamepad.onbuttonpress",
     "NodeCategory.Sources",
     41,
     {"OnGamepadButtonPressNode.Name", "OnGamepadButtonPressNode.Name.%1.%2"},
     "OnGamepadButtonNode.Button",
     ButtonEventKind::Press},
    {"io.zestworks.gamepad.onbuttonrelease",
     "NodeCategory.Sources",
     41,
     {"OnGamepadButtonReleaseNode.Name", "OnGamepadButtonReleaseNode.Name.%1.%2"},
     "OnGamepadButtonNode.Button",
     ButtonEventKind::Release},
    {"io.zestworks.gamepad.pressgamepadbutton",
     "NodeCategory.Actions",
     35,
     {"PressGamepadButtonNode.Name", "PressGamepadButtonNode.Name.%1.%2"},
     "PressGamepadButtonNode.Button",
     ActionKind{gamepad::AttributeType::Button, ActionMode::Constant}},
    {"io.zestworks.gamepad.pressgamepadtrigger",
     "NodeCategory.Actions",
     35,
     {"PressGamepadTriggerNode.Name", "PressGamepadTriggerNode.Name.%1.%2"},
     "PressGamepadTriggerNode.Trigger",
     ActionKind{gamepad::AttributeType::Trigger, ActionMode::Constant}},
    {"io.zestworks.gamepad.movegamepadstick",
     "NodeCategory.Actions",
     35,
     {"MoveGamepadStickNode.Name", "MoveGamepadStickNode.Name.%1.%2"},
     "MoveGamepadStickNode.Stick",
     ActionKind{gamepad::AttributeType::Stick, ActionMode::Constant}},
    {"io.zestworks.gamepad.rumblegamepad",
     "NodeCategory.Actions",
     35,
     {"RumbleGamepadNode.Name", "RumbleGamepadNode.Name.%1.%2"},
     "RumbleGamepadNode.Motor",
     ActionKind{gamepad::AttributeType::Motor, ActionMode::Constant}},
    {"io.zestworks.gamepad.randompressgamepadbutton",
     "NodeCategory.Actions",
     35,
     {"RandomPressGamepadButtonNode.Name", "RandomPressGamepadButtonNode.Name.%1.%2"},
     "PressGamepadButtonNode.Button",
     ActionKind{gamepad::AttributeType::Button, ActionMode::Noise}},
    {"io.zestworks.gamepad.randompressgamepadtrigger",
     "NodeCategory.Actions",
     35,
     {"RandomPressGamepadTriggerNode.Name", "RandomPressGamepadTriggerNode.Name.%1.%2"},
     "PressGamepadTriggerNode.Trigger",
     ActionKind{gamepad::AttributeType::Trigger, ActionMode::Noise}},
    {"io.zestworks.gamepad.wigglegamepadstick",
     "NodeCategory.Actions",
     35,
     {"WiggleGamepadStickNode.Name", "WiggleGamepadStickNode.Name.%1.%2"},
     "MoveGamepadStickNode.Stick",
     ActionKind{gamepad::AttributeType::Stick, ActionMode::Noise}},
};
