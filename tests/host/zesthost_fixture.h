#pragma once

#include <QTemporaryDir>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "support/kit_fixture.h"
#include "zesthost/session.h"
#include "zestsim/zestsim.h"

namespace zesthost {

inline std::string contents(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The real plug-in in a session on a new machine, its trace in a file.
class ZesthostTest : public KitTest {
protected:
    void SetUp() override {
        KitTest::SetUp();
        ASSERT_TRUE(hostkit::load_translations(ZEST_ENGLISH_TABLE));
        zestsim::reset();
        ASSERT_NE(trace_file, nullptr);
        session = std::make_unique<Session>(ZEST_PLUGIN_PATH, trace);
    }
    void TearDown() override {
        session.reset();
        EXPECT_THAT(hostkit::check(), ::testing::IsEmpty());
        std::fclose(trace_file);
        KitTest::TearDown();
    }

    std::string path(const std::string& name) const {
        return folder.filePath(QString::fromStdString(name)).toStdString();
    }
    // Each line is flushed as it is written.
    std::string traced() const { return contents(path("trace")); }

    QTemporaryDir folder;
    std::FILE* trace_file = std::fopen(path("trace").c_str(), "w");
    Trace trace{trace_file};
    std::unique_ptr<Session> session;
};

}  // namespace zesthost
