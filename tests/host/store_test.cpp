#include <cstdint>
#include <string>

#include "kit/node.h"
#include "kit/store.h"
#include "support/kit_fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

using StoreTest = KitTest;

TEST_F(StoreTest, SetReplacesValueAndTypeThroughTheSameKey) {
    hostkit::Store store;
    ZestStore handle = store.handle();
    zest_store_set_string(handle, "!attribute", "button_a");
    EXPECT_TRUE(zest_store_has_string(handle, "!attribute"));
    EXPECT_FALSE(zest_store_has_int(handle, "!attribute"));
    const char* text = zest_store_get_string(handle, "!attribute");
    zest_store_set_string(handle, "!gamepad", "another key");
    EXPECT_STREQ(text, "button_a");

    zest_store_set_int(handle, "!attribute", 7);
    EXPECT_TRUE(zest_store_has_int(handle, "!attribute"));
    EXPECT_FALSE(zest_store_has_string(handle, "!attribute"));
    EXPECT_EQ(zest_store_get_int(handle, "!attribute"), 7);
    EXPECT_EQ(store.get<std::string>("!attribute"), std::nullopt);

    store.set("virtualenabled", true);
    EXPECT_FALSE(zest_store_has_int(handle, "virtualenabled"));
    EXPECT_THAT(hostkit::check(), IsEmpty());
}

TEST_F(StoreTest, GetsWithoutValueAndForeignHandlesAreViolations) {
    hostkit::Store store;
    store.set("!x", 3);
    EXPECT_EQ(zest_store_get_string(store.handle(), "!x"), nullptr);
    EXPECT_EQ(zest_store_get_int(store.handle(), "missing"), 0);
    EXPECT_FALSE(zest_store_has_int(store.handle(), nullptr));
    hostkit::Node node;
    auto foreign = reinterpret_cast<ZestStore>(node.handle());
    EXPECT_FALSE(zest_store_has_int(foreign, "!x"));
    zest_store_set_int(nullptr, "!x", 1);
    EXPECT_EQ(store.get<std::int32_t>("!x"), 3);
    EXPECT_THAT(hostkit::check(),
                ElementsAre(HasSubstr("zest_store_get_string: \"!x\" holds no string"),
                            HasSubstr("zest_store_get_int: \"missing\" holds no int"),
                            HasSubstr("zest_store_has_int: null key"),
                            HasSubstr("zest_store_has_int: unknown store handle"),
                            HasSubstr("zest_store_set_int: unknown store handle")));
}

}  // namespace
