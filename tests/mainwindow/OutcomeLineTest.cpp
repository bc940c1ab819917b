#include "OutcomeLine.h"

#include "DelayedAlert.h"
#include "Delays.h"
#include "DestinationSettings.h"
#include "HistoryWindow.h"
#include "NetworkManager.h"
#include "QueueAgain.h"
#include "TreePath.h"
#include "ViewControllerTest.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>
#include <QToolButton>

using namespace std::chrono_literals;

namespace {

class OutcomeLineTest : public ViewControllerTest {
protected:
    OutcomeLine& line() { return control<OutcomeLine>("outcomeLine"); }
    QToolButton& tool(const char* name) { return control<QToolButton>(name); }
    bool isWarning() { return line().findChildren<QLabel*>().first()->isVisibleTo(&line()); }

    /// Has the next file of the queue sent and confirmed.
    void confirmNext()
    {
        tick();
        finishUpload();
    }
    /// Has the next file of the queue refused.
    void refuseNext()
    {
        tick();
        upload().sendRefusal(552);
    }
    /// Ends the listing that runs, with what @p rows say.
    void list(const QByteArray& rows)
    {
        latest(Kind::Listing).sendOpenCompleted();
        latest(Kind::Listing).sendBytes(rows);
        latest(Kind::Listing).sendEnd();
    }
    /// Presses the button of that name with the keyboard, and answers what has the keyboard then.
    const QWidget* pressByKeyboard(const char* name)
    {
        tool(name).setFocus();
        EXPECT_EQ(m_controller->window().focusWidget(), &tool(name));
        QTest::keyClick(&tool(name), Qt::Key_Space);
        return m_controller->window().focusWidget();
    }
    const QWidget* table() { return &control<QWidget>("destinationListingTable"); }
    void loseOneOfTwo()
    {
        m_lost = makeFile(u"lost"_s);
        m_controller->uploadFiles({ makeFile(u"good"_s), m_lost });
        confirmNext();
        refuseNext();
        tick();
    }

    QString m_lost;
};

TEST_F(OutcomeLineTest, TheWebLinksOfConfirmedFilesCanBeCopied)
{
    loseOneOfTwo();
    EXPECT_FALSE(tool("copyOutcomeWebLinkButton").isVisible()); // There is no web address.
    set(u"WebAddress"_s, u"https://www.example.com/files/"_s);
    m_controller->uploadFiles({ m_lost });
    refuseNext();
    EXPECT_FALSE(tool("copyOutcomeWebLinkButton").isVisible()); // Nothing was confirmed.

    m_controller->uploadFiles({ makeFile(u"good one"_s), m_lost, makeFile(u"other"_s) });
    confirmNext();
    refuseNext();
    confirmNext();

    ASSERT_TRUE(tool("copyOutcomeWebLinkButton").isVisible());
    tool("copyOutcomeWebLinkButton").click();
    EXPECT_EQ(QApplication::clipboard()->text(),
              u"https://www.example.com/files/good%20one\nhttps://www.example.com/files/other"_s);
}

TEST_F(OutcomeLineTest, AfterAQueueItSaysWhatHasBecomeOfItUntilTheNextOneBegins)
{
    EXPECT_FALSE(line().isVisible());
    m_controller->uploadFiles(
        { makeFile(u"a"_s), makeFile(u"b"_s), u"/nonexistent"_s, makeFile(u"c"_s), makeFile(u"d"_s) });
    confirmNext();
    refuseNext();
    tick(); // The one that is not there.
    confirmNext();
    EXPECT_FALSE(line().isVisible());
    confirmNext();

    EXPECT_TRUE(line().isVisible());
    EXPECT_EQ(text("outcomeTextField"), u"3 of 5 uploaded, 2 failed"_s);
    EXPECT_TRUE(isWarning());
    tick();
    EXPECT_EQ(text("statusTextField"), u"Upload succeeded"_s);

    m_controller->uploadFiles({ makeFile(u"e"_s) });
    EXPECT_FALSE(line().isVisible());
}

TEST_F(OutcomeLineTest, NothingIsRedAboutWhatWasLeftOutOrStopped)
{
    ASSERT_TRUE(QDir(m_directory.path()).mkdir(u"folder"_s));
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s) }, { m_directory.filePath(u"folder"_s) });
    confirmNext();
    confirmNext();
    EXPECT_EQ(text("outcomeTextField"), u"2 uploaded, 1 left out"_s);
    EXPECT_FALSE(isWarning());
    EXPECT_FALSE(tool("queueOutcomeAgainButton").isVisible());

    m_controller->uploadFiles({ makeFile(u"c"_s) });
    tick();
    m_controller->stopButtonAction();
    EXPECT_EQ(text("outcomeTextField"), u"“c” stopped"_s);
    EXPECT_FALSE(isWarning());
    EXPECT_TRUE(tool("queueOutcomeAgainButton").isVisible());
}

