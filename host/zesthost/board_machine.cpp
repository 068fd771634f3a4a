// The machine of the Windows host: the Wine bench's pad board for the pads a person holds and
// for the bus driver's faults and targets, and the machine's own XInput for what programs see.

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include <xinput.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "backend/bus/bus_requests.h"
#include "pad_board_ops.h"
#include "zesthost/machine.h"

namespace zesthost {

namespace {

constexpr std::uint32_t refused_status = 0xC0000001;  // STATUS_UNSUCCESSFUL: ERROR_GEN_FAILURE
constexpr std::uint32_t always = 0xFFFFFFFF;

std::string board_path() {
    const char* path = std::getenv("ZEST_PAD_BOARD");
    if (path == nullptr || *path == '\0') {
        throw std::runtime_error("ZEST_PAD_BOARD names no pad board");
    }
    // A Linux path is one on drive Z:.
    return path[0] == '/' ? std::string("Z:") + path : std::string(path);
}

zest_board* map_board() {
    const std::string path = board_path();
    HANDLE file =
        CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        throw std::runtime_error("can't open the pad board " + path + ": error " +
                                 std::to_string(GetLastError()));
    }
    HANDLE mapping =
        CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0, sizeof(zest_board), nullptr);
    CloseHandle(file);
    void* view = mapping == nullptr
                     ? nullptr
                     : MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, sizeof(zest_board));
    if (mapping != nullptr) CloseHandle(mapping);
    auto* board = static_cast<zest_board*>(view);
    if (board == nullptr || !zest_board_valid(board)) {
        throw std::runtime_error("the pad board " + path + " isn't made yet");
    }
    return board;
}

// XInputGetState as the plug-in calls it: ordinal 2 of XINPUT1_4.dll.
using GetState = DWORD(WINAPI*)(DWORD, XINPUT_STATE*);

GetState xinput_get_state() {
    HMODULE xinput = LoadLibraryA("XINPUT1_4.dll");
    auto get_state = xinput == nullptr ? nullptr
                                       : reinterpret_cast<GetState>(reinterpret_cast<void (*)()>(
                                             GetProcAddress(xinput, MAKEINTRESOURCEA(2))));
    if (get_state == nullptr) throw std::runtime_error("XINPUT1_4.dll has no XInputGetState");
    return get_state;
}

PadInputs inputs(const zest_board_pad& pad) {
    return {pad.buttons,  pad.left_trigger, pad.right_trigger, pad.thumb_lx,
            pad.thumb_ly, pad.thumb_rx,     pad.thumb_ry};
}

PadInputs inputs(const XINPUT_GAMEPAD& pad) {
    return {pad.wButtons, pad.bLeftTrigger, pad.bRightTrigger, pad.sThumbLX,
            pad.sThumbLY, pad.sThumbRX,     pad.sThumbRY};
}

class BoardMachine final : public Machine {
public:
    BoardMachine() : board_(map_board()), get_state_(xinput_get_state()) {}

    void plug_pad(std::size_t pad, std::uint8_t subtype) override {
        if (subtype != XINPUT_DEVSUBTYPE_GAMEPAD) {
            throw std::runtime_error("the pad board holds gamepads only");
        }
        zest_board_set_plugged(board_, slot(pad), 1);
    }
    void unplug_pad(std::size_t pad) override { zest_board_set_plugged(board_, slot(pad), 0); }
    bool is_plugged(std::size_t pad) override {
        return read(slot(pad)).kind == ZEST_BOARD_PHYSICAL;
    }
    void press(std::size_t pad, std::uint16_t buttons, bool down) override {
        zest_board_set_button(board_, slot(pad), buttons, down ? 1 : 0);
    }
    void set_triggers(std::size_t pad, std::uint8_t left, std::uint8_t right) override {
        zest_board_set_trigger(board_, slot(pad), 0, left);
        zest_board_set_trigger(board_, slot(pad), 1, right);
    }
    void set_sticks(std::size_t pad, std::int16_t lx, std::int16_t ly, std::int16_t rx,
                    std::int16_t ry) override {
        zest_board_set_stick(board_, slot(pad), 0, lx, ly);
        zest_board_set_stick(board_, slot(pad), 1, rx, ry);
    }
    PadInputs pad_state(std::size_t pad) override { return inputs(read(slot(pad))); }
    Motors vibration(std::size_t pad) override {
        Motors motors;
        zest_board_motors(board_, slot(pad), &motors.left, &motors.right);
        return motors;
    }

    void set_bus_driver(bool installed) override {
        if (!installed) throw std::runtime_error("the Wine bench's bus driver stays installed");
    }
    void refuse(BusRequest request, bool refused) override {
        const std::uint32_t code =
            request == BusRequest::Plug ? BUS_IOCTL_PLUG_TARGET : BUS_IOCTL_UNPLUG_TARGET;
        zest_board_faults faults = current_faults();
        if (refused) {
            faults.refuse_code = code;
            faults.refuse_status = refused_status;
            faults.refuse_count = always;
        } else if (faults.refuse_code == code) {
            faults.refuse_code = 0;
        }
        zest_board_set_faults(board_, &faults);
    }
    void ignore_cancel(bool ignored) override {
        zest_board_faults faults = current_faults();
        faults.ignore_cancel = ignored ? 1 : 0;
        zest_board_set_faults(board_, &faults);
    }
    std::size_t plugged_targets() override {
        return __atomic_load_n(&board_->targets_plugged, __ATOMIC_ACQUIRE);
    }

    bool xinput_connected(std::size_t user) override {
        XINPUT_STATE state{};
        return get_state_(static_cast<DWORD>(user), &state) == ERROR_SUCCESS;
    }

    // XInput can't tell one pad from another, so the first target shows where the plug-in
    // last said its virtual pad is connected, while XInput has a pad there.
    std::vector<VirtualPad> virtual_pads(int reported_user) override {
        std::vector<VirtualPad> pads;
        for (unsigned slot = ZEST_BOARD_FIRST_TARGET; slot < ZEST_BOARD_PADS; ++slot) {
            const zest_board_pad target = read(slot);
            XINPUT_STATE state{};
            if (target.kind != ZEST_BOARD_TARGET || reported_user < 0 || !pads.empty() ||
                get_state_(static_cast<DWORD>(reported_user), &state) != ERROR_SUCCESS) {
                continue;
            }
            pads.push_back({target.serial, reported_user, inputs(state.Gamepad)});
        }
        return pads;
    }

private:
    static unsigned slot(std::size_t pad) { return static_cast<unsigned>(pad); }

    // A slot's kind and inputs as one writer left them.
    zest_board_pad read(unsigned slot) const {
        zest_board_pad pad{};
        while (!zest_board_read_pad(board_, slot, &pad)) {
        }
        return pad;
    }

    zest_board_faults current_faults() const {
        zest_board_faults faults{};
        faults.refuse_code = __atomic_load_n(&board_->faults.refuse_code, __ATOMIC_ACQUIRE);
        faults.refuse_status = ZEST_BOARD_LOAD(board_->faults.refuse_status);
        faults.refuse_count = ZEST_BOARD_LOAD(board_->faults.refuse_count);
        faults.ignore_cancel = ZEST_BOARD_LOAD(board_->faults.ignore_cancel);
        faults.never_ready = ZEST_BOARD_LOAD(board_->faults.never_ready);
        return faults;
    }

    zest_board* board_;
    GetState get_state_;
};

}  // namespace

Machine& host_machine() {
    static BoardMachine machine;
    return machine;
}

}  // namespace zesthost
