#include "UploadLedger.h"

#include "FaultyFileCalls.h"
#include "LocalPath.h"
#include "Printers.h"
#include "ProgramName.h"
#include "ResidentMemory.h"
#include "RunLocks.h"
#include "SettingNames.h"
#include "ShiftedClock.h"
#include "SmallDisk.h"
#include "UploadHistory.h"
#include "UploadQueue.h"
#include "UserDefaults.h"
#include "WaitFor.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QSqlError>
#include <QSqlRecord>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

#include <csignal>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Outcome = HistoryEntry::Outcome;

namespace {

/// One run of the program, as far as its history goes.
struct Launch {
    Launch() = default;
    explicit Launch(const QString& path, const QString& copy = u"Quillbox"_s, LedgerDatabase::Bounds bounds = {})
    {
        ledger.open(path, copy, bounds);
    }

    void confirmNext(const QString& reply = u"226 Done"_s)
    {
        history.nextFileStarts({ u"ftp://host/in/"_s });
        history.fileMoves(5);
        history.fileConfirmed(5, reply);
    }
    /// What is asked of the ledger by now is done and told.
    void settle() { ledger.close(60s), QCoreApplication::processEvents(); }

    UploadHistory history;
    UploadLedger ledger{ history };
    QSignalSpy problems{ &ledger, &UploadLedger::problemFound };
};

class UploadLedgerTest : public ::testing::Test {
protected:
    /// A run that sends one file.
    void sendOne(const QString& path) const
    {
        Launch run(m_path);
        run.history.filesQueued({ path });
        run.confirmNext();
        run.settle();
    }
    /// What a statement finds, a text for each row with "|" between its columns.
    QStringList ask(const QString& statement) const
    {
        QStringList rows;
        {
            QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"test"_s);
            database.setDatabaseName(m_path);
            database.setConnectOptions(u"QSQLITE_BUSY_TIMEOUT=5000"_s);
            EXPECT_TRUE(database.open());
            QSqlQuery query(database);
            EXPECT_TRUE(query.exec(statement)) << query.lastError().text().toStdString();
            const int columns = static_cast<int>(query.record().count());
            while (query.next()) {
                QStringList cells;
                for (int column = 0; column < columns; ++column) {
                    cells.append(LocalPath::fromBytes(query.value(column).toByteArray()));
                }
                rows.append(cells.join(u'|'));
            }
        }
        QSqlDatabase::removeDatabase(u"test"_s);
        return rows;
    }
    /// The same; nothing while there is no database.
    QStringList askWhenMade(const QString& statement) const
    {
        const bool isMade = QFile::exists(m_path) && !ask(u"SELECT name FROM sqlite_schema"_s).isEmpty();
        return isMade ? ask(statement) : QStringList();
    }
    /// What has become of each file.
    QStringList outcomes() const { return askWhenMade(u"SELECT name, outcome FROM files ORDER BY row"_s); }
    static QString row(const QString& name, Outcome outcome)
    {
        return name + u'|' + QString::number(static_cast<int>(outcome));
    }
    qsizetype interruptedOf(const QString& copy) const
    {
        Launch next(m_path, copy);
        next.settle();
        return next.ledger.interrupted().size();
    }
    /// How many runs are known to look through folders.
    QStringList walks() const { return askWhenMade(u"SELECT count(*) FROM walks"_s); }
    qsizetype interruptedWalksOf(const QString& copy, LedgerDatabase::Bounds bounds = {}) const
    {
        Launch next(m_path, copy, bounds);
        next.settle();
        return next.ledger.interruptedWalks().size();
    }
    /// A run that ends while it looks through folders.
    void endInMidWalk() const
    {
        Launch run(m_path);
        run.ledger.setLookingThrough(true);
        run.settle();
    }

    QTemporaryDir m_directory;
    QString m_path = m_directory.filePath(u"state/quillbox/history.sqlite"_s);
};

TEST_F(UploadLedgerTest, EachFileIsThereWithAllThatIsKnownOfIt)
{
    Launch run(m_path, u"Bilder"_s);
    run.history.filesQueued({ u"/folder/a"_s, LocalPath::fromBytes("/caf\xe9/b\n"), u"/c"_s }, { u"/folder"_s });
    run.confirmNext();
    run.history.nextFileStarts({ u"ftp://host/in/"_s });
    run.history.fileMoves(7);
    run.history.fileEnded(
        { .kind = Outcome::Refused, .code = 550, .status = u"No"_s, .reply = u"550 No"_s, .acknowledged = 3 });
    run.history.manualFileStarts(u"/m"_s, { u"ftp://elsewhere/"_s });
    run.history.note(u"A note"_s);
    run.settle();

    EXPECT_EQ(
        ask(u"SELECT copy, folder, name, manual, settled, destination, size, sent, status, reply FROM files ORDER BY "
            "row"_s),
        (QStringList{ u"Bilder||folder|0|0|||||"_s, u"Bilder|/folder|a|0|0|ftp://host/in/|5|||226 Done"_s,
                      LocalPath::fromBytes("Bilder|/caf\xe9|b\n|0|0|ftp://host/in/|7|3|No|550 No"),
                      u"Bilder||c|0|0|||||"_s, u"Bilder||m|1|0|ftp://elsewhere/||||"_s,
                      u"Bilder||A note|0|0|||||"_s }));
    EXPECT_EQ(outcomes(),
              (QStringList{ row(u"folder"_s, Outcome::LeftOut), row(u"a"_s, Outcome::Confirmed),
                            row(LocalPath::fromBytes("b\n"), Outcome::Refused), row(u"c"_s, Outcome::Waiting),
                            row(u"m"_s, Outcome::Sending), row(u"A note"_s, Outcome::Note) }));
    EXPECT_EQ(ask(u"SELECT count(*) FROM files WHERE abs(time - 1000 * unixepoch()) < 60000"_s), QStringList{ u"6"_s });
}

TEST_F(UploadLedgerTest, AFileIsReadInALaterRunAsItWasWrittenAndNoPasswordIsKept)
{
    EXPECT_TRUE(UserDefaults::standard().store({ { SettingNames::address, u"host"_s },
                                                 { SettingNames::username, u"carl"_s },
                                                 { SettingNames::password, u"s3cret"_s } }));
    const Destination destination{ u"ftp://host/in/"_s, u"anna"_s, u"s3cret"_s, FTPEncryption::Required };
    {
        Launch run(m_path);
        run.history.filesQueued({ u"/a"_s, u"/b"_s, u"/c"_s });
        run.history.nextFileStarts(destination);
        run.history.fileMoves(7);
        run.history.fileEnded({ .kind = Outcome::Stopped, .status = u"Stopped"_s, .acknowledged = 3 });
        run.history.nextFileStarts({ u"ftp://host/in/"_s });
        run.settle();
    }
    QFile::remove(UserDefaults::standard().filePath());
    Launch next(m_path);
    QList<LedgerRow> rows;
    next.ledger.read({ { .row = 1 }, { .row = 2 }, { .row = 3 } }, &next.ledger,
                     [&rows](const auto& known) { rows = known.value_or(QList<LedgerRow>()); });
    ASSERT_TRUE(waitFor([&rows] { return rows.size() == 3; }));

    EXPECT_EQ(rows[0].entry.acknowledged, 3);
    EXPECT_TRUE(rows[0].entry.isFor(destination));
    EXPECT_FALSE(rows[0].entry.isFor({ u"ftp://host/in/"_s, u"anna"_s }));
    EXPECT_TRUE(rows[1].entry.isFor({ u"ftp://host/in/"_s }));
    EXPECT_FALSE(rows[1].entry.isFor({ u"ftp://host/in/"_s, u"anna"_s }));
    EXPECT_EQ(rows[2].entry.username, u"carl"_s); // The destination that was in force when it was dropped.
    EXPECT_TRUE(ask(u"SELECT * FROM files"_s).filter(u"s3cret"_s).isEmpty());
}

