#include "TemporaryHome.h"

#include <gtest/gtest.h>

#ifdef QT_WIDGETS_LIB
#include "WaitFor.h"

#include <QApplication>
#include <QThreadPool>
using Application = QApplication;
#else
#include <QCoreApplication>
using Application = QCoreApplication;
#endif

#include <QDir>

#include <optional>

#ifdef __SANITIZE_THREAD__
#include <cstdarg>
#include <sched.h>

extern "C" int __clone(int (*)(void*), void*, int, void*, ...); // The C library's.

/// What QProcess starts programs by, past ThreadSanitizer. Its own version counts what it ignores during the call twice
/// down and once up when the child shares our memory, and is then blind for every lock of the calling thread.
extern "C" __attribute__((visibility("default"))) int clone(int (*main)(void*), void* stack, int flags, void* argument,
                                                            ...) noexcept
{
    std::va_list others;
    va_start(others, argument);
    void* const parentId = va_arg(others, void*);
    void* const threadStorage = va_arg(others, void*);
    void* const childId = va_arg(others, void*);
    va_end(others);
    return __clone(main, stack, flags, argument, parentId, threadStorage, childId);
}
#endif

namespace {

/// What a test has left in the home's Downloads and Documents is not found by the next one.
class EmptyFolders final : public ::testing::EmptyTestEventListener {
public:
    explicit EmptyFolders(QString home)
        : m_home(std::move(home))
    {
    }

    void OnTestEnd(const ::testing::TestInfo& /*test*/) override
    {
        for (const char* folder : { "Downloads", "Documents" }) {
            QDir(m_home + u'/' + QLatin1StringView(folder)).removeRecursively();
            QDir(m_home).mkdir(QString::fromLatin1(folder));
        }
    }

private:
    QString m_home;
};

#ifdef QT_WIDGETS_LIB

/// Qt paints with the help of more or fewer threads, by what happens to be idle just then, and each has a descriptor.
/// Tests count descriptors: let there be one such thread from the beginning to the end.
void paintWithOneThread()
{
    QThreadPool& painters = *QThreadPool::globalInstance();
    painters.setMaxThreadCount(1);
    painters.setExpiryTimeout(-1); // None ends because it has no work.
    painters.start([] {});
    waitFor([&painters] { return painters.activeThreadCount() == 0; });
}

#endif

} // namespace

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    ::testing::GTEST_FLAG(death_test_style) = "threadsafe";
    // A death test runs this program once more, and that run ends without cleaning up.
    static constexpr auto homeIsMade = "TEST_HOME_IS_MADE";
    std::optional<TemporaryHome> home;
    if (!qEnvironmentVariableIsSet(homeIsMade)) {
        home.emplace();
        ::testing::UnitTest::GetInstance()->listeners().Append(new EmptyFolders(home->path())); // Owned by the list.
        qputenv(homeIsMade, "1");
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:"); // Nothing reaches the desktop of whoever runs this.
    const Application application(argc, argv);
#ifdef QT_WIDGETS_LIB
    paintWithOneThread();
#endif
    return RUN_ALL_TESTS();
}
