#include "HistoryWindow.h"

#include "DestinationSettings.h"
#include "HistoryCopy.h"
#include "HistoryText.h"
#include "Metronome.h"
#include "ResidentMemory.h"
#include "TextTable.h"
#include "ViewControllerTest.h"

#include <QAction>
#include <QCheckBox>
#include <QClipboard>
#include <QHeaderView>
#include <QLineEdit>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>

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

    /// Of files of this run.
    QString lines(const QList<int>& numbers) const
    {
        QString text = HistoryText::line(HistoryText::titles());
        for (const int number : numbers) {
            text += HistoryText::line(HistoryText::fields(m_controller->ledger().row(number).entry));
        }
        return text;
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
    EXPECT_TRUE(
        waitFor([this] { return part<QLabel>("summaryLabel").text() == u"This run: 1 confirmed, 1 failed"_s; }));
}

TEST_F(HistoryWindowTest, NoColumnIsCutAndTheOutcomeTakesWhatTheOthersLeave)
{
    constexpr auto outcome = static_cast<int>(HistoryText::Column::Outcome);
    HistoryWindow& window = open();
    int shown = 0;
    for (const int width : { 1300, 900, 680, 600 }) {
        window.resize(width, 400);
        drainEventLoop();

        EXPECT_EQ(window.columns().length(), table().viewport()->width()) << width;
        EXPECT_GE(table().columnWidth(outcome), columnWidthFor(table(), u"Confirmed by the server"_s)) << width;
        shown = window.columns().count() - window.columns().hiddenSectionCount();
        EXPECT_EQ(shown == window.columns().count(), width == 1300);
    }
    EXPECT_GE(shown, 3);

    window.resize(1300, 400);
    drainEventLoop();
    EXPECT_EQ(window.columns().hiddenSectionCount(), 0);
    EXPECT_LE(table().columnWidth(outcome + 1), columnWidthFor(table(), QString(20, u'x')));
}

TEST_F(HistoryWindowTest, ColumnsThatAreRememberedOtherwiseFitAllTheSame)
{
    open();
    HistoryWindow& window = *m_controller->windows().historyWindow();
    for (int column = 0; column < window.columns().count(); ++column) {
        window.columns().setSectionResizeMode(column, QHeaderView::Interactive);
        window.columns().resizeSection(column, 300);
    }
    window.columns().setStretchLastSection(true);
    m_controller->windows().remember();

    startAgain();
    open();
    drainEventLoop();

    HistoryWindow& again = *m_controller->windows().historyWindow();
    EXPECT_EQ(again.columns().length(), table().viewport()->width());
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
    EXPECT_EQ(QApplication::clipboard()->text(), lines({ 0, 1, 2 }));

    table().selectRow(2);
    part<QAction>("copyHistoryAction").trigger();
    EXPECT_EQ(QApplication::clipboard()->text(), lines({ 2 }));
}

