#include "AlertDialog.h"
#include "Delays.h"
#include "QueueAgain.h"
#include "ViewControllerTest.h"

#include <QDir>
#include <QListView>

namespace {

using Outcome = HistoryEntry::Outcome;

/// Files that are dropped where the settings say that somebody is asked before one on the server is replaced.
class ReplacingTest : public ViewControllerTest {
protected:
    ReplacingTest() { set(u"AskBeforeReplacing"_s, true); }

    /// The listing that the drops wait for, and not the table's; null while there is none.
    FakeFTPStream* look() const
    {
        for (const auto& stream : m_streams.streams()) {
            if (stream->kind == Kind::Listing && stream->isOpen()
                && stream->stream != m_controller->lc().networkStream()) {
                return stream.get();
            }
        }
        return nullptr;
    }
    /// Waits until the folder at @p location is looked at, and answers that @p names are there, "/" at the end of those
    /// of folders.
    void whenLooked(const QByteArrayList& names = {}, const QString& location = u"ftp://host/in/"_s)
    {
        ASSERT_TRUE(waitFor([this] { return look() != nullptr; }));
        FakeFTPStream& listing = *look();
        EXPECT_EQ(listing.location, location);
        listing.sendOpenCompleted();
        for (QByteArray name : names) {
            const bool isFolder = name.endsWith('/');
            name.chop(isFolder ? 1 : 0);
            listing.sendBytes((isFolder ? "d" : "-") + QByteArray("rw-r--r-- 1 u g 5 Jan 1 2024 ") + name + "\r\n");
        }
        listing.sendEnd();
    }
    void whenAsked()
    {
        EXPECT_TRUE(waitFor([] { return !shownBoxes().isEmpty(); }));
    }
    /// Drops the file @p name, which is there already, and leaves it out.
    void leaveOutFile(const QString& name)
    {
        m_controller->uploadFiles(files({ name }));
        whenLooked({ name.toUtf8() });
        whenAsked();
        answerSheet(u"Leave Out"_s);
    }
    static QString titleOfSheet() { return shownBoxes().isEmpty() ? QString() : shownBoxes().first()->title(); }
    /// Of the files that would replace others.
    static const QAbstractItemModel& listInSheet() { return *shownBoxes().first()->findChild<QListView*>()->model(); }
    static QStringList linesInSheet()
    {
        QStringList lines;
        for (int row = 0; row < listInSheet().rowCount(); ++row) {
            lines.append(listInSheet().index(row, 0).data().toString());
        }
        return lines;
    }
    /// Serves all uploads until none is left.
    void serve()
    {
        size_t served = 0;
        EXPECT_TRUE(waitFor([&] {
            for (; served < m_streams.streams().size(); ++served) {
                const std::shared_ptr<FakeFTPStream> stream = m_streams.streams()[served];
                if (stream->isOpen() && stream->kind == Kind::Upload) {
                    stream->sendOpenCompleted();
                    while (stream->isOpen()) {
                        stream->sendHasSpace();
                    }
                }
            }
            return !m_controller->history().isQueueUnderWay();
        }));
    }
    QStringList sent() const
    {
        QStringList sent;
        for (const auto& stream : m_streams.streams()) {
            if (stream->kind == Kind::Upload) {
                sent.append(stream->location.mid(u"ftp://host/in/"_s.size()));
            }
        }
        return sent;
    }
    QList<Outcome> outcomes() const
    {
        QList<Outcome> outcomes;
        for (const HistoryEntry& entry : m_controller->history().entries()) {
            outcomes.append(entry.outcome);
        }
        return outcomes;
    }
    PathList files(const QStringList& names) const
    {
        PathList files;
        for (const QString& name : names) {
            files.append(makeFile(name));
        }
        return files;
    }
};

TEST_F(ReplacingTest, WithoutTheSettingFilesAreQueuedAtOnceAndNobodyLooks)
{
    unset(u"AskBeforeReplacing"_s);

    m_controller->uploadFiles(files({ u"a"_s }));

    EXPECT_EQ(m_controller->fileUploadQueue().size(), 1);
    EXPECT_EQ(count(Kind::Listing), 0);
    serve();
}

TEST_F(ReplacingTest, FilesThatReplaceNothingJoinWhenThatIsKnown)
{
    m_controller->uploadFiles(files({ u"a"_s, u"b"_s }), { u"http://host/x"_s });
    tick();

    EXPECT_TRUE(m_controller->fileUploadQueue().isEmpty());
    EXPECT_EQ(text("waitingTextField"), u"Looking at what is there…"_s);
    EXPECT_TRUE(button("clearQueueButton").isEnabled());
    EXPECT_EQ(m_controller->quitWarning(), u"2 files are waiting, and would not be uploaded."_s);
    EXPECT_EQ(outcomes(), (QList{ Outcome::LeftOut, Outcome::Waiting, Outcome::Waiting }));
    whenLooked({ "c" });
    serve();

    EXPECT_EQ(sent(), (QStringList{ u"a"_s, u"b"_s }));
    EXPECT_TRUE(shownBoxes().isEmpty());
    EXPECT_EQ(m_controller->history().queueTally().confirmed, 2);
    EXPECT_TRUE(listedNames().isEmpty()); // The table has listings of its own.
}

TEST_F(ReplacingTest, FilesThatAreThereAreReplacedWhenSomebodySaysSo)
{
    m_controller->uploadFiles(files({ u"a"_s, u"b"_s, u"c"_s }));
    whenLooked({ "a", "c" });
    whenAsked();

    EXPECT_EQ(
        shownSheets(),
        QStringList{ u"2 of 3 files are there already: What is replaced cannot be brought back. The other file is "
                     "uploaded in either case."_s });
    EXPECT_EQ(linesInSheet().size(), 2);
    EXPECT_TRUE(linesInSheet()[0].startsWith(u"a – 5 bytes, "_s)) << linesInSheet()[0].toStdString();
    tick();
    EXPECT_EQ(text("waitingTextField"), u"Waiting for an answer"_s);
    EXPECT_EQ(m_controller->fileUploadQueue().size(), 0);
    answerSheet(u"Replace"_s);
    serve();

    EXPECT_EQ(sent(), (QStringList{ u"a"_s, u"b"_s, u"c"_s }));
}

TEST_F(ReplacingTest, OrLeftOutWhichTheHistorySaysAndCanBeUndone)
{
    m_controller->uploadFiles(files({ u"a"_s, u"b"_s, u"c"_s }));
    whenLooked({ "a", "c" });
    whenAsked();

    answerSheet(u"Leave Out"_s);
    serve();

    EXPECT_EQ(sent(), QStringList{ u"b"_s });
    EXPECT_EQ(outcomes(), (QList{ Outcome::NotReplacing, Outcome::Confirmed, Outcome::NotReplacing }));
    EXPECT_EQ(m_controller->history().queueTally(), (FileTally{ .confirmed = 1, .leftOut = 2 }));
    EXPECT_FALSE(m_controller->history().hasUnsettledRows());

    queueAgain(*m_controller, { { .row = 0, .number = 0 } });
    EXPECT_TRUE(m_controller->fileUploadQueue().isEmpty());
    whenLooked({ "a" });
    whenAsked();
    EXPECT_EQ(titleOfSheet(), u"“a” is there already"_s);
    answerSheet(u"Replace"_s);
    serve();
    EXPECT_EQ(sent(), (QStringList{ u"b"_s, u"a"_s }));
}

TEST_F(ReplacingTest, WhatWasQueuedBeforeGoesOnMeanwhile)
{
    unset(u"AskBeforeReplacing"_s);
    m_controller->uploadFiles(files({ u"a"_s, u"b"_s }));
    ASSERT_TRUE(waitFor([this] { return m_controller->pc().isSending(); }));
    set(u"AskBeforeReplacing"_s, true);

    m_controller->uploadFiles(files({ u"c"_s }));
    ASSERT_TRUE(waitFor([this] { return look() != nullptr; }));
    EXPECT_TRUE(look()->calls.contains(u"setStandsBack"_s));
    whenLooked({ "c" });
    whenAsked();
    finishUpload();
    ASSERT_TRUE(waitFor([this] { return sent().size() == 2; }));
    finishUpload();

    EXPECT_EQ(sent(), (QStringList{ u"a"_s, u"b"_s }));
    EXPECT_TRUE(m_controller->history().isQueueUnderWay()); // It is not over as long as somebody is asked.
    answerSheet(u"Replace"_s);
    serve();
    EXPECT_EQ(sent(), (QStringList{ u"a"_s, u"b"_s, u"c"_s }));
    EXPECT_EQ(m_controller->history().queueTally().confirmed, 3);
}

TEST_F(ReplacingTest, WhereTheListingFailsItIsOneQuestionForAll)
{
    m_controller->uploadFiles(files({ u"a"_s, u"b"_s }));
    ASSERT_TRUE(waitFor([this] { return look() != nullptr; }));
    FakeFTPStream& listing = *look();
    listing.reply = u"421 Not now"_s;
    listing.sendRefusal(421);
    whenAsked();

    EXPECT_EQ(
        shownSheets(),
        QStringList{ u"What is there is not known: It is not known which of the files are on the server already (2 "
                     "to be uploaded), since their folder could not be listed: 421 Not now"_s });
    answerSheet(u"Leave Out"_s);

    EXPECT_EQ(outcomes(), (QList{ Outcome::NotReplacing, Outcome::NotReplacing }));
    EXPECT_FALSE(m_controller->history().isQueueUnderWay());
}

TEST_F(ReplacingTest, ThenFoldersWithoutAnyFileAreMadeAllTheSame)
{
    set(u"DroppedFolders"_s, u"uploaded"_s);
    ASSERT_TRUE(QDir().mkpath(m_directory.filePath(u"Photos/empty"_s)));
    makeFile(u"Photos/a"_s);
    m_controller->uploadFiles({ m_directory.filePath(u"Photos"_s) });
    ASSERT_TRUE(waitFor([this] { return look() != nullptr; }, 10s));
    look()->sendRefusal(421);
    whenAsked();

    answerSheet(u"Leave Out"_s);

    EXPECT_EQ(outcomes(), (QList{ Outcome::NotReplacing, Outcome::Waiting }));
    m_controller->clearQueue();
}

TEST_F(ReplacingTest, OneNameTwiceInADropIsOneThatTheFirstPutsThere)
{
    ASSERT_TRUE(QDir().mkpath(m_directory.filePath(u"other"_s)));
    m_controller->uploadFiles(files({ u"a"_s, u"b"_s, u"other/a"_s }));
    whenLooked();
    whenAsked();

    EXPECT_EQ(titleOfSheet(), u"1 of 3 files may replace others"_s);
    EXPECT_EQ(linesInSheet(), QStringList{ u"a – one of that name is sent before it"_s });
    answerSheet(u"Leave Out"_s);
    serve();

    EXPECT_EQ(sent(), (QStringList{ u"a"_s, u"b"_s }));
    EXPECT_EQ(outcomes(), (QList{ Outcome::Confirmed, Outcome::Confirmed, Outcome::NotReplacing }));
}

TEST_F(ReplacingTest, SeveralDropsAreAskedAboutInTheirOrder)
{
    m_controller->uploadFiles(files({ u"a"_s }));
    m_controller->uploadFiles(files({ u"b"_s }));
    m_controller->uploadFiles({ makeFile(u"b"_s) });
    whenLooked({ "a", "b" });
    whenAsked();
    EXPECT_EQ(titleOfSheet(), u"“a” is there already"_s);
    answerSheet(u"Leave Out"_s);
    whenLooked({ "a" });
    whenAsked();

    EXPECT_EQ(titleOfSheet(), u"1 of 2 files may replace others"_s); // Those that have come meanwhile are one.
    EXPECT_EQ(linesInSheet(), QStringList{ u"b – one of that name is sent before it"_s });
    answerSheet(u"Leave Out"_s);
    serve();

    EXPECT_EQ(outcomes(), (QList{ Outcome::NotReplacing, Outcome::Confirmed, Outcome::NotReplacing }));
}

TEST_F(ReplacingTest, ANameThatTheServerMayTakeForAnotherIsAskedAbout)
{
    m_controller->uploadFiles(files({ u"photo.jpg"_s }));
    whenLooked({ "Photo.JPG" });
    whenAsked();

    EXPECT_EQ(titleOfSheet(), u"“photo.jpg” may replace others"_s);
    EXPECT_EQ(linesInSheet(), QStringList{ u"photo.jpg – not known, as the server may take it for “Photo.JPG”"_s });
    answerSheet(u"Leave Out"_s);

    EXPECT_EQ(outcomes(), QList{ Outcome::NotReplacing });
}

TEST_F(ReplacingTest, ANameFromRightToLeftStaysApartFromWhatIsSaidOfIt)
{
    const QString name = u"\u05E9\u05DC\u05D5\u05DD"_s;
    m_controller->uploadFiles(files({ name }));
    whenLooked({ name.toUtf8() });
    whenAsked();

    EXPECT_TRUE(linesInSheet().first().startsWith(QChar(0x2068) + name + QChar(0x2069) + u" – 5 bytes, "_s));
    answerSheet(u"Leave Out"_s);
}

TEST_F(ReplacingTest, AFileThatWaitsForAnotherTryIsAskedAboutAndNotTriedWhenItIsReplaced)
{
    set(u"RetryFailedFiles"_s, true);
    m_controller->uploadFiles(files({ u"a"_s, u"b"_s }));
    whenLooked();
    for (int lost = 1; lost <= 2; ++lost) {
        ASSERT_TRUE(waitFor([this] { return m_controller->pc().isSending(); }));
        upload().sendRefusal(421);
        ASSERT_EQ(m_controller->tries().waitingCount(), lost);
    }

    m_controller->uploadFiles(files({ u"a"_s }));
    whenLooked();
    whenAsked();
    EXPECT_EQ(linesInSheet(), QStringList{ u"a – one of that name waits for another try"_s });
    answerSheet(u"Replace"_s);
    serve();

    EXPECT_EQ(outcomes(), (QList{ Outcome::Refused, Outcome::Refused, Outcome::Confirmed }));
    EXPECT_FALSE(m_controller->history().entries()[0].isAwaitingTry) << "the older one would take its place";
    EXPECT_TRUE(m_controller->history().entries()[1].isAwaitingTry);
}

TEST_F(ReplacingTest, NorIsOneThatIsLostAfterThat)
{
    set(u"RetryFailedFiles"_s, true);
    m_controller->uploadFiles(files({ u"a"_s, u"b"_s }));
    whenLooked();
    ASSERT_TRUE(waitFor([this] { return m_controller->pc().isSending(); }));
    m_controller->uploadFiles(files({ u"a"_s, u"b"_s }));
    whenLooked();
    whenAsked();
    answerSheet(u"Replace"_s);

    for (int count = 0; count < 3; ++count) { // Both, and the one that is to replace the first.
        ASSERT_TRUE(waitFor([this] { return m_controller->pc().isSending(); }));
        upload().sendRefusal(421);
    }
    serve();

    EXPECT_EQ(outcomes(), (QList{ Outcome::Refused, Outcome::Refused, Outcome::Refused, Outcome::Confirmed }));
    for (int row = 0; row < 4; ++row) {
        EXPECT_EQ(m_controller->history().entries()[row].isAwaitingTry, row == 2) << row;
    }
}

TEST_F(ReplacingTest, WhatWaitsForAnotherTryElsewhereIsNotAskedAbout)
{
    set(u"RetryFailedFiles"_s, true);
    m_controller->uploadFiles(files({ u"a"_s }));
    whenLooked();
    ASSERT_TRUE(waitFor([this] { return m_controller->pc().isSending(); }));
    upload().sendRefusal(421);
    set(u"FTPFolder"_s, u"other"_s);

    m_controller->uploadFiles(files({ u"a"_s }));
    whenLooked({}, u"ftp://host/other/"_s);
    serve();

    EXPECT_TRUE(shownBoxes().isEmpty());
    EXPECT_EQ(outcomes(), (QList{ Outcome::Refused, Outcome::Confirmed }));
}

TEST_F(ReplacingTest, AFolderIsAskedAboutWhenAllOfItWasFound)
{
    set(u"DroppedFolders"_s, u"uploaded"_s);
    ASSERT_TRUE(QDir().mkpath(m_directory.filePath(u"Photos/empty"_s)));
    makeFile(u"Photos/a"_s);
    makeFile(u"Photos/b"_s);

    m_controller->uploadFiles({ m_directory.filePath(u"Photos"_s) });
    tick();
    EXPECT_EQ(text("waitingTextField"), u"Looking through folders…"_s);
    whenLooked({ "Photos/" });
    whenLooked({ "b" }, u"ftp://host/in/Photos/"_s);
    whenAsked();

    EXPECT_EQ(titleOfSheet(), u"1 of 2 files is there already"_s);
    EXPECT_TRUE(linesInSheet().first().startsWith(u"Photos/b – "_s));
    answerSheet(u"Leave Out"_s);
    EXPECT_EQ(m_controller->fileUploadQueue().size(), 2);
    EXPECT_EQ(outcomes(), (QList{ Outcome::Waiting, Outcome::NotReplacing, Outcome::Waiting }));
    m_controller->clearQueue();
}

TEST_F(ReplacingTest, WhatNeedsNoWalkDoesNotWaitForOne)
{
    set(u"DroppedFolders"_s, u"uploaded"_s);
    ASSERT_TRUE(QDir().mkpath(m_directory.filePath(u"Photos"_s)));
    makeFile(u"Photos/a"_s);
    m_controller->uploadFiles({ m_directory.filePath(u"Photos"_s) });
    set(u"DroppedFolders"_s, u""_s);

    m_controller->uploadFiles(files({ u"b"_s }));
    whenLooked({ "Photos/", "b" });
    whenAsked();
    EXPECT_EQ(titleOfSheet(), u"“b” is there already"_s);
    answerSheet(u"Leave Out"_s);
    whenLooked({ "Photos/", "b" });
    whenLooked({ "a" }, u"ftp://host/in/Photos/"_s);
    whenAsked();
    EXPECT_EQ(titleOfSheet(), u"“Photos/a” is there already"_s);
    answerSheet(u"Replace"_s);
    serve();

    EXPECT_EQ(sent(), QStringList{ u"Photos/a"_s });
}

TEST_F(ReplacingTest, ClearingTheQueueEndsThatToo)
{
    m_controller->uploadFiles(files({ u"a"_s }));
    m_controller->uploadFiles(files({ u"b"_s }));
    whenLooked({ "a" });
    whenAsked();

    m_controller->clearQueue(); // A screen reader reaches buttons behind a sheet.

    EXPECT_TRUE(shownBoxes().isEmpty());
    EXPECT_EQ(outcomes(), (QList{ Outcome::Removed, Outcome::Removed }));
    EXPECT_FALSE(m_controller->history().isQueueUnderWay());
    EXPECT_TRUE(sent().isEmpty());
    tick();
    EXPECT_FALSE(button("clearQueueButton").isEnabled());
}

TEST_F(ReplacingTest, WhenTheProgramEndsBeforeTheAnswerTheNextStartTellsOfTheFiles)
{
    for (const bool isAsked : { false, true }) {
        SCOPED_TRACE(isAsked);
        const QTemporaryDir state;
        const QString path = state.filePath(u"history.sqlite"_s);
        m_controller->ledger().open(path, u"Quillbox"_s);
        m_controller->uploadFiles(files({ u"a"_s, u"b"_s }));
        if (isAsked) {
            whenLooked({ "a" });
            whenAsked();
        }

        startAgainWithLedger(path);

        EXPECT_EQ(m_controller->ledger().interrupted().size(), 2);
        startAgain();
    }
}

TEST_F(ReplacingTest, AnAnswerCountsForTheDestinationThatItWasAskedAbout)
{
    m_controller->uploadFiles(files({ u"a"_s }));
    whenLooked({ "a" });
    whenAsked();
    set(u"FTPFolder"_s, u"other"_s);

    answerSheet(u"Replace"_s);
    EXPECT_TRUE(m_controller->fileUploadQueue().isEmpty());
    whenLooked({}, u"ftp://host/other/"_s);
    serve();

    EXPECT_EQ(upload().location, u"ftp://host/other/a"_s);
}

TEST_F(ReplacingTest, WhatWaitsForAnotherDestinationIsLookedAtAgainWhenThatIsInForce)
{
    m_controller->uploadFiles(files({ u"a"_s, u"b"_s }));
    whenLooked();
    ASSERT_TRUE(waitFor([this] { return m_controller->pc().isSending(); }));
    set(u"FTPFolder"_s, u"other"_s);

    finishUpload();
    whenLooked({ "b" }, u"ftp://host/other/"_s);
    whenAsked();

    EXPECT_EQ(titleOfSheet(), u"“b” is there already"_s);
    answerSheet(u"Leave Out"_s);
    EXPECT_EQ(outcomes(), (QList{ Outcome::Confirmed, Outcome::NotReplacing }));
    EXPECT_EQ(m_controller->history().queueTally(), (FileTally{ .confirmed = 1, .leftOut = 1 })) << "of one queue";
    EXPECT_EQ(m_controller->history().entries()[1].destination, u"ftp://host/other/"_s);
    EXPECT_EQ(text("outcomeTextField"), u"1 uploaded, 1 left out"_s);
}

TEST_F(ReplacingTest, WhatIsQueuedAgainWaitsWhileThereIsNoDestinationAndIsLookedAtThen)
{
    leaveOutFile(u"a"_s);
    queueAgain(*m_controller, { { .row = 0, .number = 0 } });
    for (const bool isAsked : { false, true }) {
        ASSERT_TRUE(waitFor([this] { return look() != nullptr; }));
        if (isAsked) {
            whenLooked({ "a" });
            whenAsked();
        }
        unset(u"Address"_s);
        tick();
        set(u"Address"_s, u"host"_s);
        tick();
        answerSheet(u"Leave Out"_s); // That question is out of date.
    }
    whenLooked({ "a" });
    whenAsked();
    answerSheet(u"Leave Out"_s);
    serve();

    EXPECT_TRUE(sent().isEmpty());
    EXPECT_EQ(outcomes(), (QList{ Outcome::NotReplacing, Outcome::NotReplacing }));
}

TEST_F(ReplacingTest, WhatIsQueuedAgainIsGivenUpAsSoonAsAnotherDestinationIsInForce)
{
    leaveOutFile(u"a"_s);
    m_controller->uploadFiles(files({ u"b"_s }));
    whenLooked();
    ASSERT_TRUE(waitFor([this] { return m_controller->pc().isSending(); }));
    queueAgain(*m_controller, { { .row = 0, .number = 0 } });
    ASSERT_TRUE(waitFor([this] { return look() != nullptr; }));

    set(u"FTPFolder"_s, u"other"_s);
    tick();
    set(u"FTPFolder"_s, u"in"_s);
    tick();
    finishUpload();
    serve();

    EXPECT_EQ(sent(), QStringList{ u"b"_s });
    EXPECT_EQ(outcomes(), (QList{ Outcome::NotReplacing, Outcome::Confirmed, Outcome::Removed, Outcome::Note }));
    EXPECT_EQ(m_controller->history().entries()[2].destination, u"ftp://host/in/"_s);
    EXPECT_EQ(
        m_controller->history().entries().last().path,
        u"One file waited for another try, which was given up: another destination is in force than ftp://host/in/."_s);
}

TEST_F(ReplacingTest, WithoutADestinationFilesWaitForOne)
{
    unset(u"Address"_s);
    m_controller->destinationSet();
    m_controller->uploadFiles(files({ u"a"_s }));
    tick();
    EXPECT_EQ(text("waitingTextField"), u"Waiting for a destination"_s);
    EXPECT_TRUE(titleOfSheet() == u"No Destination"_s);
    answerSheet();

    set(u"Address"_s, u"host"_s);
    m_controller->destinationSet();
    whenLooked();
    serve();

    EXPECT_EQ(sent(), QStringList{ u"a"_s });
}

TEST_F(ReplacingTest, AQuestionWaitsForTheWindowToShow)
{
    m_controller->window().hide();
    m_controller->uploadFiles(files({ u"a"_s, u"b"_s }));
    whenLooked({ "a" });
    ASSERT_TRUE(waitFor([this] { return m_controller->intake().stage() == UploadIntake::Stage::Asking; }));
    EXPECT_TRUE(shownBoxes().isEmpty());

    m_controller->window().show();
    whenAsked();
    answerSheet(u"Replace"_s);
    serve();

    EXPECT_EQ(sent(), (QStringList{ u"a"_s, u"b"_s }));
}

TEST_F(ReplacingTest, AboutUnattendedFilesNobodyIsAskedAndTheyFail)
{
    m_controller->upload({ .paths = files({ u"a"_s, u"b"_s }), .request = { .number = 1, .isUnattended = true } });
    ASSERT_TRUE(waitFor([this] { return look() != nullptr; }));
    EXPECT_TRUE(look()->asksNobody);
    whenLooked({ "a" });
    serve();

    EXPECT_TRUE(shownBoxes().isEmpty());
    EXPECT_EQ(outcomes(), (QList{ Outcome::Failed, Outcome::Confirmed }));
    EXPECT_EQ(m_controller->history().entries()[0].status,
              u"a file of that name is on the server, or may be, and nobody was asked"_s);
}

TEST_F(ReplacingTest, WithoutADestinationUnattendedFilesWaitForNone)
{
    unset(u"Address"_s);
    m_controller->destinationSet();

    m_controller->upload({ .paths = files({ u"a"_s }), .request = { .number = 1, .isUnattended = true } });
    tick();
    EXPECT_EQ(outcomes(), QList{ Outcome::Waiting });
    passDelaysOf(m_controller->pump());
    serve();

    EXPECT_EQ(outcomes(), QList{ Outcome::Failed });
}

TEST_F(ReplacingTest, NorForOthersThatDo)
{
    unset(u"Address"_s);
    m_controller->destinationSet();
    m_controller->uploadFiles(files({ u"a"_s }));

    m_controller->upload({ .paths = files({ u"b"_s }), .request = { .number = 1, .isUnattended = true } });

    EXPECT_TRUE(waitFor([this] { return outcomes() == QList{ Outcome::Waiting, Outcome::Failed }; }));
    m_controller->clearQueue();
}

TEST_F(ReplacingTest, HundredThousandFilesAreAskedAboutAtOnceAndLeftOut)
{
    constexpr int many = 100000;
    PathList paths;
    QByteArray rows;
    for (int i = 0; i < many; ++i) {
        paths.append(u"/some/where/far away/a file %1"_s.arg(i));
        rows += "-rw-r--r-- 1 u g 5 Jan 1 2024 a file " + QByteArray::number(i) + "\r\n";
    }
    m_controller->uploadFiles(paths);
    ASSERT_TRUE(waitFor([this] { return look() != nullptr; }));
    FakeFTPStream& listing = *look();
    listing.sendOpenCompleted();
    for (qsizetype at = 0; at < rows.size(); at += FTPListController::bufferSize) {
        listing.sendBytes(rows.mid(at, FTPListController::bufferSize));
        QCoreApplication::processEvents();
    }
    listing.sendEnd();
    whenAsked();
    EXPECT_EQ(titleOfSheet(), u"%1 of %1 files are there already"_s.arg(QLocale().toString(many)));
    EXPECT_EQ(listInSheet().rowCount(), many);
    EXPECT_TRUE(listInSheet().index(many - 1, 0).data().toString().startsWith(u"a file 99999 – 5 bytes, "_s));

    answerSheet(u"Leave Out"_s);
    QCoreApplication::processEvents();

    EXPECT_EQ(m_controller->history().queueTally().leftOut, many);
}

} // namespace
