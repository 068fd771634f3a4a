#pragma once

#include <gmock/gmock.h>

#include "kit/kit.h"

// Every case starts and ends with a clean kit, so that problems are those of the case.
class KitTest : public ::testing::Test {
protected:
    void SetUp() override { hostkit::reset(); }
    void TearDown() override { hostkit::reset(); }
};