TEST_F(OutcomeLineTest, AListingThatKnowsBetterCorrectsIt)
{
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s) });
    confirmNext();
    confirmNext();
    EXPECT_EQ(text("outcomeTextField"), u"2 uploaded"_s);
    EXPECT_FALSE(isWarning());

    list("-rw-r--r-- 1 u g 4 Jan 1 2024 a\r\n-rw-r--r-- 1 u g 5 Jan 1 2024 b\r\n"); // One that ran with the first file.
    tick();
    list("-rw-r--r-- 1 u g 4 Jan 1 2024 a\r\n-rw-r--r-- 1 u g 5 Jan 1 2024 b\r\n");

    EXPECT_EQ(text("outcomeTextField"), u"1 of 2 uploaded, 1 failed"_s);
    EXPECT_TRUE(isWarning());
}

TEST_F(OutcomeLineTest, WhatIsNotListedIsSaidAndIsNotRedAndStaysDismissed)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    confirmNext();
    list({});
    EXPECT_EQ(text("outcomeTextField"), u"“a” uploaded, but not listed"_s);
    EXPECT_FALSE(isWarning());

    tool("dismissOutcomeButton").click();
    m_controller->listFTPDestination();
    list("-rw-r--r-- 1 u g 4 Jan 1 2024 a\r\n");

    EXPECT_EQ(m_controller->history().queueTally(), FileTally{ .otherSize = 1 });
    EXPECT_FALSE(line().isVisible());
}

TEST_F(OutcomeLineTest, ToScreenReadersItIsAnAlertThatSaysWhatItShows)
{
    loseOneOfTwo();

    const QAccessibleInterface* const interface = QAccessible::queryAccessibleInterface(&line());

    EXPECT_EQ(interface->role(), QAccessible::AlertMessage);
    EXPECT_EQ(interface->text(QAccessible::Name), u"1 of 2 uploaded, 1 failed"_s);
}

TEST_F(OutcomeLineTest, ItCanBeDismissed)
{
    loseOneOfTwo();
    ASSERT_TRUE(line().isVisible());

    tool("dismissOutcomeButton").click();

    EXPECT_FALSE(line().isVisible());
}

TEST_F(OutcomeLineTest, ShowSelectsTheFilesInTheHistory)
{
    loseOneOfTwo();

    tool("showOutcomeButton").click();

    ASSERT_NE(m_controller->windows().historyWindow(), nullptr);
    const auto* const table = m_controller->windows().historyWindow()->findChild<QTableView*>(u"historyTable"_s);
    const QModelIndexList rows = table->selectionModel()->selectedRows();
    ASSERT_EQ(rows.size(), 1);
    EXPECT_EQ(rows.first().row(), 1);
}

TEST_F(OutcomeLineTest, QueueAgainTakesWhatCanWork)
{
    const QString gone = makeFile(u"gone"_s);
    m_controller->uploadFiles({ makeFile(u"lost"_s), gone });
    refuseNext();
    refuseNext();
    tick();
    ASSERT_TRUE(QFile::remove(gone));

    tool("queueOutcomeAgainButton").click();

    EXPECT_EQ(m_controller->fileUploadQueue(), QStringList{ m_directory.filePath(u"lost"_s) });
    EXPECT_FALSE(line().isVisible());
}

TEST_F(OutcomeLineTest, AListingThatBringsNoNewsDoesNotLookForTheLostFilesAgain)
{
    loseOneOfTwo();
    ASSERT_TRUE(tool("queueOutcomeAgainButton").isVisible());
    for (const QString& name : QDir(m_directory.path()).entryList(QDir::Files)) {
        ASSERT_TRUE(QFile::remove(m_directory.filePath(name)));
    }

    m_controller->listFTPDestination();
    list({});

    EXPECT_TRUE(tool("queueOutcomeAgainButton").isVisible());
}

