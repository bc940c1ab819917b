#include "HistoryWindow.h"

#include "HistoryText.h"
#include "Metronome.h"
#include "TextTable.h"
#include "ViewControllerTest.h"

#include <QAction>
#include <QClipboard>
#include <QHeaderView>
#include <QStandardPaths>
#include <QTest>

#include <chrono>

using namespace std::chrono_literals;

using Outcome = HistoryEntry::Outcome;

namespace {

class HistoryWindowTest : public ViewControllerTest {
protected:
    ~HistoryWindowTest() override
    {
        QFile::remove(QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) + u"/window.ini"_s);
    }

    HistoryWindow& open()
    {
        control<QAction>("historyAction").trigger();
        return *m_controller->windows().historyWindow();
    }
    template <typename Widget> Widget& part(const char* name)
    {
        return *m_controller->windows().historyWindow()->findChild<Widget*>(QString::fromLatin1(name));
    }
    TextTable& table() { return part<TextTable>("historyTable"); }
    QPushButton& queueAgain() { return part<QPushButton>("queueAgainButton"); }
    QPushButton& copy() { return part<QPushButton>("copyHistoryButton"); }

    /// One file that failed, one confirmed, one that waits.
    void fillWithThree()
    {
        m_failing = makeFile(u"failing"_s);
        m_controller->uploadFiles({ m_failing, makeFile(u"good"_s), makeFile(u"waiting"_s) });
        tick();
        upload().sendRefusal(550);
        tick();
        finishUpload();
    }

    QString m_failing;
};

TEST_F(HistoryWindowTest, TheMenuShowsItAndItHoldsNothing)
{
    EXPECT_EQ(control<QAction>("historyAction").shortcut(), QKeySequence(u"Ctrl+H"_s));

    HistoryWindow& window = open();

    EXPECT_TRUE(window.isVisible());
    EXPECT_FALSE(window.isModal());
    EXPECT_EQ(table().emptyText(), u"No files yet"_s);
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();
    EXPECT_TRUE(m_controller->pc().isSending());
}

TEST_F(HistoryWindowTest, ItShowsALineForEachFile)
{
    open();

    fillWithThree();

    ASSERT_EQ(table().model()->rowCount(), 3);
    EXPECT_EQ(table().model()->index(0, 0).data().toString(), u"failing"_s);
    EXPECT_EQ(table().model()->index(0, 4).data().toString(), u"Failed: FTP error 550; Directory may already exist?"_s);
    EXPECT_EQ(table().model()->index(1, 4).data().toString(), u"Confirmed by the server"_s);
    EXPECT_EQ(table().model()->index(2, 4).data().toString(), u"Waiting"_s);
    // The third one starts while the loop runs.
    EXPECT_TRUE(waitFor([this] { return part<QLabel>("summaryLabel").text() == u"1 confirmed, 1 failed"_s; }));
}

TEST_F(HistoryWindowTest, BothSizesOfAFileThatIsListedWithAnotherAreSeen)
{
    open();
    const HistoryEntry entry{ .outcome = Outcome::Confirmed, .size = 888'888'888, .listedSize = 888'888'887 };

    const QString text = HistoryText::cell(entry, HistoryText::Column::Outcome);

    constexpr auto outcome = static_cast<int>(HistoryText::Column::Outcome);
    EXPECT_GE(table().columnWidth(outcome), columnWidthFor(table(), text));
    EXPECT_GT(table().columnWidth(outcome + 1), 200); // The server's reply still has its place.
}

TEST_F(HistoryWindowTest, QueueAgainWithoutASelectionTakesAllThatWereLost)
{
    open();
    EXPECT_FALSE(queueAgain().isEnabled());
    fillWithThree();
    ASSERT_TRUE(waitFor([this] { return queueAgain().isEnabled(); }));

    queueAgain().click();

    EXPECT_EQ(m_controller->fileUploadQueue(), QStringList{ m_failing });
    EXPECT_FALSE(queueAgain().isEnabled());
    EXPECT_EQ(table().model()->index(3, 4).data().toString(), u"Waiting"_s);
}

TEST_F(HistoryWindowTest, QueueAgainTakesOnlyWhatIsSelectedAndWasLost)
{
    fillWithThree();
    open();

    table().selectRow(1);
    EXPECT_FALSE(queueAgain().isEnabled());
    table().selectRow(0);
    EXPECT_TRUE(queueAgain().isEnabled());
    table().selectAll();
    EXPECT_TRUE(queueAgain().isEnabled());
    queueAgain().click();

    EXPECT_EQ(m_controller->fileUploadQueue().size(), 2);
    EXPECT_EQ(m_controller->fileUploadQueue().at(1), m_failing);
}

