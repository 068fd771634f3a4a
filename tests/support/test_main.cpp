#include <QCoreApplication>

#include <gtest/gtest.h>

#ifdef ZEST_TEST_WIDGETS
#include <QApplication>
using TestApplication = QApplication;
#else
using TestApplication = QCoreApplication;
#endif

int main(int argc, char** argv) {
#ifdef ZEST_TEST_WIDGETS
    // Widget tests run with no screen unless one is asked for.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
#endif
    TestApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