TEST_F(HistoryWindowTest, ManyLinesAreCopiedWithoutHoldingUpTheLoop)
{
    QStringList paths;
    for (int i = 0; i < 20'000; ++i) {
        paths.append(u"/nonexistent/%1"_s.arg(i));
    }
    QApplication::clipboard()->setText(u"before"_s);
    open();
    m_controller->history().filesQueued(paths);
    ASSERT_TRUE(waitFor([this] { return copy().isEnabled(); }));

    copy().click();

    EXPECT_EQ(QApplication::clipboard()->text(), u"before"_s);
    ASSERT_TRUE(waitFor([] { return QApplication::clipboard()->text() != u"before"_s; }));
    EXPECT_EQ(QApplication::clipboard()->text().count(u'\n'), 20'001);
    copy().click();
    QApplication::clipboard()->setText(u"something else"_s); // It stays.
    EXPECT_TRUE(
        waitFor([this] { return m_controller->windows().historyWindow()->findChild<HistoryCopy*>() == nullptr; }));
    EXPECT_EQ(QApplication::clipboard()->text(), u"something else"_s);
}

TEST_F(HistoryWindowTest, OfConfirmedFilesAloneTheWebLinkCanBeCopied)
{
    open();
    fillWithThree();
    ASSERT_TRUE(waitFor([this] { return copy().isEnabled(); }));
    auto& copyWebLink = part<QAction>("copyWebLinkAction");
    table().selectRow(1);
    EXPECT_FALSE(copyWebLink.isVisible()); // There is no web address.

    set(u"WebAddress"_s, u"https://www.example.com/files"_s);
    table().selectRow(0);
    EXPECT_TRUE(copyWebLink.isVisible());
    EXPECT_FALSE(copyWebLink.isEnabled());
    table().selectAll();
    ASSERT_TRUE(copyWebLink.isEnabled());
    copyWebLink.trigger();

    EXPECT_EQ(QApplication::clipboard()->text(), u"https://www.example.com/files/good"_s);
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
    EXPECT_TRUE(
        waitFor([this] { return part<QLabel>("summaryLabel").text() == u"This run: 1 confirmed, 200 failed"_s; }));
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
    window.columns().resizeSection(0, 123);
    m_controller->windows().remember();

    startAgain();

    EXPECT_EQ(open().size(), QSize(700, 300));
    EXPECT_EQ(m_controller->windows().historyWindow()->columns().sectionSize(0), 123);
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
        m_controller->history().nextFileStarts({ u"ftp://host/"_s });
        m_controller->history().fileEnded({ .kind = Outcome::NotFound });
        if (i % 1000 == 0) {
            QApplication::processEvents();
        }
    }

    EXPECT_TRUE(waitFor([this] { return part<QLabel>("summaryLabel").text() == u"This run: 100,000 failed"_s; }));
    EXPECT_TRUE(queueAgain().isEnabled());
}

/// With a ledger, in which there is a run of another copy.
class LedgerWindowTest : public HistoryWindowTest {
protected:
    LedgerWindowTest()
    {
        UploadHistory history;
        UploadLedger ledger(history);
        ledger.open(m_path, u"Bilder"_s);
        m_lost = makeFile(u"lost"_s);
        history.filesQueued({ makeFile(u"arrived"_s), m_lost });
        history.nextFileStarts(DestinationSettings::destination());
        history.fileMoves(5);
        history.fileConfirmed(5, u"226 Done"_s);
        history.nextFileStarts(DestinationSettings::destination());
        history.fileEnded({ .kind = Outcome::ConnectionLost, .status = u"Gone"_s });
        EXPECT_TRUE(ledger.close(60s));
    }
    void execute(const QString& statement) const
    {
        {
            QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"test"_s);
            database.setDatabaseName(m_path);
            EXPECT_TRUE(database.open());
            EXPECT_TRUE(QSqlQuery(database).exec(statement));
        }
        QSqlDatabase::removeDatabase(u"test"_s);
    }
    void openLedger() { m_controller->ledger().open(m_path, u"Quillbox"_s); }

    QStringList column(HistoryText::Column column)
    {
        QStringList texts;
        for (int row = 0; row < table().model()->rowCount(); ++row) {
            texts.append(table().model()->index(row, static_cast<int>(column)).data().toString());
        }
        return texts;
    }
    bool waitForNames(const QStringList& names)
    {
        return waitFor([this, &names] { return column(HistoryText::Column::File) == names; });
    }

    QTemporaryDir m_state;
    QString m_path = m_state.filePath(u"history.sqlite"_s);
    QString m_lost;
};

