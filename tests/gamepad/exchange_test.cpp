#include <gmock/gmock.h>

#include <random>

#include "core_fixture.h"
#include "gamepad/command_queue.h"
#include "gamepad/publication_channel.h"
#include "support/random_seed.h"

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

TEST(PublicationChannel, AnyInterleavingBringsTheNewestAndNeverAnOlderOne) {
    const std::uint64_t seed = testsupport::random_seed();
    SCOPED_TRACE("ZEST_RANDOM_SEED=" + std::to_string(seed));
    std::mt19937_64 random(seed);
    for (int round = 0; round < 50; ++round) {
        PublicationChannel<std::uint64_t> channel;
        std::uint64_t published = 0;
        const auto viewed = [&] { return channel.view() ? *channel.view() : 0; };
        EXPECT_FALSE(channel.collect());
        EXPECT_EQ(channel.view(), nullptr);
        for (int step = 0; step < 200; ++step) {
            if (random() % 3 != 0) {
                channel.back() = ++published;
                channel.publish();
                continue;
            }
            const std::uint64_t before = viewed();
            const bool changed = channel.collect();
            // A delivery with nothing new leaves the view; any other brings the newest.
            ASSERT_EQ(viewed(), changed ? published : before);
            ASSERT_EQ(changed, published != before);
        }
    }
}

}  // namespace
}  // namespace gamepad
