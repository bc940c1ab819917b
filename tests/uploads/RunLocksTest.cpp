#include "RunLocks.h"

#include "FaultyFileCalls.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>

using namespace Qt::StringLiterals;

namespace {

class RunLocksTest : public ::testing::Test {
protected:
    QTemporaryDir m_directory;
    QString m_path = m_directory.filePath(u"runs"_s);
};

TEST_F(RunLocksTest, ARunIsTakenAsLongAsItGoesOn)
{
    RunLocks others(m_path);
    std::optional<qint64> run;
    {
        RunLocks locks(m_path);
        run = locks.take();
        ASSERT_TRUE(run);
        EXPECT_TRUE(others.isTaken(*run));
        EXPECT_FALSE(others.isTaken(*run + 1));
    }
    EXPECT_FALSE(others.isTaken(*run));
}

TEST_F(RunLocksTest, ARunThatTheSystemSaysNothingOfCountsAsOneThatGoesOn)
{
    const RunLocks locks(m_path);
    const FaultyFileCalls faults;
    FaultyFileCalls::failToLock(ENOLCK);

    EXPECT_TRUE(locks.isTaken(1));
}

TEST_F(RunLocksTest, OneAtATimeIsAloneAndNobodyWaits)
{
    const RunLocks locks(m_path);
    const RunLocks others(m_path);
    {
        const RunLocks::Alone first(locks);
        EXPECT_TRUE(first.isAlone());
        EXPECT_FALSE(RunLocks::Alone(others).isAlone());
        EXPECT_FALSE(RunLocks::Alone(others).isAlone()); // The end of one that is not alone changes nothing.
    }
    EXPECT_TRUE(RunLocks::Alone(others).isAlone());
}

TEST_F(RunLocksTest, WithoutLocksThereIsNoRun)
{
    RunLocks locks(m_path);
    const FaultyFileCalls faults;
    FaultyFileCalls::failToLock(ENOLCK);

    EXPECT_FALSE(locks.take());
    EXPECT_FALSE(RunLocks(m_directory.filePath(u"no/such/folder"_s)).take());
}

} // namespace