TEST_F(OutcomeLineTest, WhatCanBeQueuedAgainIsAskedForEachQueue)
{
    m_controller->uploadFiles({ makeFile(u"a"_s), u"/nonexistent"_s });
    confirmNext();
    tick();
    ASSERT_EQ(text("outcomeTextField"), u"1 of 2 uploaded, 1 failed"_s);
    EXPECT_FALSE(tool("queueOutcomeAgainButton").isVisible());

    loseOneOfTwo();

    ASSERT_EQ(text("outcomeTextField"), u"1 of 2 uploaded, 1 failed"_s);
    EXPECT_TRUE(tool("queueOutcomeAgainButton").isVisible());
}

TEST_F(OutcomeLineTest, AListingThatBreaksOffCorrectsByWhatItHasBrought)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    confirmNext();
    latest(Kind::Listing).sendOpenCompleted();
    latest(Kind::Listing).sendBytes("-rw-r--r-- 1 u g 2 Jan 1 2024 a\r\n");
    latest(Kind::Listing).sendOtherError();

    EXPECT_TRUE(waitFor([this] { return text("outcomeTextField") == u"“a” not uploaded whole"_s; }));
    EXPECT_TRUE(isWarning());
}

TEST_F(OutcomeLineTest, QueueAgainWithoutADestinationQueuesNothing)
{
    loseOneOfTwo();
    unset(u"Address"_s);

    tool("queueOutcomeAgainButton").click();

    EXPECT_TRUE(m_controller->fileUploadQueue().isEmpty());
    EXPECT_EQ(shownSheets().size(), 1);
}

TEST_F(OutcomeLineTest, AnotherDestinationThanTheOneAgreedToIsAskedAboutAgain)
{
    loseOneOfTwo();
    set(u"FTPFolder"_s, u"other"_s);
    tool("queueOutcomeAgainButton").click();
    set(u"FTPFolder"_s, u"third"_s);

    answerSheet(u"Send"_s);

    EXPECT_TRUE(m_controller->fileUploadQueue().isEmpty());
    EXPECT_TRUE(waitFor([] { return shownSheets().join(u' ').contains(u"ftp://host/third/"_s); }));
}

TEST_F(OutcomeLineTest, QueueAgainAsksAlsoAboutFilesThatWereRemovedBeforeTheyWereStarted)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    m_controller->clearQueue();
    set(u"FTPFolder"_s, u"other"_s);
    queueAgain(*m_controller, { { .number = 0 } });

    EXPECT_TRUE(m_controller->fileUploadQueue().isEmpty());
    EXPECT_EQ(shownSheets().size(), 1);
}

TEST_F(OutcomeLineTest, WhatIsThereAndCannotBeQueuedAgainIsNotCalledGone)
{
    const QString loop = m_directory.filePath(u"loop"_s);
    QFile::link(loop, loop); // Nobody can look at it, whatever is allowed.
    const QString unread
        = QString::fromUtf8(TreePath::ofUnread(TreePath::ofFolder("", m_directory.path().toUtf8().sliced(1))));
    for (const QString& path : { loop, unread }) {
        m_controller->history().filesQueued({ u"/nonexistent"_s, path });
        QList<LedgerKey> keys;
        for (int file = 0; file < 2; ++file) {
            m_controller->history().nextFileStarts(DestinationSettings::destination());
            m_controller->history().fileEnded({ .kind = UploadOutcome::Kind::NotReadable });
            keys.append(LedgerKey{ .number = m_controller->history().rowCount() - 2 + file });
        }

        queueAgain(*m_controller, keys);

        EXPECT_EQ(
            shownSheets(),
            QStringList{ u"Queue Again: None of these can be read as a file. A folder is looked through when it is "
                         "dropped again."_s })
            << path.toStdString();
        answerSheet();
    }
}