TEST_F(UploadLedgerTest, TheLastUploadOfACopyIsTheNewestFileThatWasConfirmedAtADestination)
{
    const QString name = LocalPath::fromBytes("Scans\xe9");
    {
        Launch scans(m_path, name);
        scans.history.filesQueued({ u"/a"_s, u"/b"_s, u"/elsewhere"_s, u"/c"_s });
        scans.confirmNext();
        scans.confirmNext();
        scans.history.nextFileStarts({ u"ftp://elsewhere/"_s });
        scans.history.fileConfirmed(5, u"226 Done"_s);
        scans.history.nextFileStarts({ u"ftp://host/in/"_s });
        scans.history.fileEnded({ .kind = Outcome::Refused });
        scans.settle();
    }
    {
        Launch nothing(m_path, u"Nothing"_s);
        nothing.history.filesQueued({ u"/a"_s });
        nothing.settle();
    }
    EXPECT_EQ(ask(u"UPDATE files SET time = 1000 * row"_s), QStringList());
    Launch run(m_path);
    run.history.filesQueued({ u"/d"_s });
    run.confirmNext();
    const qint64 now = run.history.entries()[0].time;
    std::optional<LedgerReader::LastUploads> times;
    run.ledger.lastUploads(&run.ledger, [&times](const auto& known) { times = known; });

    ASSERT_TRUE(waitFor([&times] { return times.has_value(); }));
    EXPECT_EQ(*times,
              (LedgerReader::LastUploads{ { { name, u"ftp://host/in/"_s }, 2000 },
                                          { { name, u"ftp://elsewhere/"_s }, 3000 },
                                          { { u"Quillbox"_s, u"ftp://host/in/"_s }, now } }));
}

/// The statements by which a database of @p version was made, with a file that was sent, one that waits and one that
/// was queued again.
QStringList statementsOf(int version)
{
    const bool hasLogin = version >= 2;
    return {
        u"PRAGMA journal_mode = WAL"_s,
        u"CREATE TABLE files (row INTEGER PRIMARY KEY AUTOINCREMENT, run INTEGER NOT NULL, number INTEGER NOT NULL, "
        "copy BLOB NOT NULL, folder BLOB, name BLOB NOT NULL, destination TEXT, outcome INTEGER NOT NULL DEFAULT "
        "0, manual INTEGER NOT NULL DEFAULT 0, settled INTEGER NOT NULL DEFAULT 0, size INTEGER, sent INTEGER, "
        "listedSize INTEGER, durationMs INTEGER, time INTEGER NOT NULL, status TEXT, reply TEXT, %1"
        "UNIQUE (run, number))"_s.arg(hasLogin ? u"username TEXT, encryption INTEGER, "_s : QString()),
        u"CREATE INDEX filesUnended ON files (run) WHERE outcome <= 1"_s,
        u"CREATE INDEX filesUndecided ON files (copy) WHERE outcome = 18 AND settled = 0"_s,
        u"PRAGMA user_version = %1"_s.arg(version),
        u"INSERT INTO files (run, number, copy, folder, name, destination, outcome, settled, size, time) VALUES "
        "(7, 0, CAST('Quillbox' AS BLOB), CAST('/x' AS BLOB), CAST('sent' AS BLOB), 'ftp://host/', 2, 0, 5, "
        "1000 * unixepoch()), "
        "(7, 1, CAST('Quillbox' AS BLOB), CAST('/x' AS BLOB), CAST('waiting' AS BLOB), 'ftp://host/', 0, 0, NULL, "
        "1000 * unixepoch()), "
        "(7, 2, CAST('Quillbox' AS BLOB), CAST('/x' AS BLOB), CAST('again' AS BLOB), 'ftp://host/', 18, 1, NULL, "
        "1000 * unixepoch())"_s
    };
}

TEST_F(UploadLedgerTest, DatabasesOfEarlierVersionsGoOn)
{
    QDir().mkpath(QFileInfo(m_path).path());
    for (const int version : { 1, 2, 3 }) {
        for (const QString& statement : statementsOf(version)) {
            ask(statement);
        }
        Launch run(m_path);
        ASSERT_TRUE(waitFor([&run] { return run.ledger.interrupted().size() == 1; })) << version;
        run.history.filesQueued({ u"/b"_s });
        run.confirmNext();
        run.settle();

        EXPECT_TRUE(run.problems.isEmpty()) << version << ' ' << run.ledger.problem().toStdString();
        EXPECT_EQ(outcomes(),
                  (QStringList{ row(u"sent"_s, Outcome::Confirmed), row(u"waiting"_s, Outcome::Interrupted),
                                row(u"again"_s, Outcome::Interrupted), row(u"b"_s, Outcome::Confirmed) }))
            << version;
        EXPECT_EQ(
            ask(u"SELECT count(*) FROM sqlite_schema WHERE name = 'filesUndecided' AND sql LIKE '%settled = 4%'"_s),
            QStringList{ u"1"_s })
            << version;
        ASSERT_TRUE(QFile::remove(m_path)) << version;
    }
}

TEST_F(UploadLedgerTest, AFileThatWaitedForAnotherTryAtTheEndIsUndecidedAsItWasAndOneThatWasGivenUpIsNot)
{
    {
        Launch run(m_path);
        run.history.filesQueued({ u"/a"_s, u"/b"_s, u"/c"_s });
        for (int number = 0; number < 3; ++number) {
            run.history.nextFileStarts({ u"ftp://host/"_s });
            run.history.fileEnded({ .kind = Outcome::ConnectionLost, .status = u"Gone"_s, .reply = u"421 Bye"_s });
        }
        run.history.filesAwaitTry({ 0, 1, 2 }, true);
        run.history.filesAwaitTry({ 1 }, false);
        run.history.takeToQueueAgain({ 2 });
        run.ledger.clear();
        ASSERT_TRUE(waitFor([this] { return outcomes() == QStringList{ row(u"a"_s, Outcome::ConnectionLost) }; }));
        EXPECT_EQ(interruptedOf(u"Quillbox"_s), 0); // The run goes on.
        run.settle();
    }
    Launch next(m_path, u"Quillbox"_s, { .files = 0, .days = 90 });
    next.settle();

    EXPECT_EQ(next.ledger.interrupted().size(), 1);
    EXPECT_EQ(outcomes(), QStringList{ row(u"a"_s, Outcome::ConnectionLost) });
    EXPECT_EQ(ask(u"SELECT status, reply FROM files"_s), QStringList{ u"Gone|421 Bye"_s });
    {
        Launch other(m_path, u"Other"_s);
        other.ledger.clear();
        other.settle();
    }
    EXPECT_EQ(interruptedOf(u"Quillbox"_s), 1);
    LedgerDatabase last(u"Quillbox"_s);
    ASSERT_EQ(last.open(m_path), LedgerProblem::None);
    EXPECT_EQ(last.forgetInterrupted(), LedgerProblem::None);
    EXPECT_TRUE(last.interrupted().isEmpty());
}

TEST_F(UploadLedgerTest, AFileThatItsCopyTriesAgainByItselfIsNotForAnother)
{
    Launch run(m_path);
    run.history.filesQueued({ u"/a"_s });
    run.history.nextFileStarts({ u"ftp://host/"_s });
    run.history.fileEnded({ .kind = Outcome::ConnectionLost });
    Launch other(m_path, u"Other"_s);
    const auto canQueueAgain = [&other] {
        std::optional<bool> answer;
        other.ledger.read({ { .row = 1 } }, &other.ledger, [&answer](const auto& rows) {
            answer = rows && !rows->isEmpty() && rows->first().entry.canOthersQueueAgain();
        });
        EXPECT_TRUE(waitFor([&answer] { return answer.has_value(); }));
        return answer.value_or(false);
    };
    EXPECT_TRUE(waitFor(canQueueAgain));
    run.history.filesAwaitTry({ 0 }, true);

    EXPECT_TRUE(waitFor([&canQueueAgain] { return !canQueueAgain(); }));
}

