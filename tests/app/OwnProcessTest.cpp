#include "OwnProcess.h"

#include "WaitFor.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

#include <sys/wait.h>

using namespace Qt::StringLiterals;

namespace {

TEST(OwnProcessTest, ItsEndIsToldOnceAndNothingIsLeftOfIt)
{
    OwnProcess process;
    QSignalSpy ended(&process, &OwnProcess::ended);

    process.start({ u"--gtest_list_tests"_s });

    EXPECT_TRUE(waitFor([&ended] { return !ended.isEmpty(); }));
    drainEventLoop();
    EXPECT_EQ(ended.size(), 1);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
}

} // namespace
