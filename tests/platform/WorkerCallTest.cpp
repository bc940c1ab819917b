#include "WorkerCall.h"

#include "WaitFor.h"

#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>

namespace {

TEST(WorkerCallTest, TheAnswerComesFromTheLoop)
{
    for (const bool expected : { true, false }) {
        QThread* ranOn = nullptr;
        QThread* toldOn = nullptr;
        WorkerCall call([expected, &ranOn] {
            ranOn = QThread::currentThread();
            return expected;
        });
        QObject::connect(&call, &WorkerCall::answered, &call, [&toldOn] { toldOn = QThread::currentThread(); });

        ASSERT_TRUE(waitFor([&toldOn] { return toldOn != nullptr; }));

        EXPECT_EQ(call.answer(), expected);
        EXPECT_EQ(toldOn, QThread::currentThread());
        EXPECT_NE(ranOn, QThread::currentThread());
    }
}

TEST(WorkerCallTest, ThereIsNoAnswerWhileTheCallRuns)
{
    std::promise<void> release;
    WorkerCall call([released = release.get_future().share()] {
        released.wait();
        return true;
    });

    drainEventLoop();
    EXPECT_EQ(call.answer(), std::nullopt);
    release.set_value();

    EXPECT_TRUE(waitFor([&call] { return call.answer() == true; }));
}

TEST(WorkerCallTest, ACallThatNobodyWaitsForEndsByItself)
{
    std::promise<void> release;
    std::atomic<int> answers = 0;
    const auto used = std::make_shared<int>(7); // The call's own share of it goes with the thread.
    auto call = std::make_unique<WorkerCall>([used, released = release.get_future().share()] {
        released.wait();
        return *used == 7;
    });
    QObject::connect(call.get(), &WorkerCall::answered, call.get(), [&answers] { ++answers; });

    call.reset();
    EXPECT_EQ(used.use_count(), 2);
    release.set_value();

    EXPECT_TRUE(waitFor([&used] { return used.use_count() == 1; }));
    drainEventLoop();
    EXPECT_EQ(answers, 0);
}

} // namespace