TEST_F(UploadLedgerTest, WhatAnotherCopyHasQueuedAgainStaysSo)
{
    Launch run(m_path);
    run.history.filesQueued({ u"/a"_s });
    run.history.nextFileStarts({ u"ftp://host/"_s });
    run.history.fileEnded({ .kind = Outcome::ConnectionLost });
    ASSERT_TRUE(waitFor([this] { return outcomes() == QStringList{ row(u"a"_s, Outcome::ConnectionLost) }; }));
    {
        Launch other(m_path, u"Other"_s);
        other.ledger.queuedAgain({ { .row = 1 } });
        other.settle();
    }
    run.history.filesAwaitTry({ 0 }, true);
    run.settle();

    EXPECT_EQ(ask(u"SELECT settled FROM files"_s), QStringList{ u"1"_s });
}

TEST_F(UploadLedgerTest, AFileKeepsTheDestinationThatWasInForceWhenItWasDropped)
{
    setProgramFileName(u"Quillbox"_s); // No drop icon, which has a folder of its own.
    const auto setAddress = [](const QString& address) {
        EXPECT_TRUE(UserDefaults::standard().store({ { SettingNames::address, address } }));
    };
    Launch run;
    for (const QString& address : { u"one"_s, u"two"_s }) {
        setAddress(address);
        run.history.filesQueued({ u"/for "_s + address });
    }
    run.ledger.open(m_path, u"Quillbox"_s);
    setAddress(u"three"_s);
    run.history.queueCleared();
    run.settle();
    QFile::remove(UserDefaults::standard().filePath());
    setProgramFileName(QString());

    EXPECT_EQ(run.ledger.row(0).entry.destination, u"ftp://one/"_s);
    EXPECT_EQ(ask(u"SELECT destination FROM files ORDER BY row"_s), (QStringList{ u"ftp://one/"_s, u"ftp://two/"_s }));
}

TEST_F(UploadLedgerTest, WhatABeginningHistoryHoldsIsWrittenWhenTheLedgerIsOpened)
{
    Launch run;
    run.history.filesQueued({ u"/a"_s, u"/b"_s });
    run.confirmNext();
    run.ledger.open(m_path, u"Quillbox"_s);
    run.history.queueCleared();
    run.settle();

    EXPECT_EQ(outcomes(), (QStringList{ row(u"a"_s, Outcome::Confirmed), row(u"b"_s, Outcome::Removed) }));
}

TEST_F(UploadLedgerTest, TheFilesAreForTheUserAlone)
{
    Launch run(m_path);
    run.history.filesQueued({ u"/a"_s });
    ASSERT_TRUE(waitFor([this] { return !outcomes().isEmpty(); }));

    for (const QString& name : { QString(), u"-wal"_s, u"-shm"_s }) {
        struct stat status { };
        ASSERT_EQ(stat(QFile::encodeName(m_path + name).constData(), &status), 0) << name.toStdString();
        EXPECT_EQ(status.st_mode & 0777, 0600) << name.toStdString();
    }
    struct stat folder { };
    ASSERT_EQ(stat(QFile::encodeName(QFileInfo(m_path).path()).constData(), &folder), 0);
    EXPECT_EQ(folder.st_mode & 0777, 0700);
}

TEST_F(UploadLedgerTest, ARowIsThereAFifthOfASecondAfterItsDropAndItsOutcome)
{
    Launch run(m_path);
    run.history.note(u"Ready"_s);
    ASSERT_TRUE(waitFor([this] { return outcomes().size() == 1; }));
    const auto isThereInTime = [this](const QString& last) {
        QElapsedTimer timer;
        timer.start();
        EXPECT_TRUE(waitFor([this, &last] { return outcomes().last() == last; }));
        return timer.elapsed() <= 200;
    };
    bool isInTime = false;
    for (int number = 0; !isInTime && number < 50; ++number) { // Somebody else may have the machine for a while.
        const QString name = u"file %1"_s.arg(number);
        run.history.filesQueued({ u'/' + name });
        const bool isDropInTime = isThereInTime(row(name, Outcome::Waiting));
        run.confirmNext();
        isInTime = isThereInTime(row(name, Outcome::Confirmed)) && isDropInTime;
    }

    EXPECT_TRUE(isInTime);
}

TEST_F(UploadLedgerTest, NewsThatKeepComingPutNothingOff)
{
    Launch run(m_path);
    QTimer news;
    QObject::connect(&news, &QTimer::timeout, [&run] { run.history.note(u"News"_s); });
    news.start(5);

    EXPECT_TRUE(waitFor([this] { return outcomes().size() >= 20; }));
}

TEST_F(UploadLedgerTest, WhatWaitedInARunThatHasEndedWasInterrupted)
{
    {
        Launch run(m_path);
        run.history.filesQueued({ u"/a"_s, u"/b"_s, u"/c"_s });
        run.confirmNext();
        run.history.nextFileStarts({ u"ftp://host/"_s });
        run.settle();
    }
    EXPECT_EQ(interruptedOf(u"Other"_s), 0);
    Launch next(m_path);
    next.history.filesQueued({ u"/d"_s });
    next.settle();

    EXPECT_EQ(next.ledger.interrupted().size(), 2);
    EXPECT_EQ(outcomes(),
              (QStringList{ row(u"a"_s, Outcome::Confirmed), row(u"b"_s, Outcome::Interrupted),
                            row(u"c"_s, Outcome::Interrupted), row(u"d"_s, Outcome::Waiting) }));
}

TEST_F(UploadLedgerTest, WhatWaitsInARunThatGoesOnIsNotInterrupted)
{
    Launch run(m_path);
    run.history.filesQueued({ u"/a"_s });
    ASSERT_TRUE(waitFor([this] { return outcomes().size() == 1; }));

    EXPECT_EQ(interruptedOf(u"Quillbox"_s), 0);
    EXPECT_EQ(outcomes(), QStringList{ row(u"a"_s, Outcome::Waiting) });
}

TEST_F(UploadLedgerTest, NobodyIsAskedAgainAboutFilesThatWereForgotten)
{
    {
        Launch run(m_path);
        run.history.filesQueued({ u"/a"_s });
        run.settle();
    }
    Launch next(m_path);
    ASSERT_TRUE(waitFor([&next] { return next.ledger.interrupted().size() == 1; }));
    next.ledger.forgetInterrupted();
    ASSERT_TRUE(waitFor([&next] { return next.ledger.interrupted().size() == 0; }));
    next.settle();

    EXPECT_EQ(interruptedOf(u"Quillbox"_s), 0);
    EXPECT_EQ(outcomes(), QStringList{ row(u"a"_s, Outcome::Interrupted) });
}

TEST_F(UploadLedgerTest, AWalkThatARunHasNotEndedIsANoteThatTheNextStartOfItsCopyTellsOf)
{
    {
        Launch run(m_path, u"Bilder"_s);
        run.ledger.setLookingThrough(true);
        run.history.filesQueued({ u"/a"_s, u"/b"_s });
        run.confirmNext();
        run.settle();
    }
    EXPECT_EQ(outcomes(), (QStringList{ row(u"a"_s, Outcome::Confirmed), row(u"b"_s, Outcome::Waiting) }));
    EXPECT_EQ(interruptedWalksOf(u"Quillbox"_s), 0);

    EXPECT_EQ(interruptedWalksOf(u"Bilder"_s), 1);
    EXPECT_EQ(interruptedOf(u"Bilder"_s), 1);
    EXPECT_EQ(
        outcomes(),
        (QStringList{ row(u"a"_s, Outcome::Confirmed), row(u"b"_s, Outcome::Interrupted),
                      row(u"Quillbox ended before all that was dropped had been looked through."_s, Outcome::Note) }));
    EXPECT_EQ(ask(u"SELECT DISTINCT copy, folder FROM files WHERE time > 1000 * (unixepoch() - 60) AND row = 3"_s),
              QStringList{ u"Bilder|"_s });
    EXPECT_EQ(walks(), QStringList{ u"0"_s });
}

