#include "GradualRelease.h"

#include "WaitFor.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <deque>
#include <vector>

namespace {

constexpr qsizetype piece = GradualRelease::itemsInATurn;

/// Says when it is gone.
class Item {
public:
    explicit Item(qsizetype& gone)
        : m_gone(&gone)
    {
    }
    Item(Item&& other) noexcept
        : m_gone(std::exchange(other.m_gone, nullptr))
    {
    }
    Item& operator=(Item&& other) noexcept
    {
        std::swap(m_gone, other.m_gone);
        return *this;
    }
    ~Item()
    {
        if (m_gone != nullptr) {
            ++*m_gone;
        }
    }

private:
    qsizetype* m_gone;
};

class GradualReleaseTest : public ::testing::Test {
protected:
    std::deque<Item> items(qsizetype count)
    {
        std::deque<Item> items;
        for (qsizetype i = 0; i < count; ++i) {
            items.emplace_back(m_gone);
        }
        return items;
    }

    qsizetype m_gone = 0;
};

TEST_F(GradualReleaseTest, DestroysAPieceInEachTurnOfTheLoopAndNothingAtOnce)
{
    GradualRelease release;
    release.take(items(3 * piece + 1));
    EXPECT_EQ(m_gone, 0);

    qsizetype before = 0;
    while (!release.isDone()) {
        QCoreApplication::processEvents();
        EXPECT_LE(m_gone - before, piece);
        before = m_gone;
    }

    EXPECT_EQ(m_gone, 3 * piece + 1);
}

TEST_F(GradualReleaseTest, TakesSeveralOneAfterTheOther)
{
    GradualRelease release;
    release.take(items(1));
    release.take(items(0));
    release.take(items(piece));

    EXPECT_TRUE(waitFor([&release] { return release.isDone(); }));

    EXPECT_EQ(m_gone, piece + 1);
}

TEST_F(GradualReleaseTest, WhatIsLeftGoesWithIt)
{
    {
        GradualRelease release;
        release.take(items(2 * piece));
    }

    EXPECT_EQ(m_gone, 2 * piece);
}

} // namespace
