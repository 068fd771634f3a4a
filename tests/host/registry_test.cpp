#include <algorithm>
#include <string>

#include "kit/registry.h"
#include "support/kit_fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

using RegistryTest = KitTest;

int action_code(void*) {
    return 35;
}

TEST_F(RegistryTest, CopiesEachDescriptorDuringTheCallAndRefusesAnIdTwice) {
    hostkit::Registry registry;
    std::string name = "Press Gamepad Button";
    NodeTypeDescriptor descriptor{};
    descriptor.id = "io.zestworks.gamepad.pressgamepadbutton";
    descriptor.name = name.c_str();
    descriptor.category = "Actions";
    descriptor.type_code = &action_code;
    zest_register_node(registry.handle(), &descriptor);
    std::fill(name.begin(), name.end(), '#');

    descriptor.id = "io.zestworks.gamepad.rumblegamepad";
    descriptor.name = "Rumble Gamepad";
    descriptor.type_code = nullptr;
    zest_register_node(registry.handle(), &descriptor);
    zest_register_node(registry.handle(), &descriptor);
    zest_register_node(registry.handle(), nullptr);

    ASSERT_EQ(registry.types().size(), 2u);
    const hostkit::RegisteredNodeType& first = registry.types()[0];
    EXPECT_EQ(first.id, "io.zestworks.gamepad.pressgamepadbutton");
    EXPECT_EQ(first.name, "Press Gamepad Button");
    EXPECT_EQ(first.category, "Actions");
    EXPECT_EQ(first.type_code, &action_code);
    EXPECT_EQ(registry.find("io.zestworks.gamepad.rumblegamepad"), &registry.types()[1]);
    EXPECT_EQ(registry.types()[1].type_code, nullptr);
    EXPECT_THAT(hostkit::check(),
                ElementsAre(HasSubstr("registered twice"), HasSubstr("no descriptor or no id")));
}

}  // namespace