TEST_F(HistoryWindowTest, WithoutADestinationNothingIsQueuedAgainAndTheUserIsTold)
{
    fillWithThree();
    open();
    unset(u"Address"_s);

    queueAgain().click();

    EXPECT_TRUE(shownSheets().first().startsWith(u"No Destination"_s));
    EXPECT_FALSE(m_controller->fileUploadQueue().toStringList().contains(m_failing));
}

TEST_F(HistoryWindowTest, CopyTakesTheSelectedLinesOrAll)
{
    open();
    EXPECT_FALSE(copy().isEnabled());
    fillWithThree();
    ASSERT_TRUE(waitFor([this] { return copy().isEnabled(); }));

    copy().click();
    EXPECT_EQ(QApplication::clipboard()->text(), HistoryText::lines(m_controller->history().entries(), { 0, 1, 2 }));

    table().selectRow(2);
    part<QAction>("copyHistoryAction").trigger();
    EXPECT_EQ(QApplication::clipboard()->text(), HistoryText::lines(m_controller->history().entries(), { 2 }));
}

TEST_F(HistoryWindowTest, ItFollowsTheFileBeingSentUnlessTheUserLooksElsewhere)
{
    QStringList missing;
    for (int i = 0; i < 100; ++i) {
        missing.append(u"/nonexistent/%1"_s.arg(i));
    }
    HistoryWindow& window = open();
    const auto isShown = [this](int row) {
        const int top = table().rowViewportPosition(row);
        return top >= 0 && top < table().viewport()->height();
    };
    m_controller->uploadFiles(missing + QStringList{ makeFile(u"a"_s) } + missing + QStringList{ makeFile(u"b"_s) });
    for (int i = 0; i <= 100; ++i) {
        tick();
    }
    EXPECT_TRUE(waitFor([&isShown] { return isShown(100); }));

    table().scrollToTop();
    finishUpload();
    for (int i = 0; i <= 100; ++i) {
        tick();
    }
    ASSERT_EQ(m_controller->history().currentRow(), 201);
    EXPECT_TRUE(waitFor([this] { return part<QLabel>("summaryLabel").text() == u"1 confirmed, 200 failed"_s; }));
    EXPECT_TRUE(isShown(0));

    window.close();
    open();
    EXPECT_TRUE(isShown(201));
}

TEST_F(HistoryWindowTest, TheSummaryFollowsSoonButNotAtOnceAlsoWhileFilesKeepComing)
{
    open();
    const auto summary = [this] { return part<QLabel>("summaryLabel").text(); };
    const QString before = summary();
    const Metronome fourTimesASecond(250ms);

    m_controller->uploadFiles({ u"/nonexistent"_s });
    EXPECT_EQ(summary(), before);
    EXPECT_TRUE(waitFor([this, &summary, &before] {
        m_controller->uploadFiles({ u"/nonexistent"_s });
        return summary() != before;
    }));

    EXPECT_LE(fourTimesASecond.beats(), 4);
}

TEST_F(HistoryWindowTest, EscapeClosesIt)
{
    HistoryWindow& window = open();
    ASSERT_TRUE(waitFor([&window] { return window.isActiveWindow(); }));

    QTest::keyClick(&table(), Qt::Key_Escape);

    EXPECT_FALSE(window.isVisible());
}

TEST_F(HistoryWindowTest, ItsSizeAndColumnsAreRemembered)
{
    HistoryWindow& window = open();
    window.resize(700, 300);
    window.columns().resizeSection(1, 123);
    m_controller->windows().remember();

    startAgain();

    EXPECT_EQ(open().size(), QSize(700, 300));
    EXPECT_EQ(m_controller->windows().historyWindow()->columns().sectionSize(1), 123);
}

TEST_F(HistoryWindowTest, AHundredThousandLinesAreNoBurden)
{
    QStringList missing;
    for (int i = 0; i < 100'000; ++i) {
        missing.append(u"/nonexistent/%1"_s.arg(i));
    }
    open();
    m_controller->history().filesQueued(missing);
    table().selectAll();
    for (int i = 0; i < missing.size(); ++i) {
        m_controller->history().nextFileStarts(u"ftp://host/"_s);
        m_controller->history().fileEnded({ .kind = Outcome::NotFound });
        if (i % 1000 == 0) {
            QApplication::processEvents();
        }
    }

    EXPECT_TRUE(waitFor([this] { return part<QLabel>("summaryLabel").text() == u"100,000 failed"_s; }));
    EXPECT_TRUE(queueAgain().isEnabled());
}

} // namespace