TEST_F(UploadLedgerTest, EachWalkThatWasNotEndedIsToldOfAlsoWhereItHadFoundNothing)
{
    endInMidWalk();
    endInMidWalk();

    Launch next(m_path);
    next.settle();
    EXPECT_EQ(next.ledger.interruptedWalks(), (QList<LedgerKey>{ { .row = 1 }, { .row = 2 } }));
    EXPECT_TRUE(next.ledger.interrupted().isEmpty());
}

TEST_F(UploadLedgerTest, OfAWalkThatWasEndedNothingIsTold)
{
    {
        Launch run(m_path);
        run.ledger.setLookingThrough(true);
        run.history.filesQueued({ u"/a"_s });
        ASSERT_TRUE(waitFor([this] { return walks() == QStringList{ u"1"_s }; }));
        run.confirmNext();
        run.ledger.setLookingThrough(false);
        run.settle();
    }
    EXPECT_EQ(interruptedWalksOf(u"Quillbox"_s), 0);
    EXPECT_EQ(outcomes(), QStringList{ row(u"a"_s, Outcome::Confirmed) });
}

TEST_F(UploadLedgerTest, NorOfOneInARunThatGoesOn)
{
    Launch run(m_path);
    run.ledger.setLookingThrough(true);
    ASSERT_TRUE(waitFor([this] { return walks() == QStringList{ u"1"_s }; }));

    EXPECT_EQ(interruptedWalksOf(u"Quillbox"_s), 0);
    EXPECT_EQ(walks(), QStringList{ u"1"_s });
}

TEST_F(UploadLedgerTest, AWalkThatBeganBeforeTheLedgerWasOpenedIsKnown)
{
    {
        Launch run;
        run.ledger.setLookingThrough(true);
        run.ledger.open(m_path, u"Quillbox"_s);
        run.settle();
    }
    EXPECT_EQ(interruptedWalksOf(u"Quillbox"_s), 1);
}

TEST_F(UploadLedgerTest, TheNoteOfAWalkIsToldOfUntilItIsForgottenAndStaysThen)
{
    endInMidWalk();
    EXPECT_EQ(interruptedWalksOf(u"Other"_s, { .files = 0, .days = 90 }), 0);
    {
        Launch other(m_path, u"Other"_s);
        other.ledger.clear();
        other.settle();
    }
    EXPECT_EQ(interruptedWalksOf(u"Quillbox"_s), 1);
    Launch next(m_path);
    ASSERT_TRUE(waitFor([&next] { return next.ledger.interruptedWalks().size() == 1; }));
    next.ledger.forgetInterrupted();
    EXPECT_TRUE(waitFor([&next] { return next.ledger.interruptedWalks().isEmpty(); }));
    next.settle();

    EXPECT_EQ(interruptedWalksOf(u"Quillbox"_s), 0);
    EXPECT_EQ(outcomes().size(), 1);
}

TEST_F(UploadLedgerTest, ClearingKeepsWhatWaits)
{
    Launch run(m_path);
    run.history.filesQueued({ u"/a"_s, u"/b"_s, u"/c"_s });
    run.confirmNext();
    run.history.nextFileStarts({ u"ftp://host/"_s });
    run.ledger.clear();
    run.settle();

    EXPECT_EQ(outcomes(), (QStringList{ row(u"b"_s, Outcome::Sending), row(u"c"_s, Outcome::Waiting) }));
}

TEST_F(UploadLedgerTest, ClearingKeepsWhatAnotherCopyHasToSayYet)
{
    for (const QString& copy : { u"Bilder"_s, u"Quillbox"_s }) {
        Launch run(m_path, copy);
        run.history.filesQueued({ u"/of "_s + copy });
        run.settle();
    }
    Launch run(m_path);
    run.ledger.clear();
    run.settle();

    EXPECT_EQ(outcomes(), QStringList{ row(u"of Bilder"_s, Outcome::Interrupted) });
    EXPECT_EQ(interruptedOf(u"Bilder"_s), 1);
}

TEST_F(UploadLedgerTest, TheLastEndedFilesAreKeptAndAllThatWait)
{
    {
        Launch run(m_path);
        run.history.filesQueued({ u"/a"_s, u"/b"_s, u"/c"_s, u"/d"_s, u"/e"_s });
        for (int i = 0; i < 3; ++i) {
            run.confirmNext();
        }
        run.settle();
    }
    Launch next(m_path, u"Quillbox"_s, { .files = 2, .days = 90 });
    next.settle();

    EXPECT_EQ(outcomes().size(), 2); // Of five that have ended the last two, which are undecided.
    {
        Launch again(m_path, u"Quillbox"_s, { .files = 1, .days = 90 });
        again.settle();
    }
    EXPECT_EQ(outcomes(), (QStringList{ row(u"d"_s, Outcome::Interrupted), row(u"e"_s, Outcome::Interrupted) }));
}

TEST_F(UploadLedgerTest, OldFilesGoByTheirPlaceWhateverAClockHasSaidInBetween)
{
    shiftWallClock(-100 * 24h);
    sendOne(u"/old"_s);
    shiftWallClock(0s);
    sendOne(u"/young"_s);
    shiftWallClock(-1000 * 24h); // It was set back for a while.
    sendOne(u"/set back"_s);
    shiftWallClock(0s);
    sendOne(u"/last"_s);
    Launch(m_path).settle();

    EXPECT_EQ(ask(u"SELECT name FROM files ORDER BY row"_s), (QStringList{ u"young"_s, u"set back"_s, u"last"_s }));
}

TEST_F(UploadLedgerTest, OldFilesStayUntilSomebodyHasSaidWhatIsToBecomeOfThem)
{
    shiftWallClock(-100 * 24h);
    {
        Launch run(m_path);
        run.history.filesQueued({ u"/a"_s, u"/b"_s });
        run.confirmNext();
        run.settle();
    }
    shiftWallClock(0s);
    {
        Launch run(m_path, u"Other"_s);
        run.history.filesQueued({ u"/c"_s });
        run.confirmNext();
        run.settle();
    }

    EXPECT_EQ(interruptedOf(u"Quillbox"_s), 1);
    EXPECT_EQ(outcomes(), (QStringList{ row(u"b"_s, Outcome::Interrupted), row(u"c"_s, Outcome::Confirmed) }));
}

TEST_F(UploadLedgerTest, AStartWithAClockThatRunsAheadRemovesNothing)
{
    {
        Launch run(m_path);
        run.history.filesQueued({ u"/a"_s });
        run.confirmNext();
        run.settle();
    }
    shiftWallClock(1000 * 24h);
    Launch(m_path).settle();
    shiftWallClock(0s);

    EXPECT_EQ(outcomes(), QStringList{ row(u"a"_s, Outcome::Confirmed) });
}

TEST_F(UploadLedgerTest, AFileOfAClockThatRanAheadKeepsNoOldOnes)
{
    shiftWallClock(-100 * 24h);
    sendOne(u"/old"_s);
    shiftWallClock(1000 * 24h);
    sendOne(u"/ahead"_s);
    shiftWallClock(0s);
    sendOne(u"/young"_s);
    Launch(m_path).settle();

    EXPECT_EQ(outcomes(), QStringList{ row(u"young"_s, Outcome::Confirmed) });
}

/// Files of an earlier run that can be found.
class LedgerQueryTest : public UploadLedgerTest {
protected:
    LedgerQueryTest()
    {
        Launch run(m_path, u"Bilder"_s);
        run.history.filesQueued({ u"/v/.//./x/beta"_s, u"/x/Alpha_1"_s, u"/y/gamma"_s });
        run.history.nextFileStarts({ u"ftp://one/"_s });
        run.history.fileMoves(10);
        run.history.fileConfirmed(10, u"226 100% done"_s);
        run.history.nextFileStarts({ u"ftp://two/"_s });
        run.history.fileMoves(30);
        run.history.fileEnded({ .kind = Outcome::Refused, .code = 550, .status = u"Error"_s, .reply = u"550 No"_s });
        run.settle();
    }

