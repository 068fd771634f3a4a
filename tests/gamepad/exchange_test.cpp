#include <gmock/gmock.h>

#include "core_fixture.h"
#include "gamepad/command_queue.h"

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

TEST(CommandQueue, KeepsPushOrderATakenBatchCannotGrowAndUnrunWritersDieWithTheirBatch) {
    std::vector<std::string> log;
    {
        CommandQueue queue;
        EXPECT_EQ(queue.take(), nullptr);
        queue.push(AddWriter{1, std::make_unique<RecordingWriter>(log, "1")});
        queue.push(RemoveWriter{7});
        queue.push(AddWriter{2, std::make_unique<RecordingWriter>(log, "2")});
        std::unique_ptr<CommandQueue::Batch> first = queue.take();
        queue.push(RemoveWriter{1});
        queue.push(AttachVirtualGamepad{0, 1});
        const std::unique_ptr<CommandQueue::Batch> second = queue.take();
        ASSERT_TRUE(first && second);
        EXPECT_THAT(ids(*first), ElementsAre(1, 7, 2));
        EXPECT_THAT(ids(*second), ElementsAre(1, 0));
        EXPECT_EQ(queue.take(), nullptr);
        first.reset();
        queue.push(AddWriter{3, std::make_unique<RecordingWriter>(log, "3")});
        EXPECT_THAT(log, ElementsAre("~1", "~2"));
    }
    EXPECT_THAT(log, ElementsAre("~1", "~2", "~3"));
}

}  // namespace
}  // namespace gamepad
