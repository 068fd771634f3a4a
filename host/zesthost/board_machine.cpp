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

#include <atomic>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "backend/bus/bus_requests.h"
#include "pad_board.h"
#include "zesthost/machine.h"

namespace zesthost {

namespace {

constexpr std::uint32_t refused_status = 0xC0000001;  // STATUS_UNSUCCESSFUL: ERROR_GEN_FAILURE
constexpr std::uint32_t always = 0xFFFFFFFF;

// The board is shared with other processes: every field is read and written as it stands in
// the file, and a pad's `sequence` is bumped after its other fields.
template <typename T>
T get(volatile T& field) {
    return field;
}

template <typename T>
void put(volatile T& field, T value) {
    field = value;
}

void bump(volatile zest_board_pad& pad) {
    std::atomic_thread_fence(std::memory_order_release);
    put(pad.sequence, get(pad.sequence) + 1);
}

std::string board_path() {
    const char* path = std::getenv("ZEST_PAD_BOARD");
    if (path == nullptr || *path == '\0') {
        throw std::runtime_error("ZEST_PAD_BOARD names no pad board");
    }
    // A Linux path is one on drive Z:.
    return path[0] == '/' ? std::string("Z:") + path : std::string(path);
}

volatile zest_board* map_board() {
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
    auto* board = static_cast<volatile zest_board*>(view);
    if (board == nullptr || board->magic != ZEST_BOARD_MAGIC ||
        board->version != ZEST_BOARD_VERSION) {
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

class BoardMachine final : public Machine {
public:
    BoardMachine() : board_(map_board()), get_state_(xinput_get_state()) {}

    void plug_pad(std::size_t pad, std::uint8_t subtype) override {
        if (subtype != XINPUT_DEVSUBTYPE_GAMEPAD) {
            throw std::runtime_error("the pad board holds gamepads only");
        }
        volatile zest_board_pad& slot = board_->pads[pad];
        put(slot.serial, std::uint16_t{0});
        put(slot.buttons, std::uint16_t{0});
        set_triggers(pad, 0, 0);
        set_sticks(pad, 0, 0, 0, 0);
        put(slot.kind, static_cast<std::uint8_t>(ZEST_BOARD_PHYSICAL));
        bump(slot);
    }
    void unplug_pad(std::size_t pad) override {
        put(board_->pads[pad].kind, static_cast<std::uint8_t>(ZEST_BOARD_EMPTY));
        bump(board_->pads[pad]);
    }
    bool is_plugged(std::size_t pad) override {
        return get(board_->pads[pad].kind) == ZEST_BOARD_PHYSICAL;
    }
    void press(std::size_t pad, std::uint16_t buttons, bool down) override {
        volatile zest_board_pad& slot = board_->pads[pad];
        const std::uint16_t held = get(slot.buttons);
        put(slot.buttons, static_cast<std::uint16_t>(down ? held | buttons : held & ~buttons));
        bump(slot);
    }
    void set_triggers(std::size_t pad, std::uint8_t left, std::uint8_t right) override {
        put(board_->pads[pad].left_trigger, left);
        put(board_->pads[pad].right_trigger, right);
        bump(board_->pads[pad]);
    }
    void set_sticks(std::size_t pad, std::int16_t lx, std::int16_t ly, std::int16_t rx,
                    std::int16_t ry) override {
        volatile zest_board_pad& slot = board_->pads[pad];
        put(slot.thumb_lx, lx);
        put(slot.thumb_ly, ly);
        put(slot.thumb_rx, rx);
        put(slot.thumb_ry, ry);
        bump(slot);
    }
    PadInputs pad_state(std::size_t pad) override {
        const volatile zest_board_pad& slot = board_->pads[pad];
        return {slot.buttons,  slot.left_trigger, slot.right_trigger, slot.thumb_lx,
                slot.thumb_ly, slot.thumb_rx,     slot.thumb_ry};
    }
    Motors vibration(std::size_t pad) override {
        return {board_->pads[pad].motor_large, board_->pads[pad].motor_small};
    }

    void set_bus_driver(bool installed) override {
        if (!installed) throw std::runtime_error("the Wine bench's bus driver stays installed");
    }
    void refuse(BusRequest request, bool refused) override {
        const std::uint32_t code =
            request == BusRequest::Plug ? BUS_IOCTL_PLUG_TARGET : BUS_IOCTL_UNPLUG_TARGET;
        volatile zest_board_faults& faults = board_->faults;
        if (!refused) {
            if (get(faults.refuse_code) == code) put(faults.refuse_code, std::uint32_t{0});
            return;
        }
        put(faults.refuse_status, refused_status);
        put(faults.refuse_count, always);
        put(faults.refuse_code, code);
    }
    void ignore_cancel(bool ignored) override {
        put(board_->faults.ignore_cancel, std::uint32_t{ignored ? 1u : 0u});
    }
    std::size_t plugged_targets() override { return board_->targets_plugged; }

    // XInput can't tell one pad from another, so a target shows where the plug-in last said
    // its virtual pad is connected, while XInput has a pad there.
    std::vector<VirtualPad> virtual_pads(int reported_user) override {
        if (reported_user >= 0) shown_at_ = reported_user;
        std::vector<VirtualPad> pads;
        for (std::size_t slot = ZEST_BOARD_FIRST_TARGET; slot < ZEST_BOARD_PADS; ++slot) {
            const volatile zest_board_pad& target = board_->pads[slot];
            if (get(target.kind) != ZEST_BOARD_TARGET) continue;
            XINPUT_STATE state{};
            if (shown_at_ < 0 || !pads.empty() ||
                get_state_(static_cast<DWORD>(shown_at_), &state) != ERROR_SUCCESS) {
                continue;
            }
            const XINPUT_GAMEPAD& report = state.Gamepad;
            pads.push_back(
                {target.serial, shown_at_,
                 PadInputs{report.wButtons, report.bLeftTrigger, report.bRightTrigger,
                           report.sThumbLX, report.sThumbLY, report.sThumbRX, report.sThumbRY}});
        }
        return pads;
    }

private:
    volatile zest_board* board_;
    GetState get_state_;
    int shown_at_ = -1;
};

}  // namespace

Machine& host_machine() {
    static BoardMachine machine;
    return machine;
}

}  // namespace zesthost