TEST_F(OutcomeLineTest, ManyFilesAreLookedForWithoutHoldingUpTheLoop)
{
    QStringList missing;
    for (int i = 0; i < 20'000; ++i) {
        missing.append(u"/nonexistent/%1"_s.arg(i));
    }
    m_controller->history().filesQueued(missing);
    for (int i = 0; i < missing.size(); ++i) {
        m_controller->history().nextFileStarts(DestinationSettings::destination());
        m_controller->history().fileEnded({ .kind = UploadOutcome::Kind::NotFound });
    }
    tool("queueOutcomeAgainButton").click();

    EXPECT_TRUE(shownSheets().isEmpty());
    EXPECT_TRUE(waitFor(
        [] { return shownSheets() == QStringList{ u"Queue Again: None of these files is there any more."_s }; }));
}

TEST_F(OutcomeLineTest, QueueAgainAsksBeforeItSendsToAnotherDestination)
{
    loseOneOfTwo();
    set(u"FTPFolder"_s, u"other"_s);

    tool("queueOutcomeAgainButton").click();

    EXPECT_TRUE(m_controller->fileUploadQueue().isEmpty());
    EXPECT_EQ(shownSheets(),
              QStringList{ u"Queue Again: These files were for ftp://host/in/; send them to "
                           "ftp://host/other/?"_s });
    answerSheet(u"Send"_s);
    EXPECT_EQ(m_controller->fileUploadQueue(), QStringList{ m_lost });
}

TEST_F(OutcomeLineTest, AnotherUserIsNamedWhenQueueAgainAsks)
{
    loseOneOfTwo();
    set(u"Username"_s, u"bob"_s);

    tool("queueOutcomeAgainButton").click();

    ASSERT_EQ(shownSheets().size(), 1);
    EXPECT_TRUE(shownSheets().first().endsWith(u"; send them to ftp://host/in/ (bob, not encrypted)?"_s))
        << shownSheets().first().toStdString();
}

TEST_F(OutcomeLineTest, AFileThatWasQueuedAgainGoesToNoOtherDestinationThatComesIntoForceBeforeItsTurn)
{
    loseOneOfTwo();
    tool("queueOutcomeAgainButton").click();
    ASSERT_EQ(m_controller->fileUploadQueue(), QStringList{ m_lost });
    set(u"FTPFolder"_s, u"other"_s);
    tick();

    EXPECT_FALSE(m_controller->pc().isSending());
    EXPECT_TRUE(m_controller->fileUploadQueue().isEmpty());
    EXPECT_EQ(text("outcomeTextField"),
              u"“%1” removed, no other try, as another destination is in force"_s.arg(QFileInfo(m_lost).fileName()));
}

TEST_F(OutcomeLineTest, WhileTheQueueLastsItsWordsStandBehindTheNumberOfThoseThatWait)
{
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s), makeFile(u"c"_s) });
    tick();
    EXPECT_EQ(text("waitingTextField"), u"3 waiting"_s);
    upload().sendRefusal(552);
    tick();
    tick();

    EXPECT_EQ(text("waitingTextField"), u"1 waiting – 0 of 1 uploaded, 1 failed"_s);
    EXPECT_FALSE(line().isVisible());
}

TEST_F(OutcomeLineTest, AManualUploadIsNoQueue)
{
    m_controller->windows().manualTransfers().startStopUpload();
    tick();

    EXPECT_FALSE(line().isVisible());
}

/// After a run that has ended while files waited.
class InterruptedFilesTest : public OutcomeLineTest {
protected:
    InterruptedFilesTest()
    {
        UploadHistory history;
        UploadLedger ledger(history);
        ledger.open(m_path, u"Quillbox"_s);
        m_waiting = makeFile(u"waiting"_s);
        history.filesQueued({ makeFile(u"sending"_s), m_waiting });
        history.nextFileStarts(DestinationSettings::destination());
        EXPECT_TRUE(ledger.close(60s));
        m_controller->ledger().open(m_path, u"Quillbox"_s);
    }
    bool waitForLine()
    {
        return waitFor([this] { return line().isVisible(); });
    }

    QTemporaryDir m_state;
    QString m_path = m_state.filePath(u"history.sqlite"_s);
    QString m_waiting;
};