TEST_F(LedgerWindowTest, ItShowsAllRunsAndWhichCopyEachFileIsOf)
{
    openLedger();
    open();
    m_controller->uploadFiles({ makeFile(u"mine"_s) });

    EXPECT_TRUE(waitForNames({ u"arrived"_s, u"lost"_s, u"mine"_s }));
    EXPECT_EQ(column(HistoryText::Column::Copy), (QStringList{ u"Bilder"_s, u"Bilder"_s, u"Quillbox"_s }));
    EXPECT_EQ(column(HistoryText::Column::Outcome)[1], u"Failed: Gone"_s);
    EXPECT_FALSE(column(HistoryText::Column::Time).contains(QString()));
    EXPECT_TRUE(part<QLabel>("placeLabel").text().contains(m_path));
    tick();
    finishUpload();
    EXPECT_EQ(column(HistoryText::Column::Outcome)[2], u"Confirmed by the server"_s); // At once.
}

TEST_F(LedgerWindowTest, TheFieldAndTheBoxChooseWhatIsShownAndFilesThatComeShowThen)
{
    openLedger();
    open();
    part<QLineEdit>("filterField").setText(u"/lo"_s);
    EXPECT_TRUE(waitForNames({ u"lost"_s }));
    part<QLineEdit>("filterField").clear();
    part<QCheckBox>("failedOnlyCheckBox").setChecked(true);
    EXPECT_TRUE(waitForNames({ u"lost"_s }));
    m_controller->history().filesQueued({ u"/mine"_s });
    m_controller->history().nextFileStarts({ u"ftp://host/"_s });
    m_controller->history().fileEnded({ .kind = Outcome::NotFound });
    EXPECT_TRUE(waitForNames({ u"lost"_s, u"mine"_s }));

    m_controller->windows().showHistory(
        { LedgerKey{ .row = 0, .number = 0 } }); // From the line about the queue: the filter must not hide it.
    EXPECT_TRUE(waitForNames({ u"arrived"_s, u"lost"_s, u"mine"_s }));
    ASSERT_TRUE(waitFor([this] { return !table().selectionModel()->selectedRows().isEmpty(); }));
    EXPECT_EQ(table().selectionModel()->selectedRows()[0].row(), 2);
}

TEST_F(LedgerWindowTest, AClickOnATitleSortsAndTheThirdOneNoMore)
{
    openLedger();
    HistoryWindow& window = open();
    ASSERT_TRUE(waitForNames({ u"arrived"_s, u"lost"_s }));
    table().selectRow(1);
    const auto click = [&window] {
        QHeaderView& columns = window.columns();
        const int left = columns.sectionViewportPosition(static_cast<int>(HistoryText::Column::File));
        QTest::mouseClick(columns.viewport(), Qt::LeftButton, {}, { left + 20, columns.height() / 2 });
    };
    click();
    click();

    EXPECT_TRUE(waitForNames({ u"lost"_s, u"arrived"_s }));
    ASSERT_EQ(table().selectionModel()->selectedRows().size(), 1);
    EXPECT_EQ(table().selectionModel()->selectedRows()[0].row(), 0); // The selection stays on its file.
    click();
    EXPECT_TRUE(waitForNames({ u"arrived"_s, u"lost"_s }));
}

TEST_F(LedgerWindowTest, AFileOfAnEarlierRunIsQueuedAgain)
{
    openLedger();
    open();
    ASSERT_TRUE(waitForNames({ u"arrived"_s, u"lost"_s }));
    table().selectRow(0);
    EXPECT_FALSE(queueAgain().isEnabled());
    table().selectRow(1);
    ASSERT_TRUE(queueAgain().isEnabled());
    queueAgain().click();

    EXPECT_TRUE(waitForNames({ u"arrived"_s, u"lost"_s, u"lost"_s }));
    EXPECT_TRUE(
        waitFor([this] { return column(HistoryText::Column::Outcome)[1] == u"Failed: Gone (queued again)"_s; }));
    EXPECT_EQ(m_controller->history().entries()[0].path, m_lost);
}

