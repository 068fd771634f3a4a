#include "zesthost/sim_machine.h"

#include "backend/bus/bus_requests.h"
#include "zesthost/machine.h"
#include "zestsim/zestsim.h"

namespace zesthost {

namespace {

PadInputs inputs(const zestsim::PadState& state) {
    return {state.buttons,  state.left_trigger, state.right_trigger, state.thumb_lx,
            state.thumb_ly, state.thumb_rx,     state.thumb_ry};
}

// libzestsim: every call goes straight to its control side.
class SimMachine final : public Machine {
public:
    void plug_pad(std::size_t pad, std::uint8_t subtype) override {
        zestsim::plug_pad(pad, static_cast<zestsim::Subtype>(subtype));
    }
    void unplug_pad(std::size_t pad) override { zestsim::unplug_pad(pad); }
    bool is_plugged(std::size_t pad) override { return zestsim::is_plugged(pad); }
    void press(std::size_t pad, std::uint16_t buttons, bool down) override {
        zestsim::press(pad, buttons, down);
    }
    void set_triggers(std::size_t pad, std::uint8_t left, std::uint8_t right) override {
        zestsim::set_triggers(pad, left, right);
    }
    void set_sticks(std::size_t pad, std::int16_t lx, std::int16_t ly, std::int16_t rx,
                    std::int16_t ry) override {
        zestsim::set_sticks(pad, lx, ly, rx, ry);
    }
    PadInputs pad_state(std::size_t pad) override { return inputs(zestsim::pad_state(pad)); }
    Motors vibration(std::size_t pad) override {
        const zestsim::Vibration motors = zestsim::vibration(pad);
        return {motors.left, motors.right};
    }
    void set_bus_driver(bool installed) override { zestsim::set_bus_driver(installed); }
    void refuse(BusRequest request, bool refused) override {
        zestsim::refuse_requests(
            request == BusRequest::Plug ? BUS_IOCTL_PLUG_TARGET : BUS_IOCTL_UNPLUG_TARGET,
            refused ? ERROR_GEN_FAILURE : 0);
    }
    void ignore_cancel(bool ignored) override { zestsim::ignore_cancel(ignored); }
    std::size_t plugged_targets() override { return zestsim::plugged_targets(); }
    bool xinput_connected(std::size_t user) override { return zestsim::is_plugged(user); }
    std::vector<VirtualPad> virtual_pads(int) override {
        std::vector<VirtualPad> pads;
        for (std::uint32_t serial = 1; serial <= 64; ++serial) {
            const int user = zestsim::target_user(serial);
            if (user >= 0) pads.push_back({serial, user, inputs(zestsim::target_report(serial))});
        }
        return pads;
    }
};

}  // namespace

Machine& host_machine() {
    static SimMachine machine;
    return machine;
}

std::optional<std::uint32_t> shown_target() {
    for (std::uint32_t serial = 1; serial <= 64; ++serial) {
        if (zestsim::target_user(serial) >= 0) return serial;
    }
    return std::nullopt;
}

}  // namespace zesthost