    /// The names of what is found from a run in which "/z/delta" waits.
    QStringList namesOf(const LedgerQuery& query)
    {
        Launch run(m_path);
        run.history.filesQueued({ u"/z/delta"_s });
        std::optional<QStringList> names;
        run.ledger.find(query, &run.ledger, [&](const std::optional<QList<LedgerKey>>& keys) {
            run.ledger.read(*keys, &run.ledger, [&names](const std::optional<QList<LedgerRow>>& rows) {
                names.emplace();
                for (const LedgerRow& row : *rows) {
                    names->append(row.entry.path.section(u'/', -1));
                }
            });
        });
        EXPECT_TRUE(waitFor([&names] { return names.has_value(); }));
        run.history.queueCleared();
        run.settle();
        ask(u"DELETE FROM files WHERE name = CAST('delta' AS BLOB)"_s);
        return names.value_or(QStringList());
    }
};

TEST_F(LedgerQueryTest, AllRowsAreFoundInTheirOrderThisRunIncluded)
{
    EXPECT_EQ(namesOf({}), (QStringList{ u"beta"_s, u"Alpha_1"_s, u"gamma"_s, u"delta"_s }));
    EXPECT_EQ(namesOf({ .isDescending = true }), (QStringList{ u"delta"_s, u"gamma"_s, u"Alpha_1"_s, u"beta"_s }));
}

TEST_F(LedgerQueryTest, ATextIsFoundInPathDestinationReplyAndCopyWhateverItsCase)
{
    EXPECT_EQ(namesOf({ .text = u"/v/X/B"_s }), QStringList{ u"beta"_s }); // As it is shown.
    EXPECT_EQ(namesOf({ .text = u"ftp://TWO"_s }), QStringList{ u"Alpha_1"_s });
    EXPECT_EQ(namesOf({ .text = u"550"_s }), QStringList{ u"Alpha_1"_s });
    EXPECT_EQ(namesOf({ .text = u"bilder"_s }), (QStringList{ u"beta"_s, u"Alpha_1"_s, u"gamma"_s }));
    EXPECT_EQ(namesOf({ .text = u"0%"_s }), QStringList{ u"beta"_s });
    EXPECT_EQ(namesOf({ .text = u"a_1"_s }), QStringList{ u"Alpha_1"_s });
    EXPECT_EQ(namesOf({ .text = u"\\"_s }), QStringList());
}

TEST_F(LedgerQueryTest, ATextIsFoundInWhatTheColumnForTheOutcomeShows)
{
    EXPECT_EQ(namesOf({ .text = u"confirmed by"_s }), QStringList{ u"beta"_s });
    EXPECT_EQ(namesOf({ .text = u"Failed: Error"_s }), QStringList{ u"Alpha_1"_s });
    EXPECT_EQ(namesOf({ .text = u"Quillbox ended"_s }), QStringList{ u"gamma"_s });
    EXPECT_EQ(namesOf({ .text = u"Waiting"_s }), QStringList{ u"delta"_s });
    ask(u"UPDATE files SET outcome = %1, listedSize = 1234567, status = 'Unseen' WHERE size = 30"_s.arg(
        static_cast<int>(Outcome::OtherSize)));
    const QString listed = QLocale().toString(1234567);
    EXPECT_EQ(namesOf({ .text = u"but %1 bytes listed, not 30"_s.arg(listed) }), QStringList{ u"Alpha_1"_s });
    EXPECT_EQ(namesOf({ .text = u"%1"_s }), QStringList());
    EXPECT_EQ(namesOf({ .text = u"Unseen"_s }), QStringList());
    {
        Launch run(m_path, u"Bilder"_s);
        ASSERT_TRUE(waitFor([&run] { return run.ledger.interrupted().size() == 1; }));
        run.ledger.queuedAgain(run.ledger.interrupted());
        run.settle();
    }
    EXPECT_EQ(namesOf({ .text = u"ended (queued again)"_s }), QStringList{ u"gamma"_s });
}

TEST_F(LedgerQueryTest, FailedAreAlsoThoseThatWereInterrupted)
{
    EXPECT_EQ(namesOf({ .failedOnly = true }), (QStringList{ u"Alpha_1"_s, u"gamma"_s }));
    EXPECT_EQ(namesOf({ .text = u"gam"_s, .failedOnly = true }), QStringList{ u"gamma"_s });
}

TEST_F(LedgerQueryTest, RowsAreSortedByEachColumnWhatIsNotKnownAtTheEnd)
{
    using enum LedgerQuery::Order;
    EXPECT_EQ(namesOf({ .order = Name }), (QStringList{ u"Alpha_1"_s, u"beta"_s, u"delta"_s, u"gamma"_s }));
    EXPECT_EQ(namesOf({ .order = Size, .isDescending = true }),
              (QStringList{ u"Alpha_1"_s, u"beta"_s, u"delta"_s, u"gamma"_s }));
    EXPECT_EQ(namesOf({ .order = Speed }).first(), u"beta"_s);
    EXPECT_EQ(namesOf({ .order = Kind }), (QStringList{ u"delta"_s, u"beta"_s, u"Alpha_1"_s, u"gamma"_s }));
    EXPECT_EQ(namesOf({ .order = Reply }).first(), u"beta"_s);
    EXPECT_EQ(namesOf({ .order = Copy }).last(), u"delta"_s);
    for (const LedgerQuery::Order order : { Time, Duration }) {
        EXPECT_EQ(namesOf({ .order = order }).size(), 4);
    }
}

TEST_F(LedgerQueryTest, ATableIsWrittenThatEverySpreadsheetReadsAndNoneRuns)
{
    Launch run(m_path, u"=copy"_s);
    run.history.filesQueued({ LocalPath::fromBytes("/caf\xe9/a,\"b\"\n") });
    const QString path = m_directory.filePath(u"history.csv"_s);
    std::optional<bool> isWritten;
    run.ledger.writeCsv(path, { .text = u"=copy"_s }, &run.ledger, [&](bool answer) { isWritten = answer; });
    ASSERT_TRUE(waitFor([&] { return isWritten.has_value(); }));

    EXPECT_TRUE(*isWritten);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(file.readAll());
    EXPECT_TRUE(text.startsWith(u"\"File\",\"Size (bytes)\",\""_s)) << text.toStdString();
    EXPECT_TRUE(text.contains(u"\r\n\"/caf⟨0xE9⟩/a,\"\"b\"\"␊\",\"\",\"\",\"\",\"Waiting\",\"\","_s))
        << text.toStdString();
    EXPECT_TRUE(text.contains(u",\"'=copy\","_s)) << text.toStdString();
    EXPECT_EQ(text.count(u"\r\n"_s), 2);
    isWritten.reset();
    run.ledger.writeCsv(u"/nonexistent/history.csv"_s, {}, &run.ledger, [&](bool answer) { isWritten = answer; });
    ASSERT_TRUE(waitFor([&] { return isWritten.has_value(); }));
    EXPECT_FALSE(*isWritten);
}

TEST_F(LedgerQueryTest, ADatabaseThatCannotBeReadIsNoEmptyOne)
{
    Launch run(m_path);
    std::optional<bool> isRead;
    run.ledger.find({}, &run.ledger, [&isRead](const auto& keys) { isRead = keys.has_value(); });
    ASSERT_TRUE(waitFor([&isRead] { return isRead == true; }));
    ask(u"ALTER TABLE files RENAME TO gone"_s);
    isRead.reset();
    run.ledger.find({}, &run.ledger, [&isRead](const auto& keys) { isRead = keys.has_value(); });
    ASSERT_TRUE(waitFor([&isRead] { return isRead.has_value(); }));
    EXPECT_FALSE(*isRead);
    EXPECT_TRUE(run.ledger.readProblem().contains(u"no such table"_s)) << run.ledger.readProblem().toStdString();
    run.ledger.read({ { .row = 1 } }, &run.ledger, [&isRead](const auto& rows) { isRead = !rows.has_value(); });
    EXPECT_TRUE(waitFor([&isRead] { return *isRead; }));
    ask(u"ALTER TABLE gone RENAME TO files"_s);

    QSignalSpy changes(&run.ledger, &UploadLedger::readProblemChanged);
    run.ledger.find({}, &run.ledger, [](const auto&) {});
    EXPECT_TRUE(waitFor([&changes] { return changes.size() == 1; }));
    EXPECT_TRUE(run.ledger.readProblem().isNull());
}

