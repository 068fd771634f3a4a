#include "gamepad/command_queue.h"

namespace gamepad {

CommandQueue::~CommandQueue() {
    delete pending_.exchange(nullptr);
}

void CommandQueue::push(Command command) {
    std::unique_ptr<Batch> batch(pending_.exchange(nullptr));
    if (!batch) batch = std::make_unique<Batch>();
    batch->push_back(std::move(command));
    // Non-null only with a second pusher, which this design does not have.
    delete pending_.exchange(batch.release());
}

std::unique_ptr<CommandQueue::Batch> CommandQueue::take() {
    // Looking first keeps an idle tick from taking the line away from the main thread.
    if (pending_.load(std::memory_order_relaxed) == nullptr) return nullptr;
    return std::unique_ptr<Batch>(pending_.exchange(nullptr));
}

}  // namespace gamepad
