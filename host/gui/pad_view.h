#pragma once

#include <QGroupBox>

#include <cstddef>
#include <optional>
#include <vector>

class QCheckBox;
class QComboBox;
class QLabel;
class QPushButton;

namespace zestgui {

class LevelBar;
class StickView;

// One pad of the simulated machine, as it is now: buttons lit, triggers as bars, sticks as
// dots, both rumble motors as bars. A physical pad on a user index can be plugged, its kind
// chosen and its controls driven by the mouse (a focused button by the space bar too); the
// virtual pad is shown as other programs see it. Children are named for tests: "plugged",
// "kind", each button by its command word.
class PadView : public QGroupBox {
public:
    // Without a user index, the virtual pad.
    explicit PadView(std::optional<std::size_t> user, QWidget* parent = nullptr);

    // Reads the machine again.
    void refresh();

private:
    void plug(bool plugged);
    void set_kind();
    void show_buttons(std::uint16_t buttons);
    void set_drivable(bool drivable);

    const std::optional<std::size_t> user_;
    QCheckBox* plugged_ = nullptr;
    QComboBox* kind_ = nullptr;
    QLabel* status_ = nullptr;
    std::vector<QPushButton*> buttons_;  // in the order of pad_buttons()
    LevelBar* triggers_[2];
    StickView* sticks_[2];
    LevelBar* motors_[2];
};

}  // namespace zestgui
