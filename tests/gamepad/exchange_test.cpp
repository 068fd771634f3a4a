#include <gmock/gmock.h>

#include "core_fixture.h"
#include "gamepad/command_queue.h"
#include "gamepad/feed_writer.h"

namespace gamepad {
namespace {

using ::testing::ElementsAre;

// Writer ids, 0 for the virtual pad's commands.
std::vector<std::uint64_t> ids(const CommandQueue::Batch& batch) {
    std::vector<std::uint64_t> ids;
    for (const Command& command : batch) {
        const auto* add = std::get_if<AddWriter>(&command);
        const auto* remove = std::get_if<RemoveWriter>(&command);
        ids.push_back(add ? add->id : remove ? remove->id : 0);
    }
    return ids;
}

// A writer left in the queue dies with it: LeakSanitizer would tell.
TEST(CommandQueue, KeepsPushOrderAndATakenBatchCannotGrow) {
    const auto writer = [] { return std::make_unique<FeedWriter>(0, 1); };
    CommandQueue queue;
    EXPECT_EQ(queue.take(), nullptr);
    queue.push(AddWriter{1, writer()});
    queue.push(RemoveWriter{7});
    queue.push(AddWriter{2, writer()});
    const std::unique_ptr<CommandQueue::Batch> first = queue.take();
    queue.push(RemoveWriter{1});
    queue.push(AttachVirtualGamepad{0, 1});
    const std::unique_ptr<CommandQueue::Batch> second = queue.take();
    ASSERT_TRUE(first && second);
    EXPECT_THAT(ids(*first), ElementsAre(1, 7, 2));
    EXPECT_THAT(ids(*second), ElementsAre(1, 0));
    EXPECT_EQ(queue.take(), nullptr);
    queue.push(AddWriter{3, writer()});
}

}  // namespace
}  // namespace gamepad