TEST_F(LedgerQueryTest, WhereTheDatabaseHasGoneReadingMakesNone)
{
    Launch run(m_path);
    std::optional<bool> isRead;
    run.history.note(u"Mine"_s);
    ASSERT_TRUE(waitFor([this] { return outcomes().last().startsWith(u"Mine"_s); }));
    ASSERT_TRUE(QDir().rename(QFileInfo(m_path).path(), m_directory.filePath(u"elsewhere"_s)));
    ASSERT_TRUE(QDir().mkpath(QFileInfo(m_path).path()));
    run.ledger.find({}, &run.ledger, [&isRead](const auto& keys) { isRead = keys.has_value(); });
    ASSERT_TRUE(waitFor([&isRead] { return isRead.has_value(); }));

    EXPECT_FALSE(*isRead);
    EXPECT_FALSE(QFile::exists(m_path));
}

TEST_F(LedgerQueryTest, WhatOthersHaveWrittenIsNoticedAndWhatThisRunHasIsNot)
{
    Launch run(m_path);
    QSignalSpy news(&run.ledger, &UploadLedger::othersChanged);
    run.ledger.lookForOthers();
    run.history.note(u"Mine"_s);
    ASSERT_TRUE(waitFor([this] { return outcomes().last().startsWith(u"Mine"_s); }));
    run.ledger.lookForOthers();
    run.ledger.forgetInterrupted(); // Which is news, behind what was looked for.
    ASSERT_TRUE(waitFor([&news] { return !news.isEmpty(); }));
    EXPECT_EQ(news.size(), 1);
    ask(u"UPDATE files SET reply = 'Other'"_s);
    run.ledger.lookForOthers();

    EXPECT_TRUE(waitFor([&news] { return news.size() == 2; }));
}

TEST_F(UploadLedgerTest, AHistoryInMemoryIsReadLikeOneOnDisk)
{
    Launch run{ QString() };
    run.history.filesQueued({ u"/a"_s, u"/b"_s });
    std::optional<QList<LedgerKey>> found;
    run.ledger.find({ .text = u"/b"_s }, &run.ledger, [&found](const auto& keys) { found = keys; });
    ASSERT_TRUE(waitFor([&found] { return found.has_value(); }));

    EXPECT_EQ(*found, QList<LedgerKey>{ { .number = 1 } });
}

/// So much that reading it takes longer than writing down a file.
class LongHistoryTest : public UploadLedgerTest {
protected:
    LongHistoryTest()
    {
        Launch(m_path).settle();
        ask(u"WITH RECURSIVE numbers(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM numbers WHERE n < 100000) "
            "INSERT INTO files (run, number, copy, name, outcome, time) "
            "SELECT 7, n, x'41', CAST('file ' || n AS BLOB), 2, 1000 * unixepoch() FROM numbers"_s);
    }
    QString table(int number) const { return m_directory.filePath(u"%1.csv"_s.arg(number)); }
};

TEST_F(LongHistoryTest, AFileIsWrittenDownBesideTablesThatAreBeingWritten)
{
    Launch run(m_path);
    constexpr int tables = 20; // More than are written while somebody else has the machine for a while.
    int written = 0;
    for (int number = 0; number < tables; ++number) {
        run.ledger.writeCsv(table(number), {}, &run.ledger, [&written](bool) { ++written; });
    }
    run.history.filesQueued({ u"/a"_s });

    EXPECT_TRUE(
        waitFor([this] { return ask(u"SELECT name FROM files WHERE outcome = 0"_s) == QStringList{ u"a"_s }; }));
    EXPECT_LT(written, tables);
}

TEST_F(LongHistoryTest, AtTheEndNoQuestionIsWaitedForAndNothingThatIsWrittenIsLost)
{
    Launch run(m_path);
    for (int number = 0; number < 50; ++number) {
        run.ledger.writeCsv(table(number), {}, &run.ledger, [](bool) {});
    }
    run.history.filesQueued({ u"/a"_s });
    EXPECT_TRUE(run.ledger.close(60s));

    EXPECT_EQ(ask(u"SELECT name FROM files WHERE outcome = 0"_s), QStringList{ u"a"_s });
    EXPECT_FALSE(QFile::exists(table(49)));
}

TEST_F(LedgerQueryTest, WhatWasQueuedAgainIsKnownAtTheNextStart)
{
    Launch run(m_path, u"Bilder"_s);
    ASSERT_TRUE(waitFor([&run] { return run.ledger.interrupted().size() == 1; }));
    run.ledger.queuedAgain(run.ledger.interrupted());
    ASSERT_TRUE(waitFor([&run] { return run.ledger.interrupted().isEmpty(); }));
    run.settle();

    EXPECT_EQ(ask(u"SELECT name FROM files WHERE settled = 1"_s), QStringList{ u"gamma"_s });
    EXPECT_EQ(interruptedOf(u"Bilder"_s), 0);
}

TEST_F(UploadLedgerTest, APasswordInADestinationIsNotWritten)
{
    Launch run(m_path);
    run.history.manualFileStarts(u"/m"_s, { u"ftp://anna:s3cr@t@host:21/in/"_s });
    run.history.fileEnded({ .kind = Outcome::Stopped });
    run.settle();

    EXPECT_EQ(ask(u"SELECT destination FROM files"_s), QStringList{ u"ftp://anna@host:21/in/"_s });
}

TEST_F(UploadLedgerTest, ADamagedDatabaseIsSetAsideAndTheRunGoesOn)
{
    QDir().mkpath(QFileInfo(m_path).path());
    const QByteArray damage(5000, 'x');
    {
        QFile file(m_path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(damage);
    }
    Launch run(m_path);
    run.history.filesQueued({ u"/a"_s });
    run.settle();

    ASSERT_EQ(run.problems.size(), 1);
    const QString aside = m_path + u".damaged"_s;
    EXPECT_TRUE(run.ledger.problem().contains(aside)) << run.ledger.problem().toStdString();
    EXPECT_TRUE(run.ledger.path().isNull());
    QFile kept(aside);
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), damage);
    EXPECT_FALSE(QFile::exists(m_path));

    Launch next(m_path);
    next.history.filesQueued({ u"/b"_s });
    next.settle();
    EXPECT_TRUE(next.problems.isEmpty());
    EXPECT_EQ(outcomes(), QStringList{ row(u"b"_s, Outcome::Waiting) });
}

TEST_F(UploadLedgerTest, WhatWasSetAsideBeforeStays)
{
    QDir().mkpath(QFileInfo(m_path).path());
    const QStringList names{ u".damaged"_s, u".damaged-2"_s, u".damaged-3"_s };
    for (const QString& name : names) {
        QFile file(m_path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(5000, 'x') + name.toUtf8());
        file.close();
        Launch(m_path).settle();
    }

    for (const QString& name : names) {
        QFile file(m_path + name);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
        EXPECT_TRUE(file.readAll().endsWith(name.toUtf8())) << name.toStdString();
    }
}

TEST_F(UploadLedgerTest, ADamagedDatabaseIsSetAsideWithItsCompanions)
{
    LedgerDatabase first(u"first"_s);
    LedgerDatabase second(u"second"_s); // Which keeps the companions there.
    ASSERT_EQ(first.open(m_path), LedgerProblem::None);
    ASSERT_EQ(second.open(m_path), LedgerProblem::None);
    QFile leftOver(m_path + u".damaged-wal"_s);
    ASSERT_TRUE(leftOver.open(QIODevice::WriteOnly));
    first.leave();

    EXPECT_EQ(first.setAside(), m_path + u".damaged-2"_s);
    for (const QString& part : { QString(), u"-wal"_s, u"-shm"_s }) {
        EXPECT_FALSE(QFile::exists(m_path + part)) << part.toStdString();
        EXPECT_TRUE(QFile::exists(m_path + u".damaged-2"_s + part)) << part.toStdString();
    }
    EXPECT_EQ(QFileInfo(leftOver).size(), 0);
}

