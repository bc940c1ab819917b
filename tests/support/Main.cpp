#include "TemporaryHome.h"

#include <gtest/gtest.h>

#ifdef TESTS_HAVE_WIDGETS
#include <QApplication>
using Application = QApplication;
#else
#include <QCoreApplication>
using Application = QCoreApplication;
#endif

#include <optional>

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    ::testing::GTEST_FLAG(death_test_style) = "threadsafe";
    // A death test runs this program once more, and that run ends without cleaning up.
    static constexpr auto homeIsMade = "TEST_HOME_IS_MADE";
    std::optional<TemporaryHome> home;
    if (!qEnvironmentVariableIsSet(homeIsMade)) {
        home.emplace();
        qputenv(homeIsMade, "1");
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const Application application(argc, argv);
    return RUN_ALL_TESTS();
}