TEST_F(LedgerWindowTest, FilesOfAnotherCopyThatRunsAreShownAsTheyComeAndEnd)
{
    openLedger();
    open();
    ASSERT_TRUE(waitForNames({ u"arrived"_s, u"lost"_s }));
    UploadHistory history;
    UploadLedger ledger(history);
    ledger.open(m_path, u"Bilder"_s);
    history.filesQueued({ u"/other"_s });
    EXPECT_TRUE(waitForNames({ u"arrived"_s, u"lost"_s, u"other"_s }));
    EXPECT_EQ(column(HistoryText::Column::Outcome)[2], u"Waiting"_s);
    history.nextFileStarts({ u"ftp://host/in/"_s });
    history.fileEnded({ .kind = Outcome::NotFound });

    EXPECT_TRUE(waitFor([this] { return column(HistoryText::Column::Outcome)[2] == u"Not found"_s; }));
}

TEST_F(LedgerWindowTest, AHistoryThatCannotBeReadIsSaidInALineAndWhatWasQueuedAgain)
{
    openLedger();
    open();
    ASSERT_TRUE(waitForNames({ u"arrived"_s, u"lost"_s }));
    execute(u"ALTER TABLE files RENAME TO gone"_s);
    table().selectRow(1);
    queueAgain().click();

    EXPECT_TRUE(
        waitFor([this] { return part<QLabel>("placeLabel").text().startsWith(u"The history cannot be read: "_s); }));
    ASSERT_TRUE(waitFor([] { return !shownSheets().isEmpty(); }));
    EXPECT_TRUE(shownSheets().first().startsWith(u"Queue Again: The history cannot be read: "_s));
    execute(u"ALTER TABLE gone RENAME TO files"_s);
    part<QLineEdit>("filterField").setText(u"/lo"_s);
    EXPECT_TRUE(waitForNames({ u"lost"_s }));
    EXPECT_TRUE(part<QLabel>("placeLabel").text().contains(m_path));
}

TEST_F(LedgerWindowTest, AfterAChangeOfServerQueueAgainAsksAndNamesBoth)
{
    openLedger();
    open();
    ASSERT_TRUE(waitForNames({ u"arrived"_s, u"lost"_s }));
    set(u"Address"_s, u"other"_s);
    table().selectRow(1);
    queueAgain().click();

    const QString question = u"Queue Again: These files were for ftp://host/in/; send them to ftp://other/in/?"_s;
    EXPECT_TRUE(waitFor([this, &question] { return shownSheets().contains(question); }));
    EXPECT_TRUE(m_controller->fileUploadQueue().isEmpty());
}

TEST_F(LedgerWindowTest, WhileNobodySeesItNothingIsAskedAndAfterwardsItShowsWhatHasCome)
{
    openLedger();
    HistoryWindow& window = open();
    part<QCheckBox>("failedOnlyCheckBox").setChecked(true);
    ASSERT_TRUE(waitForNames({ u"lost"_s }));
    window.close();
    m_controller->history().filesQueued({ u"/mine"_s });
    m_controller->history().nextFileStarts({ u"ftp://host/"_s });
    m_controller->history().fileEnded({ .kind = Outcome::NotFound });
    const QList<QTimer*> timers = table().model()->findChildren<QTimer*>();
    ASSERT_FALSE(timers.isEmpty());
    for (const QTimer* const timer : timers) {
        EXPECT_FALSE(timer->isActive());
    }
    window.show();

    EXPECT_TRUE(waitForNames({ u"lost"_s, u"mine"_s }));
}

TEST_F(LedgerWindowTest, TheKeyboardGoesOnFromTheRowThatItWasIn)
{
    openLedger();
    HistoryWindow& window = open();
    ASSERT_TRUE(waitForNames({ u"arrived"_s, u"lost"_s }));
    table().setCurrentIndex(table().model()->index(0, 3));
    window.columns().setSortIndicator(static_cast<int>(HistoryText::Column::File), Qt::DescendingOrder);
    ASSERT_TRUE(waitForNames({ u"lost"_s, u"arrived"_s }));

    EXPECT_EQ(table().currentIndex().row(), 1);
    EXPECT_EQ(table().currentIndex().column(), 3);
}