TEST_F(UploadLedgerTest, ACopyThatIsStoppedWhileItOpensTheDatabaseStopsNoOther)
{
    LedgerDatabase database(u"Quillbox"_s);
    ASSERT_EQ(database.open(m_path), LedgerProblem::None);
    const RunLocks others(QFileInfo(m_path).path() + u"/history.runs"_s);
    {
        const RunLocks::Alone stopped(others);
        database.leave();
        EXPECT_TRUE(database.setAside().isNull());
        EXPECT_EQ(database.open(m_path), LedgerProblem::Busy);
        EXPECT_FALSE(database.reason().isEmpty());
    }
    EXPECT_EQ(database.open(m_path), LedgerProblem::None);
}

TEST_F(UploadLedgerTest, ACopyThatFindsTheDamageLaterLeavesTheNewDatabaseOfAnother)
{
    LedgerDatabase first(u"first"_s);
    LedgerDatabase second(u"second"_s);
    ASSERT_EQ(first.open(m_path), LedgerProblem::None);
    ASSERT_EQ(second.open(m_path), LedgerProblem::None);
    first.leave();
    EXPECT_EQ(first.setAside(), m_path + u".damaged"_s);
    sendOne(u"/a"_s);
    second.leave();

    EXPECT_TRUE(second.setAside().isNull());
    EXPECT_EQ(outcomes(), QStringList{ row(u"a"_s, Outcome::Confirmed) });
}

TEST_F(UploadLedgerTest, ADatabaseThatCannotBeReadAtTheMomentIsNotDamaged)
{
    Launch(m_path).settle();
    for (int number = 0; number < 40; ++number) { // So that the schema has several pages.
        ask(u"CREATE VIEW filler%1 AS SELECT '%2'"_s.arg(number).arg(QString(500, u'x')));
    }
    const FaultyFileCalls faults;
    int failed = 0;
    for (int number = 1; failed == number - 1; ++number) {
        FaultyFileCalls::failToReadDatabase(number);
        LedgerDatabase database(u"Quillbox"_s);
        const LedgerProblem problem = database.open(m_path);
        if (FaultyFileCalls::hasFailedToReadDatabase()) {
            EXPECT_EQ(problem, LedgerProblem::NotWritable) << number << ": " << database.reason().toStdString();
            ++failed;
        }
    }

    EXPECT_GT(failed, 3);
}

TEST_F(UploadLedgerTest, TablesThatAreNotOursAreSetAside)
{
    QDir().mkpath(QFileInfo(m_path).path());
    for (const int version : { 0, 1, 2, 3, 4 }) {
        ask(u"CREATE TABLE files (a)"_s);
        ask(u"PRAGMA user_version = %1"_s.arg(version));
        Launch run(m_path);
        run.settle();

        EXPECT_TRUE(run.ledger.problem().contains(m_path + u".damaged"_s)) << run.ledger.problem().toStdString();
        EXPECT_FALSE(QFile::exists(m_path)) << version;
    }
}

TEST_F(UploadLedgerTest, ADatabaseOfALaterVersionStaysAsItIs)
{
    QDir().mkpath(QFileInfo(m_path).path());
    ask(u"PRAGMA user_version = 99"_s);
    const auto bytes = [this] {
        QFile file(m_path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    const QByteArray before = bytes();
    ASSERT_FALSE(before.isEmpty());
    Launch run(m_path);
    run.history.filesQueued({ u"/a"_s });
    run.settle();

    ASSERT_EQ(run.problems.size(), 1);
    EXPECT_TRUE(run.ledger.problem().contains(u"later version"_s));
    EXPECT_EQ(bytes(), before);
}

TEST_F(UploadLedgerTest, AFileSystemThatCannotLockIsSaidOnce)
{
    const FaultyFileCalls faults;
    FaultyFileCalls::failToLock(ENOLCK);
    Launch run(m_path);
    run.history.filesQueued({ u"/a"_s });
    run.settle();

    ASSERT_EQ(run.problems.size(), 1);
    EXPECT_TRUE(run.ledger.problem().contains(u"No locks available"_s));
}

TEST_F(UploadLedgerTest, ADatabaseToWhichSomebodyWritesForLongIsOpenedAfterwards)
{
    Launch(m_path).settle();
    Launch run;
    {
        QSqlDatabase other = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"other"_s);
        other.setDatabaseName(m_path);
        ASSERT_TRUE(other.open());
        EXPECT_TRUE(QSqlQuery(other).exec(u"BEGIN IMMEDIATE"_s));
        run.ledger.open(m_path, u"Quillbox"_s);
        run.history.filesQueued({ u"/a"_s });
        EXPECT_FALSE(waitFor([&run] { return !run.problems.isEmpty(); }, 6s)); // One attempt takes five.
        EXPECT_TRUE(QSqlQuery(other).exec(u"ROLLBACK"_s));
    }
    QSqlDatabase::removeDatabase(u"other"_s);
    run.settle();

    EXPECT_TRUE(run.ledger.problem().isNull());
    EXPECT_EQ(outcomes(), QStringList{ row(u"a"_s, Outcome::Waiting) });
}

TEST_F(UploadLedgerTest, WhereOthersWriteForTooLongItGoesOnInMemoryAndSaysSo)
{
    Launch(m_path).settle();
    Launch run;
    {
        QSqlDatabase other = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"other"_s);
        other.setDatabaseName(m_path);
        ASSERT_TRUE(other.open());
        EXPECT_TRUE(QSqlQuery(other).exec(u"BEGIN IMMEDIATE"_s));
        run.ledger.open(m_path, u"Quillbox"_s, {}, 0ms);
        run.history.filesQueued({ u"/a"_s });
        EXPECT_TRUE(waitFor([&run] { return !run.problems.isEmpty(); }));
    }
    QSqlDatabase::removeDatabase(u"other"_s);

    EXPECT_TRUE(run.ledger.problem().contains(u"database is locked"_s)) << run.ledger.problem().toStdString();
    EXPECT_TRUE(run.ledger.path().isNull());
    std::optional<qsizetype> found;
    run.ledger.find({}, &run.ledger, [&found](const auto& keys) { found = keys.value().size(); });
    EXPECT_TRUE(waitFor([&found] { return found == 1; }));
}

TEST_F(UploadLedgerTest, WhereOthersBeginToWriteForTooLongItGoesOnInMemory)
{
    Launch run;
    run.ledger.open(m_path, u"Quillbox"_s, {}, 0ms);
    run.history.filesQueued({ u"/a"_s });
    ASSERT_TRUE(waitFor([this] { return outcomes().size() == 1; }));
    {
        QSqlDatabase other = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"other"_s);
        other.setDatabaseName(m_path);
        ASSERT_TRUE(other.open());
        EXPECT_TRUE(QSqlQuery(other).exec(u"BEGIN IMMEDIATE"_s));
        run.history.filesQueued({ u"/b"_s });
        EXPECT_TRUE(waitFor([&run] { return !run.problems.isEmpty(); }));
    }
    QSqlDatabase::removeDatabase(u"other"_s);

    EXPECT_TRUE(run.ledger.problem().contains(u"database is locked"_s)) << run.ledger.problem().toStdString();
    std::optional<qsizetype> found;
    run.ledger.find({}, &run.ledger, [&found](const auto& keys) { found = keys.value().size(); });
    EXPECT_TRUE(waitFor([&found] { return found == 2; }));
}