TEST_F(InterruptedFilesTest, TheLineSaysHowManyAndNothingIsQueuedWithoutThePress)
{
    ASSERT_TRUE(waitForLine());
    m_controller->listFTPDestination();
    list({}); // Which knows nothing of them.

    EXPECT_EQ(text("outcomeTextField"), u"2 files were not confirmed"_s);
    EXPECT_TRUE(isWarning());
    EXPECT_TRUE(tool("queueOutcomeAgainButton").isVisible());
    tick();
    EXPECT_TRUE(m_controller->fileUploadQueue().isEmpty());
    EXPECT_FALSE(m_controller->pc().isSending());
}

TEST_F(InterruptedFilesTest, QueueAgainPutsThemIntoTheQueueInTheirOrder)
{
    ASSERT_TRUE(waitForLine());
    tool("queueOutcomeAgainButton").click();

    ASSERT_TRUE(waitFor([this] { return m_controller->history().rowCount() == 2; }));
    EXPECT_EQ(m_controller->history().entries()[1].path, m_waiting);
    EXPECT_TRUE(waitFor([this] { return m_controller->ledger().interrupted().isEmpty(); }));
    EXPECT_FALSE(line().isVisible());
    tick();
    finishUpload();
    confirmNext();
    EXPECT_EQ(text("outcomeTextField"), u"2 uploaded"_s);
    EXPECT_FALSE(tool("forgetInterruptedButton").isVisible());
}

TEST_F(InterruptedFilesTest, TwoPressesQueueThemOnce)
{
    ASSERT_TRUE(waitForLine());
    tool("queueOutcomeAgainButton").click();
    tool("queueOutcomeAgainButton").click();

    ASSERT_TRUE(waitFor([this] { return m_controller->ledger().interrupted().isEmpty(); }));
    EXPECT_EQ(m_controller->history().rowCount(), 2);
    EXPECT_TRUE(shownSheets().isEmpty());
}

TEST_F(InterruptedFilesTest, ForgottenFilesAreNotAskedAboutAgain)
{
    ASSERT_TRUE(waitForLine());
    tool("forgetInterruptedButton").click();
    EXPECT_FALSE(line().isVisible());
    ASSERT_TRUE(waitFor([this] { return m_controller->ledger().interrupted().isEmpty(); }));

    startAgainWithLedger(m_path);
    EXPECT_FALSE(line().isVisible());
}

TEST_F(InterruptedFilesTest, ForgetLeavesTheKeyboardToTheTable)
{
    ASSERT_TRUE(waitForLine());
    EXPECT_EQ(pressByKeyboard("forgetInterruptedButton"), table());
}

TEST_F(InterruptedFilesTest, ShowSelectsThemInTheHistory)
{
    ASSERT_TRUE(waitForLine());
    tool("showOutcomeButton").click();

    const auto* const table = m_controller->windows().historyWindow()->findChild<QTableView*>(u"historyTable"_s);
    EXPECT_TRUE(waitFor([table] { return table->selectionModel()->selectedRows().size() == 2; }));
}

TEST_F(InterruptedFilesTest, AfterAChangeOfServerQueueAgainAsks)
{
    ASSERT_TRUE(waitForLine());
    set(u"Address"_s, u"other"_s);
    tool("queueOutcomeAgainButton").click();

    const QString question = u"Queue Again: These files were for ftp://host/in/; send them to ftp://other/in/?"_s;
    EXPECT_TRUE(waitFor([this, &question] { return shownSheets().contains(question); }));
    EXPECT_TRUE(m_controller->fileUploadQueue().isEmpty());
}

TEST_F(InterruptedFilesTest, AStartWithFilesSaysSoUntilTheirQueueHasEndedAndAfterwardsUntilItIsDismissed)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) }, { m_directory.path() });
    EXPECT_TRUE(waitForLine());
    EXPECT_EQ(text("outcomeTextField"), u"2 files were not confirmed"_s);
    EXPECT_TRUE(tool("forgetInterruptedButton").isVisible());
    m_controller->uploadFiles({ makeFile(u"b"_s) });
    tick();
    EXPECT_EQ(text("outcomeTextField"), u"2 files were not confirmed"_s);
    finishUpload();
    confirmNext();
    EXPECT_EQ(text("outcomeTextField"), u"2 uploaded, 1 left out"_s);
    EXPECT_FALSE(tool("queueOutcomeAgainButton").isVisible());

    m_controller->uploadFiles({ makeFile(u"c"_s) });
    EXPECT_EQ(text("outcomeTextField"), u"2 files were not confirmed"_s);
    confirmNext();
    tool("dismissOutcomeButton").click();
    EXPECT_TRUE(line().isVisible());
    EXPECT_EQ(text("outcomeTextField"), u"2 files were not confirmed"_s);
    EXPECT_TRUE(tool("queueOutcomeAgainButton").isVisible());
    tool("dismissOutcomeButton").click();
    EXPECT_FALSE(line().isVisible());
    m_controller->uploadFiles({ makeFile(u"d"_s) });
    EXPECT_FALSE(line().isVisible());
    confirmNext();
    EXPECT_FALSE(tool("queueOutcomeAgainButton").isVisible());
    tool("dismissOutcomeButton").click();
    EXPECT_FALSE(line().isVisible());
}

