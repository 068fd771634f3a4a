#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "backend/backend.h"
#include "batch_ticks.h"
#include "gamepad/read_thread.h"

namespace bench {

// One simulated machine and the real backend's polling thread at rate 1000, ticking in batches
// that the main thread asks for. Main thread, with no other user of the simulated machine.
class TickRig {
public:
    // With the virtual pad, it attaches at the lowest free user index.
    TickRig(std::size_t physical_pads, bool with_virtual_pad);

    // Pad 0 feeds the virtual pad from now on.
    void feed();

    // Adds or removes idle writers (ones that change nothing a device sees after their first
    // tick), then runs a batch.
    BatchTicks::Figures run(int writers, int measured, std::function<void()> between = {},
                            TickProbe* probe = nullptr);

private:
    std::unique_ptr<gamepad::Backend> backend_ = gamepad::create_backend();
    BatchTicks* ticks_ = nullptr;
    std::unique_ptr<gamepad::ReadThread> thread_;
    std::size_t pads_ = 0;
    std::size_t virtual_pad_ = static_cast<std::size_t>(-1);
    std::vector<std::uint64_t> ids_;
};

}  // namespace bench
