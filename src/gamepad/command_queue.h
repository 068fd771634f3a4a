#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "gamepad/command.h"

namespace gamepad {

// Commands towards the polling thread, a batch at a time through one atomic pointer. Whoever
// exchanged the batch out of `pending_` owns it alone, so a taken batch can't grow and commands
// run in push order.
class CommandQueue {
public:
    using Batch = std::vector<Command>;

    CommandQueue() = default;
    CommandQueue(const CommandQueue&) = delete;
    CommandQueue& operator=(const CommandQueue&) = delete;
    // Once neither thread uses the queue any more: destroys a batch nobody took.
    ~CommandQueue();

    // Main thread, the only pusher.
    void push(Command command);
    // Polling thread. The batch, or null when nothing was pushed since the last take.
    std::unique_ptr<Batch> take();

private:
    // Main thread pushes by exchange (out, append, back in); polling thread takes by exchange.
    std::atomic<Batch*> pending_{nullptr};
};

}  // namespace gamepad
