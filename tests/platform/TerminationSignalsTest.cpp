#include "TerminationSignals.h"

#include "WaitFor.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

#include <csignal>
#include <optional>

namespace {

using Handler = void (*)(int);

Handler handlerOf(int number)
{
    struct sigaction action { };
    EXPECT_EQ(sigaction(number, nullptr, &action), 0);
    return action.sa_handler;
}

class TerminationSignalsTest : public ::testing::TestWithParam<int> { };

TEST_P(TerminationSignalsTest, TheFirstSignalIsToldAndTheSecondOneEndsTheProcessAsUsual)
{
    TerminationSignals termination;
    QSignalSpy received(&termination, &TerminationSignals::received);

    std::raise(GetParam());

    EXPECT_TRUE(received.isEmpty()); // It is told from the loop.
    EXPECT_TRUE(waitFor([&received] { return !received.isEmpty(); }));
    drainEventLoop();
    EXPECT_EQ(received.size(), 1);
    EXPECT_EQ(handlerOf(GetParam()), SIG_DFL);
}

TEST_P(TerminationSignalsTest, WhatWasIgnoredStaysIgnored)
{
    const auto before = std::signal(GetParam(), SIG_IGN);
    {
        const TerminationSignals termination;
        EXPECT_EQ(handlerOf(GetParam()), SIG_IGN);
    }
    EXPECT_EQ(handlerOf(GetParam()), SIG_IGN);
    std::signal(GetParam(), before);
}

TEST_P(TerminationSignalsTest, AfterwardsSignalsEndTheProcessAsUsual)
{
    std::optional<TerminationSignals> termination(std::in_place);
    EXPECT_NE(handlerOf(GetParam()), SIG_DFL);

    termination.reset();

    EXPECT_EQ(handlerOf(GetParam()), SIG_DFL);
}

using TerminationSignalsDeathTest = TerminationSignalsTest;

TEST_P(TerminationSignalsDeathTest, ASignalThatIsNotToldInTimeIsNotLost)
{
    EXPECT_EXIT(
        {
            std::optional<TerminationSignals> termination(std::in_place);
            std::raise(GetParam());
            termination.reset();
        },
        ::testing::KilledBySignal(SIGTERM), "");
}

INSTANTIATE_TEST_SUITE_P(, TerminationSignalsTest, ::testing::Values(SIGINT, SIGTERM, SIGHUP));
INSTANTIATE_TEST_SUITE_P(, TerminationSignalsDeathTest, ::testing::Values(SIGTERM));

} // namespace
