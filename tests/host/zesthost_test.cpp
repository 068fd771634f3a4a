#include <limits>
#include <string>

#include "host/zesthost_fixture.h"
#include "zesthost/commands.h"
#include "zesthost/graph_file.h"

namespace zesthost {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

// Saving turns interned attribute ids back into their names, and a saved file loads into the
// same graph: saving it again gives the same bytes.
TEST_F(ZesthostTest, GraphFilesRoundTripAndBadOnesAreClearErrorsThatLoadNothing) {
    session->load(ZEST_EXAMPLES "/demo.graph.json");
    ASSERT_EQ(session->graph().nodes().size(), 3u);
    session->graph().find("rumble")->store.set("!seconds", std::numeric_limits<double>::infinity());
    session->save(path("first.json"));
    session->load(path("first.json"));
    session->save(path("second.json"));
    EXPECT_EQ(contents(path("first.json")), contents(path("second.json")));
    EXPECT_THAT(contents(path("first.json")),
                AllOf(HasSubstr("\"!attribute\": \"button_b\""), HasSubstr("\"double\": 0.5"),
                      HasSubstr("\"double\": \"inf\"")));

    // A bad file names itself and the place, and leaves the graph as it was.
    const struct {
        const char* text;
        const char* message;
    } bad[] = {
        {"{\"nodes\": [\n  {\"name\": \"a\",, }]}", "line 2, column "},
        {"[1, 2]", "top: a graph file holds one JSON object"},
        {R"({"nodes": [{"name": "a", "type": "io.zestworks.gamepad.nosuch"}]})",
         "nodes[0].type: unknown node type \"io.zestworks.gamepad.nosuch\""},
        {R"({"nodes": [{"name": "a", "type": "io.zestworks.gamepad.rumblegamepad",
             "store": {"!seconds": 0.5}}]})",
         "nodes[0].store[\"!seconds\"]: a number that is no 32-bit int"},
        {R"({"nodes": [{"name": "a", "type": "io.zestworks.gamepad.rumblegamepad"}],
             "edges": [["a", "b"]]})",
         "edges[0]: no node is named \"b\""},
        {R"({"preferences": {"updatems": [240]}})", "preferences[\"updatems\"]: a value must be"},
    };
    for (const auto& file : bad) {
        const std::string name = path("bad.json");
        std::ofstream(name) << file.text;
        EXPECT_THAT(
            [&] { session->load(name); },
            ThrowsMessage<GraphFileError>(AllOf(HasSubstr(name + ": "), HasSubstr(file.message))));
        EXPECT_EQ(session->graph().nodes().size(), 3u);
    }
    EXPECT_THROW(session->load(path("missing.json")), GraphFileError);
}

// Lines the host can't read fail with a message and change nothing; expectations that don't
// hold say what was found.
TEST_F(ZesthostTest, BadLinesFailWithAMessageAndCyclesAreCutShort) {
    Commands commands(*session, path(""));
    for (const char* line : {"frobnicate", "pad plug 7", "pad press 0 turbo", "wait 5 parsecs",
                             "node x nosuchtype", "set nobody !gamepad 0", "expect events x 1",
                             "wait until virtual connected within 50ms", "pad triggers 0 300 0"})
        EXPECT_FALSE(commands.run(line)) << line;
    EXPECT_TRUE(commands.run("# a comment"));
    EXPECT_TRUE(commands.run("node x rumblegamepad"));
    EXPECT_FALSE(commands.run("node x rumblegamepad"));
    EXPECT_FALSE(commands.run("expect name x \"Something else\""));
    EXPECT_EQ(session->graph().nodes().size(), 1u);

    // A branching cycle is cut short with a message instead of running forever (the example
    // "interactive" cuts a straight one).
    for (const char* line : {"node fan rumblegamepad", "edge fan fan", "edge fan fan", "fire fan"})
        ASSERT_TRUE(commands.run(line)) << line;
    EXPECT_EQ(session->graph().find("fan")->passed_on(),
              static_cast<std::size_t>(Graph::max_deliveries));
    EXPECT_THAT(
        traced(),
        AllOf(HasSubstr("FAILED: can't read \"frobnicate\""), HasSubstr("FAILED: a pad is 0 to 3"),
              HasSubstr("FAILED: expected name x Something else; the name is \"Rumble Gamepad\""),
              HasSubstr("the graph has a cycle")));
}

}  // namespace
}  // namespace zesthost
