#include "SheetQueue.h"

#include "LoopSuspension.h"
#include "Printers.h"
#include "Sheets.h"
#include "WaitFor.h"

#include <QDialog>
#include <QLabel>
#include <QTest>
#include <QWidget>

#include <gtest/gtest.h>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

class SheetQueueTest : public ::testing::Test {
protected:
    SheetQueueTest() { showInFront(m_window); }

    void raise(const QString& title, const QString& text = u"text"_s)
    {
        m_queue.raise({ .title = title, .text = text });
    }
    static bool waitForSheet(const QString& title)
    {
        return waitFor([&title] { return shownSheets() == QStringList{ title + u": text"_s }; });
    }

    QWidget m_window;
    SheetQueue& m_queue = SheetQueue::of(m_window);
};

TEST_F(SheetQueueTest, AWindowHasOneQueue)
{
    EXPECT_EQ(&SheetQueue::of(m_window), &m_queue);
}

TEST_F(SheetQueueTest, SheetsShowOneAtATimeInTheOrderRaised)
{
    raise(u"one"_s);
    raise(u"two"_s);
    raise(u"three"_s);

    ASSERT_TRUE(waitForSheet(u"one"_s));
    answerSheet();
    ASSERT_TRUE(waitForSheet(u"two"_s));
    answerSheet();
    ASSERT_TRUE(waitForSheet(u"three"_s));
    answerSheet();
    EXPECT_TRUE(waitFor([] { return shownSheets().isEmpty(); }));
}

TEST_F(SheetQueueTest, ASheetHoldsItsWindowOnlyWhenTheKeyboardComesThere)
{
    QWidget other;
    showInFront(other);
    raise(u"one"_s);

    ASSERT_TRUE(waitForSheet(u"one"_s));
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    const auto* const first = m_window.findChild<QDialog*>();
    m_window.activateWindow();
    ASSERT_TRUE(waitFor([] { return QApplication::activeModalWidget() != nullptr; }));
    EXPECT_NE(QApplication::activeModalWidget(), first) << "a window that is hidden and shown again may stay hidden";
    EXPECT_EQ(QApplication::activeModalWidget()->windowModality(), Qt::WindowModal);
    EXPECT_EQ(shownSheets(), QStringList{ u"one: text"_s });
    answerSheet();
    EXPECT_TRUE(shownSheets().isEmpty());
}

TEST_F(SheetQueueTest, ASheetThatIsAnsweredBeforeTheKeyboardComesDoesNotComeBack)
{
    QWidget other;
    showInFront(other);
    raise(u"one"_s);
    ASSERT_TRUE(waitForSheet(u"one"_s));

    answerSheet();
    QEvent activation(QEvent::WindowActivate); // Before the loop has put the sheet away.
    QApplication::sendEvent(&m_window, &activation);
    EXPECT_EQ(shownSheets(), QStringList());
}

TEST_F(SheetQueueTest, ASheetWaitsForAnotherDialogOfItsWindow)
{
    QDialog dialog(&m_window);
    dialog.open();
    raise(u"one"_s);
    drainEventLoop();
    EXPECT_TRUE(shownSheets().isEmpty());

    dialog.reject();

    EXPECT_TRUE(waitForSheet(u"one"_s));
    answerSheet();
}

TEST_F(SheetQueueTest, ASheetWaitsForItsWindow)
{
    m_window.hide();
    raise(u"one"_s);
    drainEventLoop();
    EXPECT_TRUE(shownSheets().isEmpty());

    m_window.show();

    EXPECT_TRUE(waitForSheet(u"one"_s));
    answerSheet();
}

TEST_F(SheetQueueTest, ASheetGoesUnansweredWithWhatItIsAbout)
{
    auto first = std::make_unique<QObject>();
    auto third = std::make_unique<QObject>();
    bool isAnswered = false;
    const auto note = [&isAnswered] { isAnswered = true; };
    m_queue.raise({ .title = u"one"_s, .text = u"text"_s, .onDefault = note, .matter = first.get() });
    raise(u"two"_s);
    m_queue.raise({ .title = u"three"_s, .text = u"text"_s, .onDefault = note, .matter = third.get() });
    raise(u"four"_s);
    ASSERT_TRUE(waitForSheet(u"one"_s));

    first.reset();
    EXPECT_TRUE(shownSheets().isEmpty());
    ASSERT_TRUE(waitForSheet(u"two"_s));
    third.reset(); // It does not show yet.
    answerSheet();

    ASSERT_TRUE(waitForSheet(u"four"_s));
    answerSheet();
    EXPECT_FALSE(isAnswered);
}