TEST_F(UploadLedgerTest, AFolderThatCannotBeMadeIsSaidOnce)
{
    QFile file(m_directory.filePath(u"state"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    Launch run(m_path);
    run.history.filesQueued({ u"/a"_s, u"/b"_s });
    run.confirmNext();
    run.settle();

    ASSERT_EQ(run.problems.size(), 1);
    EXPECT_FALSE(run.problems[0][0].toBool());
    EXPECT_TRUE(run.ledger.problem().contains(u"File exists"_s)) << run.ledger.problem().toStdString();
}

TEST_F(UploadLedgerTest, AFullDiskIsSaidOnceAndTheRunGoesOn)
{
    const SmallDisk disk(m_directory.path());
    ASSERT_TRUE(disk.problem().isEmpty()) << disk.problem().toStdString();
    Launch run(m_path);
    run.history.filesQueued({ u"/a"_s });
    ASSERT_TRUE(waitFor([this] { return outcomes().size() == 1; }));
    PathList many;
    for (int i = 0; i < 20'000; ++i) {
        many.append(u"/a folder with a name/a file with a long name %1"_s.arg(i));
    }
    run.history.filesQueued(many);
    run.confirmNext();
    run.settle();

    ASSERT_EQ(run.problems.size(), 1);
    EXPECT_TRUE(run.problems[0][0].toBool());
    EXPECT_TRUE(run.ledger.problem().contains(u"full"_s)) << run.ledger.problem().toStdString();
    EXPECT_EQ(outcomes(), QStringList{ row(u"a"_s, Outcome::Waiting) });
}

TEST_F(UploadLedgerTest, AfterAProblemOthersTakeTheRunForOneThatGoesOnUntilItEnds)
{
    Launch run(m_path);
    run.history.filesQueued({ u"/a"_s });
    ASSERT_TRUE(waitFor([this] { return outcomes().size() == 1; }));
    ask(u"CREATE TRIGGER refusal BEFORE INSERT ON files BEGIN SELECT RAISE(ABORT, 'no'); END"_s);
    run.history.filesQueued({ u"/b"_s });
    ASSERT_TRUE(waitFor([&run] { return run.problems.size() == 1; }));
    ask(u"DROP TRIGGER refusal"_s);

    EXPECT_EQ(interruptedOf(u"Quillbox"_s), 0);
    run.settle();
    EXPECT_EQ(interruptedOf(u"Quillbox"_s), 1);
}

TEST_F(UploadLedgerTest, AfterAProblemNoRowOfTheDatabaseIsTakenForAnother)
{
    {
        Launch run(m_path);
        run.history.filesQueued({ u"/a"_s });
        run.settle();
    }
    Launch run(m_path);
    ASSERT_TRUE(waitFor([&run] { return run.ledger.interrupted().size() == 1; }));
    const QList<LedgerKey> keys = run.ledger.interrupted();
    QSignalSpy news(&run.ledger, &UploadLedger::othersChanged);
    ask(u"CREATE TRIGGER refusal BEFORE INSERT ON files BEGIN SELECT RAISE(ABORT, 'no'); END"_s);
    run.history.filesQueued({ u"/b"_s });
    ASSERT_TRUE(waitFor([&run] { return run.problems.size() == 1; }));

    EXPECT_TRUE(waitFor([&news] { return !news.isEmpty(); }));
    EXPECT_TRUE(run.ledger.interrupted().isEmpty());
    std::optional<qsizetype> known;
    run.ledger.read(keys, &run.ledger, [&known](const auto& rows) { known = rows.value().size(); });
    ASSERT_TRUE(waitFor([&known] { return known.has_value(); }));
    EXPECT_EQ(*known, 0);
}

TEST_F(UploadLedgerTest, AHistoryThatIsNotKeptLeavesNothing)
{
    Launch run{ QString() };
    run.history.filesQueued({ u"/a"_s });
    run.confirmNext();
    run.settle();

    EXPECT_TRUE(run.problems.isEmpty());
    EXPECT_FALSE(QFile::exists(QFileInfo(m_path).path()));
}

TEST_F(UploadLedgerTest, AHundredThousandFilesAreTakenAtOnceAndCostLittle)
{
    constexpr int count = 100'000;
    PathList paths;
    for (int i = 0; i < count; ++i) {
        paths.append(u"/a/folder/of/some/depth/file %1"_s.arg(i));
    }
    Launch run(m_path);
    UploadQueue queue(run.history);
    const qint64 before = residentMemory();
    QElapsedTimer timer;
    timer.start();
    queue.append(paths);
    const qint64 taken = timer.elapsed();
    timer.start();
    queue.append({ u"/one more"_s });
    const qint64 oneMore = timer.elapsed();
    const QStringList all{ QString::number(count + 1) };
    EXPECT_TRUE(waitFor([this, &all] { return askWhenMade(u"SELECT count(*) FROM files"_s) == all; }));
    const qint64 memory = residentMemory() - before;
    run.settle();

    EXPECT_LT(taken, 2000); // 50 and 1 on a machine that does nothing else.
    EXPECT_LT(oneMore, 500);
    EXPECT_LE(memory, (qint64{ 60 } << 20) + sanitizerMemory);
}

/// Copies of the program in processes of their own.
class LedgerProcessesTest : public UploadLedgerTest {
protected:
    std::unique_ptr<QProcess> startCopy(const QString& copy, int files, int pauseMs) const
    {
        auto process = std::make_unique<QProcess>();
        process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process->start(QString::fromUtf8(LEDGER_WRITER),
                       { m_path, copy, QString::number(files), QString::number(pauseMs) });
        return process;
    }
};

TEST_F(LedgerProcessesTest, AKillLosesNothingThatIsOlderThanAMoment)
{
    constexpr int count = 1'000;
    for (int round = 0; round < 5; ++round) {
        const QString copy = u"copy %1"_s.arg(round);
        const auto process = startCopy(copy, count, 1);
        int said = -1; // Before "queued".
        const auto hear = [&] { return said += static_cast<int>(process->readAllStandardOutput().count('\n')); };
        const auto confirmed = [this, &copy] {
            const QString ofCopy
                = u"SELECT count(*) FROM files WHERE copy = CAST('%1' AS BLOB) AND outcome = 2"_s.arg(copy);
            return askWhenMade(ofCopy).value(0).toInt();
        };
        const int old = 100 + QRandomGenerator::global()->bounded(200);
        ASSERT_TRUE(waitFor([&] { return hear() >= old; }));
        ASSERT_TRUE(waitFor([&] { return confirmed() >= old; })); // While it goes on to write.
        ::kill(static_cast<pid_t>(process->processId()), SIGKILL);
        process->waitForFinished();

        const int kept = confirmed();
        EXPECT_GE(kept, old);
        EXPECT_LE(kept, hear() + 1);
        EXPECT_EQ(interruptedOf(copy), count + 3 - kept);
    }
}

TEST_F(LedgerProcessesTest, TwoCopiesWriteWhileAThirdPrunes)
{
    const auto first = startCopy(u"first"_s, 500, 0);
    const auto second = startCopy(u"second"_s, 500, 0);
    const auto isSending = [](QProcess& process) {
        process.waitForReadyRead(1);
        return process.state() != QProcess::NotRunning && !process.peek(process.bytesAvailable()).endsWith("499\n");
    };
    LedgerDatabase third(u"third"_s);
    ASSERT_EQ(third.open(m_path), LedgerProblem::None);
    while (isSending(*first) || isSending(*second)) {
        ASSERT_EQ(third.prune({ .files = 10, .days = 90 }), LedgerProblem::None);
    }
    for (QProcess* const process : { first.get(), second.get() }) {
        process->closeWriteChannel();
        ASSERT_TRUE(process->waitForFinished());
    }
    ASSERT_EQ(third.prune({ .files = 10, .days = 90 }), LedgerProblem::None);

    EXPECT_EQ(first->exitCode(), 0);
    EXPECT_EQ(second->exitCode(), 0);
    EXPECT_EQ(ask(u"SELECT copy, count(*) FROM files WHERE outcome <> 2 GROUP BY copy"_s),
              (QStringList{ u"first|3"_s, u"second|3"_s }));
    EXPECT_LE(ask(u"SELECT count(*) FROM files WHERE outcome = 2"_s)[0].toInt(), 10);
    EXPECT_EQ(ask(u"PRAGMA integrity_check"_s), QStringList{ u"ok"_s });
}

} // namespace
