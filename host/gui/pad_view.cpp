#include "gui/pad_view.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

#include "gui/level_bar.h"
#include "gui/stick_view.h"
#include "zesthost/pad_names.h"
#include "zesthost/sim_machine.h"
#include "zestsim/zestsim.h"

namespace zestgui {

namespace {

constexpr int button_columns = 5;

QString pad_title(std::optional<std::size_t> user) {
    return user ? QStringLiteral("Pad %1").arg(*user) : QStringLiteral("Virtual pad");
}

}  // namespace

PadView::PadView(std::optional<std::size_t> user, QWidget* parent)
    : QGroupBox(pad_title(user), parent), user_(user) {
    setObjectName(user ? QStringLiteral("pad%1").arg(*user) : QStringLiteral("virtualpad"));
    auto* layout = new QVBoxLayout(this);
    auto* header = new QHBoxLayout;
    layout->addLayout(header);
    if (user) {
        plugged_ = new QCheckBox(QStringLiteral("Plugged"), this);
        plugged_->setObjectName(QStringLiteral("plugged"));
        kind_ = new QComboBox(this);
        kind_->setObjectName(QStringLiteral("kind"));
        for (const zesthost::PadKind& kind : zesthost::pad_kinds())
            kind_->addItem(QString::fromUtf8(kind.label));
        header->addWidget(plugged_);
        header->addWidget(kind_);
        connect(plugged_, &QCheckBox::toggled, this, &PadView::plug);
        connect(kind_, &QComboBox::currentIndexChanged, this, &PadView::set_kind);
    }
    status_ = new QLabel(this);
    header->addWidget(status_, 1);

    auto* grid = new QGridLayout;
    grid->setSpacing(2);
    layout->addLayout(grid);
    for (const zesthost::PadButton& button : zesthost::pad_buttons()) {
        auto* push = new QPushButton(QString::fromUtf8(button.name), this);
        push->setObjectName(QString::fromUtf8(button.name));
        push->setFixedWidth(36);
        const int place = static_cast<int>(buttons_.size());
        grid->addWidget(push, place / button_columns, place % button_columns);
        buttons_.push_back(push);
        if (!user) {
            push->setFocusPolicy(Qt::NoFocus);
            push->setAttribute(Qt::WA_TransparentForMouseEvents);
            continue;
        }
        const std::uint16_t mask = button.mask;
        connect(push, &QPushButton::pressed, this, [=] { zestsim::press(*user, mask, true); });
        connect(push, &QPushButton::released, this, [=] { zestsim::press(*user, mask, false); });
    }

    auto* axes = new QHBoxLayout;
    layout->addLayout(axes);
    for (int side = 0; side < 2; ++side) {
        triggers_[side] = new LevelBar(255, Qt::Vertical, this);
        sticks_[side] = new StickView(this);
        motors_[side] = new LevelBar(65535, Qt::Horizontal, this);
    }
    axes->addWidget(triggers_[0]);
    axes->addWidget(sticks_[0]);
    axes->addWidget(sticks_[1]);
    axes->addWidget(triggers_[1]);
    axes->addStretch();
    auto* rumble = new QHBoxLayout;
    layout->addLayout(rumble);
    rumble->addWidget(new QLabel(QStringLiteral("Rumble"), this));
    rumble->addWidget(motors_[0]);
    rumble->addWidget(motors_[1]);
    if (user) {
        triggers_[0]->on_drag([this](int value) {
            zestsim::set_triggers(*user_, static_cast<std::uint8_t>(value),
                                  zestsim::pad_state(*user_).right_trigger);
        });
        triggers_[1]->on_drag([this](int value) {
            zestsim::set_triggers(*user_, zestsim::pad_state(*user_).left_trigger,
                                  static_cast<std::uint8_t>(value));
        });
        sticks_[0]->on_drag([this](std::int16_t x, std::int16_t y) {
            const zestsim::PadState state = zestsim::pad_state(*user_);
            zestsim::set_sticks(*user_, x, y, state.thumb_rx, state.thumb_ry);
        });
        sticks_[1]->on_drag([this](std::int16_t x, std::int16_t y) {
            const zestsim::PadState state = zestsim::pad_state(*user_);
            zestsim::set_sticks(*user_, state.thumb_lx, state.thumb_ly, x, y);
        });
    }
    refresh();
}

void PadView::refresh() {
    std::optional<std::uint32_t> target = zesthost::shown_target();
    const int target_user = target ? zestsim::target_user(*target) : -1;
    std::optional<std::size_t> shown = user_;
    if (user_) {
        const bool plugged = zestsim::is_plugged(*user_);
        const bool holds_target = target_user == static_cast<int>(*user_);
        plugged_->blockSignals(true);
        plugged_->setChecked(plugged);
        plugged_->blockSignals(false);
        plugged_->setEnabled(!holds_target);
        kind_->setEnabled(!holds_target);
        status_->setText(holds_target ? QStringLiteral("the virtual pad") : QString());
        set_drivable(plugged && !holds_target);
        show_buttons(zestsim::pad_state(*user_).buttons);
    } else {
        if (target_user >= 0) shown = static_cast<std::size_t>(target_user);
        status_->setText(shown ? QStringLiteral("shown as pad %1").arg(*shown)
                               : QStringLiteral("not connected"));
        show_buttons(target ? zestsim::target_report(*target).buttons : 0);
    }
    const zestsim::PadState state =
        !user_ && target ? zestsim::target_report(*target)
                         : (shown ? zestsim::pad_state(*shown) : zestsim::PadState());
    triggers_[0]->set_value(state.left_trigger);
    triggers_[1]->set_value(state.right_trigger);
    sticks_[0]->set_position(state.thumb_lx, state.thumb_ly);
    sticks_[1]->set_position(state.thumb_rx, state.thumb_ry);
    const zestsim::Vibration rumble = shown ? zestsim::vibration(*shown) : zestsim::Vibration();
    motors_[0]->set_value(rumble.left);
    motors_[1]->set_value(rumble.right);
}

void PadView::plug(bool plugged) {
    if (plugged) {
        set_kind();
    } else {
        zestsim::unplug_pad(*user_);
    }
    refresh();
}

// Another kind on a plugged index is another pad plugged in its place.
void PadView::set_kind() {
    if (!plugged_->isChecked()) return;
    zestsim::plug_pad(
        *user_,
        static_cast<zestsim::Subtype>(
            zesthost::pad_kinds()[static_cast<std::size_t>(kind_->currentIndex())].subtype));
}

void PadView::show_buttons(std::uint16_t buttons) {
    const auto names = zesthost::pad_buttons();
    for (std::size_t i = 0; i < buttons_.size(); ++i) {
        const bool lit = (buttons & names[i].mask) != 0;
        if (buttons_[i]->property("lit").toBool() == lit) continue;
        buttons_[i]->setProperty("lit", lit);
        buttons_[i]->style()->unpolish(buttons_[i]);
        buttons_[i]->style()->polish(buttons_[i]);
    }
}

void PadView::set_drivable(bool drivable) {
    for (QPushButton* button : buttons_)
        button->setEnabled(drivable);
    for (int side = 0; side < 2; ++side) {
        triggers_[side]->setEnabled(drivable);
        sticks_[side]->setEnabled(drivable);
    }
}

}  // namespace zestgui
