#include "FMThread.h"

#include "RunLoop.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

TEST(FMThreadTest, RunsTheBlockOnAnotherThreadAndWaitsForIt)
{
    std::thread::id ranOn;

    FMThread::runInSeparateThread([&ranOn] { ranOn = std::this_thread::get_id(); });

    EXPECT_NE(ranOn, std::thread::id());
    EXPECT_NE(ranOn, std::this_thread::get_id());
}

TEST(FMThreadTest, TheThreadHasARunLoopOfItsOwn)
{
    const RunLoop* loop = nullptr;

    FMThread::runInSeparateThread([&loop] {
        loop = &RunLoop::current();
        RunLoop::current().stop();
        RunLoop::current().run();
    });

    EXPECT_NE(loop, nullptr);
    EXPECT_NE(loop, &RunLoop::current());
}

TEST(FMThreadTest, WakesTheCallerAfterEveryOneOfTenThousandBlocks)
{
    int finished = 0;
    for (int round = 0; round < 10'000; ++round) {
        FMThread::runInSeparateThread([&finished] { ++finished; });
        ASSERT_EQ(finished, round + 1);
    }
}

TEST(FMThreadTest, BlocksMayRunBlocks)
{
    int order = 0;
    FMThread::runInSeparateThread([&order] {
        FMThread::runInSeparateThread([&order] { order = 1; });
        order = order * 10 + 2;
    });

    EXPECT_EQ(order, 12);
}

[[noreturn]] void runManyWithOneDescriptorLeft()
{
    std::vector<std::thread> callers;
    {
        rlimit limit{};
        ::getrlimit(RLIMIT_NOFILE, &limit);
        const int next = ::dup(0);
        ::close(next);
        limit.rlim_cur = static_cast<rlim_t>(next) + 1;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
    for (int i = 0; i < 8; ++i) {
        callers.emplace_back([] {
            for (int round = 0; round < 100; ++round) {
                FMThread::runInSeparateThread([] {});
            }
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    std::exit(0);
}

TEST(FMThreadTest, CallersThatContendForTheLastDescriptorDoNotEndTheProgram)
{
    EXPECT_EXIT(runManyWithOneDescriptorLeft(), testing::ExitedWithCode(0), "");
}

} // namespace