TEST_F(InterruptedFilesTest, TheLineAboutAQueueThatHasEndedStandsBeforeIt)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    confirmNext();
    ASSERT_TRUE(waitFor([this] { return !m_controller->ledger().interrupted().isEmpty(); }));
    EXPECT_EQ(text("outcomeTextField"), u"“a” uploaded"_s);
    EXPECT_FALSE(tool("queueOutcomeAgainButton").isVisible());
}

/// After a run that has ended while folders were looked through.
class InterruptedWalkTest : public OutcomeLineTest {
protected:
    /// Begins as the run after one that had found @p files.
    void startAfter(const PathList& files)
    {
        UploadHistory history;
        UploadLedger ledger(history);
        ledger.open(m_path, u"Quillbox"_s);
        history.filesQueued(files);
        ledger.setLookingThrough(true);
        EXPECT_TRUE(ledger.close(60s));
        m_controller->ledger().open(m_path, u"Quillbox"_s);
        EXPECT_TRUE(waitFor([this] { return line().isVisible(); }));
    }

    QTemporaryDir m_state;
    QString m_path = m_state.filePath(u"history.sqlite"_s);
};

TEST_F(InterruptedWalkTest, TheLineSaysSoAlsoWhereAllThatWasFoundIsConfirmed)
{
    startAfter({});

    EXPECT_EQ(text("outcomeTextField"), u"Not all that was dropped was looked through"_s);
    EXPECT_TRUE(isWarning());
    EXPECT_FALSE(tool("queueOutcomeAgainButton").isVisible());
    tool("showOutcomeButton").click();
    const auto* const table = m_controller->windows().historyWindow()->findChild<QTableView*>(u"historyTable"_s);
    EXPECT_TRUE(waitFor([table] { return table->selectionModel()->selectedRows().size() == 1; }));
    tool("forgetInterruptedButton").click();
    EXPECT_FALSE(line().isVisible());
    EXPECT_TRUE(waitFor([this] { return m_controller->ledger().interruptedWalks().isEmpty(); }));
}

TEST_F(InterruptedWalkTest, FilesThatWereFoundAreQueuedAgainAndTheRestIsStillSaid)
{
    startAfter({ makeFile(u"a"_s) });

    EXPECT_EQ(text("outcomeTextField"), u"1 file was not confirmed, and not all that was dropped was looked through"_s);
    tool("queueOutcomeAgainButton").click();
    ASSERT_TRUE(waitFor([this] { return m_controller->ledger().interrupted().isEmpty(); }));
    EXPECT_EQ(text("outcomeTextField"), u"Not all that was dropped was looked through"_s);
    EXPECT_FALSE(tool("queueOutcomeAgainButton").isVisible());
    tick();
    confirmNext();
    EXPECT_EQ(text("outcomeTextField"), u"“a” uploaded"_s);
}

/// With files that are tried again by themselves.
class AnotherTryTest : public OutcomeLineTest {
protected:
    AnotherTryTest() { set(u"RetryFailedFiles"_s, true); }

    /// Has the next file of the queue fail for the connection.
    void loseNext()
    {
        tick();
        upload().sendRefusal(421);
    }
};

