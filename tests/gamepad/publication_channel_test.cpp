#include <gtest/gtest.h>

#include <random>
#include <string>

#include "gamepad/publication_channel.h"
#include "support/random_seed.h"

namespace gamepad {
namespace {

// Publications and collections in a seeded order: the main thread's view is always the newest
// publication it collected, never the record the polling thread fills next, and a collect with
// nothing new leaves it alone.
TEST(PublicationChannel, TheViewIsTheNewestCollectedAndNeverTheRecordBeingFilled) {
    const std::uint64_t seed = testsupport::random_seed();
    SCOPED_TRACE("ZEST_RANDOM_SEED=" + std::to_string(seed));
    std::mt19937_64 rng(seed);
    PublicationChannel<int> channel;
    int published = 0, seen = 0;
    bool waiting = false;
    for (int step = 0; step < 2000; ++step) {
        if (rng() % 2 == 0) {
            channel.back() = ++published;
            channel.publish();
            waiting = true;
        } else {
            ASSERT_EQ(channel.collect(), waiting) << "step " << step;
            if (waiting) seen = published;
            waiting = false;
        }
        ASSERT_EQ(channel.uncollected(), waiting) << "step " << step;
        if (seen == 0) continue;
        ASSERT_NE(channel.view(), &channel.back()) << "step " << step;
        ASSERT_EQ(*channel.view(), seen) << "step " << step;
    }
}

}  // namespace
}  // namespace gamepad
