#include "LoopSuspension.h"

#include "DeliveryGate.h"
#include "RunLoop.h"
#include "WaitFor.h"

#include <QList>
#include <QObject>
#include <QTimer>

#include <gtest/gtest.h>

#include <memory>

namespace {

class LoopSuspensionTest : public ::testing::Test {
protected:
    /// Runs the loop until a timer set now, and so every one that was due before it, has fired.
    static void pass(int milliseconds)
    {
        bool isOver = false;
        QTimer::singleShot(milliseconds, [&isOver] { isOver = true; });
        ASSERT_TRUE(waitFor([&isOver] { return isOver; }));
    }
    std::function<void()> note(int number)
    {
        return [this, number] { m_ran.append(number); };
    }

    QObject m_context;
    QList<int> m_ran;
};

TEST_F(LoopSuspensionTest, StreamsAreSuspendedAlongWithIt)
{
    EXPECT_FALSE(LoopSuspension::isActive());
    {
        const LoopSuspension suspension;

        EXPECT_TRUE(LoopSuspension::isActive());
        EXPECT_TRUE(RunLoop::current().isSuspended());
        EXPECT_TRUE(DeliveryGate::ofThisThread().isClosed());
    }

    EXPECT_FALSE(LoopSuspension::isActive());
    EXPECT_FALSE(DeliveryGate::ofThisThread().isClosed());
}

TEST_F(LoopSuspensionTest, StreamsThatAMenuSuspendedStaySuspended)
{
    RunLoop::current().setSuspended(true);
    {
        const LoopSuspension suspension;
    }

    EXPECT_TRUE(RunLoop::current().isSuspended());
    RunLoop::current().setSuspended(false);
}

TEST_F(LoopSuspensionTest, DelayedBlocksWaitAndThenRunInTheOrderInWhichTheyWereDue)
{
    RunLoop::dispatchAfter(30, &m_context, note(3));
    RunLoop::dispatchAfter(10, &m_context, note(1));
    RunLoop::dispatchAfter(20, nullptr, note(2));
    {
        const LoopSuspension suspension;
        pass(50);
        EXPECT_TRUE(m_ran.isEmpty());
    }
    EXPECT_TRUE(m_ran.isEmpty()); // From the loop alone.

    pass(0);

    EXPECT_EQ(m_ran, (QList<int>{ 1, 2, 3 }));
}

TEST_F(LoopSuspensionTest, ABlockRunsAtOnceWhileTheLoopRuns)
{
    LoopSuspension::whenResumed(m_context, note(1));

    EXPECT_EQ(m_ran, QList<int>{ 1 });
}

TEST_F(LoopSuspensionTest, ABlockWhoseContextIsGoneNeverRuns)
{
    auto context = std::make_unique<QObject>();
    {
        const LoopSuspension suspension;
        LoopSuspension::whenResumed(*context, note(1));
        LoopSuspension::whenResumed(m_context, note(2));
        context.reset();
    }

    pass(0);

    EXPECT_EQ(m_ran, QList<int>{ 2 });
}

TEST_F(LoopSuspensionTest, ABlockThatSuspendsTheLoopAgainKeepsTheOthersBack)
{
    {
        const LoopSuspension suspension;
        LoopSuspension::whenResumed(m_context, [this] {
            const LoopSuspension suspendedAgain;
            pass(0);
            m_ran.append(1);
        });
        LoopSuspension::whenResumed(m_context, note(2));
    }

    ASSERT_TRUE(waitFor([this] { return m_ran.size() == 2; }));

    EXPECT_EQ(m_ran, (QList<int>{ 1, 2 }));
}

} // namespace