TEST_F(LedgerWindowTest, FilesThatHaveGoneAreNotSelectedWhenTheyAreThereAgainLater)
{
    openLedger();
    open();
    ASSERT_TRUE(waitForNames({ u"arrived"_s, u"lost"_s }));
    execute(u"UPDATE files SET row = 10 WHERE row = 2"_s);
    m_controller->windows().showHistory({ LedgerKey{ .row = 2 } });
    ASSERT_TRUE(waitForNames({ u"arrived"_s, u"lost"_s }));
    table().clearSelection();
    execute(u"UPDATE files SET row = 2 WHERE row = 10"_s);
    execute(u"UPDATE files SET row = 3 WHERE row = 1"_s);
    m_controller->ledger().lookForOthers();
    ASSERT_TRUE(waitForNames({ u"lost"_s, u"arrived"_s }));

    EXPECT_TRUE(table().selectionModel()->selectedRows().isEmpty());
}

TEST_F(LedgerWindowTest, AfterClearingQueueAgainTakesNothingThatIsNotShown)
{
    openLedger();
    open();
    fillWithThree();
    ASSERT_TRUE(waitFor([this] { return queueAgain().isEnabled(); }));
    m_controller->ledger().clear();
    ASSERT_TRUE(waitForNames({ u"waiting"_s }));

    EXPECT_TRUE(waitFor([this] { return !queueAgain().isEnabled(); }));
}

TEST_F(LedgerWindowTest, ClearingAsksAndLeavesWhatWaits)
{
    openLedger();
    HistoryWindow& window = open();
    unset(u"Address"_s);
    m_controller->history().filesQueued({ u"/mine"_s });
    ASSERT_TRUE(waitForNames({ u"arrived"_s, u"lost"_s, u"mine"_s }));
    part<QPushButton>("clearHistoryButton").click();
    auto* const sheet = window.findChild<AlertDialog*>();
    ASSERT_NE(sheet, nullptr);
    for (QAbstractButton* const button : sheet->buttons()) {
        if (button->text() == u"Clear"_s) {
            button->click();
        }
    }

    EXPECT_TRUE(waitForNames({ u"mine"_s }));
}

TEST_F(LedgerWindowTest, TwoHundredThousandRowsAreThereSoonAndOnlyWhatIsSeenIsRead)
{
    execute(u"WITH RECURSIVE numbers(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM numbers WHERE n < 200000) "
            "INSERT INTO files (run, number, copy, folder, name, outcome, size, durationMs, time, reply) "
            "SELECT 7, n, CAST('Bilder' AS BLOB), CAST('/home/anna/folder' AS BLOB), CAST('file ' || n AS BLOB), 2, n, "
            "n % 1000, 1000 * unixepoch(), '226 Done' FROM numbers"_s);
    m_controller->ledger().open(m_path, u"Quillbox"_s, { .files = 1'000'000, .days = 90 });
    open();
    const qint64 before = residentMemory();
    ASSERT_TRUE(waitFor([this] { return table().model()->rowCount() == 200'002; }));
    const auto seen = [this](int row) { return table().model()->index(row, 0).data().toString(); };
    EXPECT_TRUE(waitFor([&seen] { return seen(200'001) == u"file 200000"_s; }));
    for (int row = 0; row < 200'000; row += 1000) {
        table().scrollTo(table().model()->index(row, 0));
        QApplication::processEvents();
    }
    EXPECT_TRUE(waitFor([&seen] { return seen(100'001) == u"file 100000"_s; }));

    EXPECT_LT(residentMemory() - before, (qint64{ 50 } << 20) + sanitizerMemory); // All of them take twice as much.
}

} // namespace