TEST_F(SheetQueueTest, ASheetThatWaitedForADialogAloneAndHasGoneLeavesTheNextOneItsTurn)
{
    QDialog dialog(&m_window);
    dialog.open();
    auto matter = std::make_unique<QObject>();
    m_queue.raise({ .title = u"one"_s, .text = u"text"_s, .matter = matter.get() });

    matter.reset();
    dialog.reject();
    drainEventLoop();
    EXPECT_TRUE(shownSheets().isEmpty());

    dialog.open();
    m_queue.raise({ .title = u"two"_s, .text = u"text"_s });
    dialog.reject();
    EXPECT_TRUE(waitForSheet(u"two"_s));
    answerSheet();
}

TEST_F(SheetQueueTest, AnEqualSheetIsMergedWhileItShowsOrWaits)
{
    raise(u"one"_s);
    raise(u"two"_s);
    raise(u"one"_s);
    raise(u"two"_s);

    answerSheet();
    ASSERT_TRUE(waitForSheet(u"two"_s));
    answerSheet();
    drainEventLoop();

    EXPECT_TRUE(shownSheets().isEmpty());
}

TEST_F(SheetQueueTest, AnAcknowledgedSheetCanBeRaisedAgain)
{
    raise(u"one"_s);
    answerSheet();
    ASSERT_TRUE(waitFor([] { return shownSheets().isEmpty(); }));

    raise(u"one"_s);

    EXPECT_TRUE(waitForSheet(u"one"_s));
    answerSheet();
}

TEST_F(SheetQueueTest, EqualTitlesWithOtherTextsAreNotMerged)
{
    raise(u"one"_s, u"a"_s);
    raise(u"one"_s, u"b"_s);

    answerSheet();

    EXPECT_TRUE(waitFor([] { return shownSheets() == QStringList{ u"one: b"_s }; }));
    answerSheet();
}

TEST_F(SheetQueueTest, EqualTextsWithOtherDetailsAreNotMerged)
{
    for (const QString& server : { u"one.example"_s, u"two.example"_s }) {
        m_queue.raise({ .title = u"Changed"_s, .text = u"text"_s, .details = { { u"Server"_s, server } } });
    }

    answerSheet();

    EXPECT_TRUE(waitForSheet(u"Changed"_s));
    answerSheet();
}

TEST_F(SheetQueueTest, ASheetsWindowIsNamedAfterItsTitle)
{
    raise(u"one"_s);

    EXPECT_EQ(QApplication::activeModalWidget()->windowTitle(), u"one"_s);
    answerSheet();
}

TEST_F(SheetQueueTest, ReturnAnswersTheDefaultButtonAndTheOtherOneMustBeChosen)
{
    int chosen = 0;
    const Sheet question{ .title = u"Sure?"_s,
                          .text = u"text"_s,
                          .defaultButton = u"Cancel"_s,
                          .alternateButton = u"Delete"_s,
                          .onAlternate = [&chosen] { ++chosen; } };
    m_queue.raise(question);
    QTest::keyClick(QApplication::activeModalWidget(), Qt::Key_Return);
    ASSERT_TRUE(waitFor([] { return shownSheets().isEmpty(); }));
    EXPECT_EQ(chosen, 0);

    m_queue.raise(question);
    QTest::keyClick(QApplication::activeModalWidget(), Qt::Key_Escape);
    ASSERT_TRUE(waitFor([] { return shownSheets().isEmpty(); }));
    EXPECT_EQ(chosen, 0);

    m_queue.raise(question);
    answerSheet(u"Delete"_s);
    EXPECT_TRUE(waitFor([&chosen] { return chosen == 1; }));
}

TEST_F(SheetQueueTest, QuestionsWithAChoiceAreNotMerged)
{
    int chosen = 0;
    for (int i = 0; i < 2; ++i) {
        m_queue.raise({ .title = u"Sure?"_s,
                        .text = u"text"_s,
                        .defaultButton = u"Cancel"_s,
                        .alternateButton = u"Delete"_s,
                        .onAlternate = [&chosen] { ++chosen; } });
    }

    answerSheet(u"Delete"_s);
    ASSERT_TRUE(waitForSheet(u"Sure?"_s));
    answerSheet(u"Delete"_s);

    EXPECT_TRUE(waitFor([&chosen] { return chosen == 2; }));
}

TEST_F(SheetQueueTest, TheNextSheetWaitsWhileTheLoopIsSuspended)
{
    raise(u"one"_s);
    raise(u"two"_s);
    answerSheet();
    {
        const LoopSuspension suspension;
        drainEventLoop();
        EXPECT_EQ(shownSheets(), QStringList());
    }

    EXPECT_TRUE(waitForSheet(u"two"_s));
    answerSheet();
}

} // namespace
