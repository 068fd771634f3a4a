#include <cstdint>
#include <vector>

#include "kit/node.h"
#include "support/kit_fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

using EventTest = KitTest;
using Ids = std::vector<std::uint64_t>;

TEST_F(EventTest, SinksRecordPostsInOrderAndEveryEventIsDestroyedOnce) {
    hostkit::Node node;
    ZestSink child = zest_node_child_sink(node.handle());
    ZestSink parent = zest_node_parent_sink(node.handle());
    ZestEvent made = zest_event_create();
    ZestEvent received = hostkit::create_event();
    zest_event_post(child, received);
    zest_event_post(parent, made);
    zest_event_post(parent, received);
    EXPECT_EQ(node.child_sink().posted(), Ids{2});
    EXPECT_EQ(node.parent_sink().posted(), (Ids{1, 2}));
    EXPECT_EQ(hostkit::live_event_count(), 2u);

    zest_event_destroy(made);
    EXPECT_EQ(hostkit::event_id(made), std::nullopt);
    EXPECT_EQ(hostkit::event_id(received), 2u);
    zest_event_destroy(made);
    zest_event_post(parent, made);
    zest_event_post(nullptr, received);
    EXPECT_EQ(node.parent_sink().posted(), (Ids{1, 2}));
    EXPECT_EQ(hostkit::live_event_count(), 1u);
    EXPECT_THAT(hostkit::check(),
                ElementsAre(HasSubstr("zest_event_destroy: event already destroyed"),
                            HasSubstr("zest_event_post: event already destroyed"),
                            HasSubstr("zest_event_post: unknown sink handle"),
                            HasSubstr("event 2 never destroyed")));
}

}  // namespace
