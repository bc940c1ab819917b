#include "RunLoop.h"

#include "WaitFor.h"

#include <QElapsedTimer>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

namespace {

TEST(RunLoopTest, EachThreadHasItsOwn)
{
    RunLoop* other = nullptr;
    std::thread([&other] { other = &RunLoop::current(); }).join();

    EXPECT_NE(other, nullptr);
    EXPECT_NE(other, &RunLoop::current());
    EXPECT_EQ(&RunLoop::current(), &RunLoop::current());
}

TEST(RunLoopTest, StopFromAnotherThreadEndsTheRun)
{
    RunLoop& loop = RunLoop::current();
    const std::unique_ptr<QThread> thread(QThread::create([&loop] { loop.stop(); }));

    thread->start();
    loop.run();

    EXPECT_TRUE(thread->wait());
}

TEST(RunLoopTest, StopBeforeTheRunEndsItAtOnce)
{
    RunLoop::current().stop();

    RunLoop::current().run();
}

TEST(RunLoopTest, NoStopFromAnotherThreadIsLost)
{
    // Each round stops a little later, so that some stops fall between the beginning of run() and its loop.
    for (int round = 0; round < 2000; ++round) {
        std::atomic<RunLoop*> loop = nullptr;
        std::thread runner([&loop] {
            loop = &RunLoop::current();
            RunLoop::current().run();
        });
        for (int spins = 0; loop == nullptr; ++spins) {
            if (spins > 10'000) { // The runner may need this processor.
                std::this_thread::yield();
            }
        }
        for (std::atomic<int> spins = 0; spins < round; ++spins) { }
        loop.load()->stop();
        runner.join();
    }
}

TEST(RunLoopTest, AStopEndsOneRunAlone)
{
    RunLoop& loop = RunLoop::current();
    int ran = 0;
    for (int round = 0; round < 3; ++round) {
        RunLoop::dispatchAfter(0, nullptr, [&] {
            ++ran;
            loop.stop();
        });

        loop.run();

        EXPECT_EQ(ran, round + 1);
    }
}

TEST(RunLoopTest, DelayedBlockRunsOnTheMainThreadAfterItsDelay)
{
    QThread* ranOn = nullptr;
    QElapsedTimer clock;
    clock.start();
    const std::unique_ptr<QThread> thread(QThread::create(
        [&ranOn] { RunLoop::dispatchAfter(50, nullptr, [&ranOn] { ranOn = QThread::currentThread(); }); }));
    thread->start();

    ASSERT_TRUE(waitFor([&ranOn] { return ranOn != nullptr; }));

    EXPECT_EQ(ranOn, QThread::currentThread());
    EXPECT_GE(clock.elapsed(), 45);
    thread->wait();
}

TEST(RunLoopTest, DelayedBlockOfADestroyedContextDoesNotRun)
{
    bool ran = false;
    bool later = false;
    auto context = std::make_unique<QObject>();
    RunLoop::dispatchAfter(5, context.get(), [&ran] { ran = true; });
    RunLoop::dispatchAfter(30, nullptr, [&later] { later = true; });

    context.reset();

    ASSERT_TRUE(waitFor([&later] { return later; }));
    EXPECT_FALSE(ran);
}

} // namespace
