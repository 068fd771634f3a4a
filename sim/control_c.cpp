// The C control API: thin calls into the C++ one.

#include "zestsim/zestsim.h"
#include "zestsim/zestsim_c.h"

namespace {

void copy_out(const zestsim::PadState& from, zestsim_pad_state* to) {
    if (to == nullptr) return;
    *to = {from.buttons,  from.left_trigger, from.right_trigger, from.thumb_lx,
           from.thumb_ly, from.thumb_rx,     from.thumb_ry};
}

}  // namespace

extern "C" {

void zestsim_reset(void) {
    zestsim::reset();
}

void zestsim_plug_pad(uint32_t user, uint32_t subtype) {
    zestsim::plug_pad(user, static_cast<zestsim::Subtype>(subtype));
}

void zestsim_unplug_pad(uint32_t user) {
    zestsim::unplug_pad(user);
}

void zestsim_press(uint32_t user, uint16_t buttons, int down) {
    zestsim::press(user, buttons, down != 0);
}

void zestsim_set_triggers(uint32_t user, uint8_t left, uint8_t right) {
    zestsim::set_triggers(user, left, right);
}

void zestsim_set_sticks(uint32_t user, int16_t lx, int16_t ly, int16_t rx, int16_t ry) {
    zestsim::set_sticks(user, lx, ly, rx, ry);
}

void zestsim_pad_state_of(uint32_t user, zestsim_pad_state* state) {
    copy_out(zestsim::pad_state(user), state);
}

void zestsim_vibration(uint32_t user, uint16_t* left, uint16_t* right) {
    const zestsim::Vibration vibration = zestsim::vibration(user);
    if (left != nullptr) *left = vibration.left;
    if (right != nullptr) *right = vibration.right;
}

void zestsim_set_bus_driver(int installed) {
    zestsim::set_bus_driver(installed != 0);
}

void zestsim_refuse_requests(uint32_t code, uint32_t error) {
    zestsim::refuse_requests(code, error);
}

void zestsim_ignore_cancel(int ignore) {
    zestsim::ignore_cancel(ignore != 0);
}

void zestsim_refuse_threads(int refuse) {
    zestsim::refuse_threads(refuse != 0);
}

void zestsim_refuse_events(int refuse) {
    zestsim::refuse_events(refuse != 0);
}

int zestsim_target_user(uint32_t serial) {
    return zestsim::target_user(serial);
}

void zestsim_target_report(uint32_t serial, zestsim_pad_state* report) {
    copy_out(zestsim::target_report(serial), report);
}
}