TEST_F(AnotherTryTest, TheLineSaysHowManyWaitForItAndThePressHasThemSent)
{
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s), makeFile(u"c"_s) });
    loseNext();
    confirmNext();
    loseNext();

    EXPECT_EQ(text("outcomeTextField"), u"1 of 3 uploaded, 2 failed, 2 waiting for another try"_s);
    QSignalSpy requests(m_controller.get(), &ViewController::userRequestedConnection);
    tool("tryNowButton").click();
    EXPECT_EQ(requests.size(), 1);
    EXPECT_FALSE(line().isVisible());
    confirmNext();
    confirmNext();
    EXPECT_EQ(text("outcomeTextField"), u"2 uploaded"_s);
    EXPECT_FALSE(tool("tryNowButton").isVisible());
    EXPECT_FALSE(tool("giveUpTriesButton").isVisible());
}

TEST_F(AnotherTryTest, AButtonThatGoesWithItsPressLeavesTheKeyboardToTheTable)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    loseNext();
    EXPECT_EQ(pressByKeyboard("tryNowButton"), table());
    loseNext();
    EXPECT_EQ(pressByKeyboard("giveUpTriesButton"), table());
    EXPECT_TRUE(line().isVisible());
    EXPECT_EQ(pressByKeyboard("queueOutcomeAgainButton"), table());
    EXPECT_FALSE(line().isVisible());
    confirmNext();
    tick();
    ASSERT_TRUE(line().isVisible());
    EXPECT_EQ(pressByKeyboard("dismissOutcomeButton"), table());
    EXPECT_FALSE(line().isVisible());
}

TEST_F(AnotherTryTest, GivingUpAndClearingTheQueueEndThem)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    loseNext();
    tool("giveUpTriesButton").click();
    EXPECT_EQ(text("outcomeTextField"), u"“a” not uploaded"_s);
    EXPECT_EQ(m_controller->tries().waitingCount(), 0);

    m_controller->uploadFiles({ makeFile(u"b"_s) });
    loseNext();
    tick();
    EXPECT_TRUE(button("clearQueueButton").isEnabled());
    button("clearQueueButton").click();
    tick();
    EXPECT_EQ(m_controller->tries().waitingCount(), 0);
    EXPECT_FALSE(button("clearQueueButton").isEnabled());
}

TEST_F(AnotherTryTest, QuittingAsksAboutThem)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    loseNext();

    EXPECT_EQ(m_controller->quitWarning(), u"One file is waiting, and would not be uploaded."_s);
}

TEST_F(AnotherTryTest, OnlyTheFirstFailureOfAFileRaisesTheAlert)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    tick();
    m_controller->pc().stopSendWithStatus(u"Error"_s);
    EXPECT_EQ(shownSheets().size(), 1);
    shownSheets();
    m_controller->uploadFiles({ makeFile(u"b"_s) });
    loseNext();
    m_controller->tries().tryNow();
    const qsizetype before = shownSheets().size();
    tick();
    m_controller->pc().stopSendWithStatus(u"Error"_s);

    EXPECT_EQ(shownSheets().size(), before);
}

TEST_F(AnotherTryTest, WhatFailsBesideATryRaisesItsAlert)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    loseNext();
    m_controller->tries().tryNow();
    tick();
    ASSERT_TRUE(m_controller->pc().isSending());
    const qsizetype before = shownSheets().size();
    m_controller->cc().startCreate(u"new"_s, u"ftp://host/in/"_s, {}, {});
    m_controller->cc().stopCreateWithStatus(u"Error"_s);

    EXPECT_EQ(shownSheets().size(), before + 1);
}

TEST_F(AnotherTryTest, NoTryRaisesTheAlertThatThereIsNoWayToTheNetwork)
{
    setDelayedAlertPresenter(nullptr); // Nothing counts as told.
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    loseNext();
    m_controller->tries().tryNow();
    NetworkManager::setReachabilitySource([] { return ReachabilityFlags(); });
    loseNext();
    EXPECT_TRUE(delaysOf(*qApp).isEmpty());
    m_controller->uploadFiles({ makeFile(u"b"_s) });
    loseNext();

    EXPECT_EQ(delaysOf(*qApp), QList<int>{ 1000 });
    passDelaysOf(*qApp);
}

TEST_F(AnotherTryTest, TriesOfTheirOwnAreNoRequestOfTheUser)
{
    m_controller->uploadFiles({ makeFile(u"a"_s) });
    loseNext();
    QSignalSpy requests(m_controller.get(), &ViewController::userRequestedConnection);
    m_controller->tries().tryNow();
    confirmNext();

    EXPECT_TRUE(requests.isEmpty());
}

} // namespace
