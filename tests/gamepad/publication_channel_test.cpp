#include <gtest/gtest.h>

#include <random>
#include <string>

#include "gamepad/publication_channel.h"
#include "support/random_seed.h"

namespace gamepad {
namespace {

// Publications and collects in a seeded random order: a collect brings the newest publication, and
// the view stays as collected until the next collect, whatever the polling side fills meanwhile.
TEST(PublicationChannel, ACollectBringsTheNewestAndTheViewStaysUntilTheNext) {
    const std::uint64_t seed = testsupport::random_seed();
    SCOPED_TRACE("ZEST_RANDOM_SEED=" + std::to_string(seed));
    std::mt19937_64 random(seed);
    PublicationChannel<int> channel;
    EXPECT_FALSE(channel.collect());
    int published = 0, seen = 0;
    for (int step = 0; step < 1000; ++step) {
        if (random() % 2 == 0) {
            channel.back() = ++published;
            channel.publish();
        } else {
            ASSERT_EQ(channel.collect(), seen != published) << "step " << step;
            seen = published;
        }
        ASSERT_EQ(channel.uncollected(), seen != published) << "step " << step;
        ASSERT_EQ(channel.view() ? *channel.view() : 0, seen) << "step " << step;
    }
}

}  // namespace
}  // namespace gamepad
