#include "LedgerDatabase.h"

#include "Descriptor.h"
#include "LocalPath.h"
#include "PathText.h"
#include "PrivateFile.h"

#include <QDateTime>
#include <QFileInfo>
#include <QSqlError>
#include <QUuid>
#include <QVariant>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

using namespace Qt::StringLiterals;
using Outcome = HistoryEntry::Outcome;

namespace {

constexpr int version = 4;
constexpr qint64 lastRowOnDisk = 1LL << 40; ///< Rows in memory come behind it: what is a key of one is none of another.
constexpr qint64 dayMs = 24LL * 60 * 60 * 1000;

// What SQLite answers, without what it adds to it in the higher bits.
constexpr int wrongStatement = 1;
constexpr int busy = 5;
constexpr int locked = 6;
constexpr int corrupt = 11;
constexpr int notADatabase = 26;

/// What has not ended, or is tried again by itself.
const QString unended = u"(outcome <= %1 OR settled = %2)"_s.arg(
    QString::number(static_cast<int>(Outcome::Sending)), QString::number(static_cast<int>(LedgerSettled::AwaitingTry)));
static_assert(static_cast<int>(Outcome::Waiting) == 0 && static_cast<int>(Outcome::Sending) == 1);
/// What was interrupted, and nobody has said yet what is to become of it.
const QString undecided = u"((outcome = %1 AND settled = 0) OR settled = %2)"_s.arg(
    QString::number(static_cast<int>(Outcome::Interrupted)), QString::number(static_cast<int>(LedgerSettled::Missed)));

/// What is no file.
const QString noted = u"outcome = %1"_s.arg(static_cast<int>(Outcome::Note));
constexpr auto walkNote = "Quillbox ended before all that was dropped had been looked through.";

/// What is put behind the name of a database for that of each of its files, itself first.
const std::array<QString, 3> filesOfDatabase{ QString(), u"-wal"_s, u"-shm"_s };

/// Whether a file of a database called @p path would take the place of anything.
bool isAnyPartAt(const QString& path)
{
    return std::any_of(filesOfDatabase.begin(), filesOfDatabase.end(), [&path](const QString& part) {
        struct stat status { };
        return lstat(LocalPath::toBytes(path + part).constData(), &status) == 0;
    });
}

int numberOf(LedgerSettled settled)
{
    return static_cast<int>(settled);
}

LedgerSettled settledOf(const HistoryEntry& entry)
{
    using enum LedgerSettled;
    return entry.isQueuedAgain ? QueuedAgain : entry.isAwaitingTry ? AwaitingTry : Undecided;
}

QVariant valueOf(const std::optional<qint64>& number)
{
    return number ? QVariant(*number) : QVariant();
}

QVariant usernameOf(const HistoryEntry& entry)
{
    return entry.username ? QVariant(u""_s + *entry.username) : QVariant(); // A null text would be none.
}

QVariant encryptionOf(const HistoryEntry& entry)
{
    return !entry.username ? QVariant() : QVariant(static_cast<int>(entry.encryption));
}

/// A path's folder, or nothing, and its name.
std::pair<QVariant, QByteArray> partsOf(QByteArrayView path)
{
    const qsizetype slash = path.lastIndexOf('/');
    return { slash < 0 ? QVariant() : QVariant(path.first(slash).toByteArray()), path.sliced(slash + 1).toByteArray() };
}

int codeOf(const QSqlError& error)
{
    return error.nativeErrorCode().toInt() & 0xff;
}

LedgerProblem problemOf(const QSqlError& error)
{
    switch (codeOf(error)) {
    case busy:
    case locked:
        return LedgerProblem::Busy;
    case corrupt:
    case notADatabase:
        return LedgerProblem::Damaged;
    default:
        return LedgerProblem::NotWritable;
    }
}

} // namespace

LedgerDatabase::LedgerDatabase(const QString& copy)
    : m_name(QUuid::createUuid().toString(QUuid::WithoutBraces))
    , m_copy(LocalPath::toBytes(copy))
{
}

LedgerDatabase::~LedgerDatabase()
{
    close();
}

LedgerProblem LedgerDatabase::open(const QString& path)
{
    m_reason.clear();
    m_problem = LedgerProblem::None;
    const LedgerProblem problem = connectTo(path);
    if (problem != LedgerProblem::None) {
        leave();
    }
    return problem;
}

LedgerProblem LedgerDatabase::connectTo(const QString& path)
{
    m_path = path;
    m_run = 1;
    std::optional<RunLocks::Alone> alone; // Nobody sets aside what is being opened, nor opens what is being set aside.
    if (isOnDisk()) {
        const QString folder = QFileInfo(path).path();
        if (!PrivateFile::makeFolder(folder)) {
            m_reason = QString::fromLocal8Bit(std::strerror(errno));
            return LedgerProblem::NotWritable;
        }
        m_locks.emplace(folder + u"/history.runs"_s);
        const std::optional<qint64> run = m_locks->take();
        if (run && !alone.emplace(*m_locks).isAlone()) {
            m_reason = u"another copy takes long to open it"_s;
            return LedgerProblem::Busy;
        }
        if (!run || !makeFile()) {
            m_reason = QString::fromLocal8Bit(std::strerror(errno));
            return LedgerProblem::NotWritable;
        }
        m_run = *run;
    }
    m_database = QSqlDatabase::addDatabase(u"QSQLITE"_s, m_name);
    // One in memory has a name, too, under which its readers find it.
    m_database.setDatabaseName(isOnDisk() ? path : u"file:/%1?vfs=memdb"_s.arg(m_name));
    m_database.setConnectOptions(isOnDisk() ? u"QSQLITE_BUSY_TIMEOUT=5000"_s
                                            : u"QSQLITE_BUSY_TIMEOUT=5000;QSQLITE_OPEN_URI"_s);
    if (!m_database.open()) {
        note(m_database.lastError());
        return m_problem;
    }
    if (!setUp()) {
        return m_isStatementWrong ? LedgerProblem::Damaged : m_problem; // It has tables, which are not ours.
    }
    return isOnDisk() ? interruptEndedRuns() : LedgerProblem::None;
}

/// For the user alone: what the database makes beside it has the same mode.
bool LedgerDatabase::makeFile()
{
    const Descriptor file(
        ::open(LocalPath::toBytes(m_path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (file.get() < 0) {
        return false;
    }
    PrivateFile::closeToOthers(m_path);
    m_identity = presentIdentity();
    return true;
}

std::optional<LedgerDatabase::Identity> LedgerDatabase::presentIdentity() const
{
    struct stat status { };
    const bool isThere = stat(LocalPath::toBytes(m_path).constData(), &status) == 0;
    return isThere ? std::optional(Identity{ status.st_dev, status.st_ino }) : std::nullopt;
}

QString LedgerDatabase::setAside() const
{
    if (!m_locks) {
        return {};
    }
    const RunLocks::Alone alone(*m_locks);
    if (!alone.isAlone() || !m_identity || presentIdentity() != m_identity) {
        return {}; // There is another one by now, or will be.
    }
    QString target = m_path + u".damaged"_s;
    for (int number = 2; isAnyPartAt(target); ++number) {
        target = m_path + u".damaged-%1"_s.arg(number);
    }
    for (const QString& part : filesOfDatabase) { // The others belong to no other database.
        const int result
            = std::rename(LocalPath::toBytes(m_path + part).constData(), LocalPath::toBytes(target + part).constData());
        if (result != 0 && part.isEmpty()) {
            return {};
        }
    }
    return target;
}

void LedgerDatabase::close()
{
    leave();
    m_locks.reset();
}

void LedgerDatabase::leave()
{
    m_add.reset();
    m_change.reset();
    m_database = {};
    if (QSqlDatabase::contains(m_name)) {
        QSqlDatabase::removeDatabase(m_name);
    }
}

LedgerSource LedgerDatabase::source() const
{
    if (!isOpen()) {
        return {};
    }
    // A reader makes no database where this one has gone. One in memory cannot be shared for reading alone.
    const QString options = m_database.connectOptions() + (isOnDisk() ? u";QSQLITE_OPEN_READONLY"_s : QString());
    return { m_database.databaseName(), options, m_run };
}

bool LedgerDatabase::hasOtherNews()
{
    QSqlQuery query(m_database);
    if (!isOpen() || !query.exec(u"PRAGMA data_version"_s) || !query.next()) {
        return false;
    }
    const qint64 present = query.value(0).toLongLong();
    return std::exchange(m_dataVersion, present).value_or(present) != present;
}

/// The version of what is there, 0 of nothing; std::nullopt when it cannot be used.
std::optional<int> LedgerDatabase::presentVersion()
{
    QSqlQuery query(m_database);
    if (!query.exec(u"PRAGMA user_version"_s) || !query.next()) {
        note(query.lastError());
        return std::nullopt;
    }
    const int present = query.value(0).toInt();
    if (present > version) {
        m_problem = LedgerProblem::Newer;
        m_reason = u"it was made by a later version"_s;
        return std::nullopt;
    }
    return present;
}

/// Brings the database into the present version. False when it cannot be used.
bool LedgerDatabase::setUp()
{
    if (!presentVersion()) {
        return false; // What a later version has made stays as it is.
    }
    if (isOnDisk()) {
        QSqlQuery mode(m_database);
        if (!mode.exec(u"PRAGMA journal_mode = WAL"_s) || !mode.next()) {
            note(mode.lastError());
            return false;
        }
        if (mode.value(0).toString() != u"wal"_s) {
            m_problem = LedgerProblem::NotWritable;
            m_reason = u"its file system cannot lock files"_s;
            return false;
        }
    }
    // The log is synchronized when it is moved into the database: a kill loses nothing, a power cut the last moments.
    if (!run(u"PRAGMA synchronous = NORMAL"_s) || !begin()) {
        return false;
    }
    const std::optional<int> present = presentVersion(); // Another copy may have been quicker.
    bool isDone = present.has_value();
    if (isDone && *present == 0) {
        // Paths and names of copies are bytes.
        isDone = run(u"CREATE TABLE files (row INTEGER PRIMARY KEY AUTOINCREMENT, run INTEGER NOT NULL, "
                     "number INTEGER NOT NULL, copy BLOB NOT NULL, folder BLOB, name BLOB NOT NULL, destination TEXT, "
                     "outcome INTEGER NOT NULL DEFAULT 0, manual INTEGER NOT NULL DEFAULT 0, "
                     "settled INTEGER NOT NULL DEFAULT 0, size INTEGER, sent INTEGER, listedSize INTEGER, "
                     "durationMs INTEGER, time INTEGER NOT NULL, status TEXT, reply TEXT, username TEXT, "
                     "encryption INTEGER, UNIQUE (run, number))"_s)
            && (isOnDisk() || run(u"INSERT INTO sqlite_sequence (name, seq) VALUES ('files', ?)"_s, { lastRowOnDisk }));
    }
    if (isDone && *present == 1) {
        isDone = run(u"ALTER TABLE files ADD COLUMN username TEXT"_s)
            && run(u"ALTER TABLE files ADD COLUMN encryption INTEGER"_s);
    }
    if (isDone && *present < version) {
        isDone = run(u"DROP INDEX IF EXISTS filesUnended"_s)
            && run(u"CREATE INDEX filesUnended ON files (run) WHERE "_s + unended)
            && run(u"DROP INDEX IF EXISTS filesUndecided"_s)
            && run(u"CREATE INDEX filesUndecided ON files (copy) WHERE "_s + undecided)
            && run(u"PRAGMA user_version = %1"_s.arg(version));
    }
    // Programs that know nothing of it get along with it: the run that looks through folders has a row.
    isDone = isDone && run(u"CREATE TABLE IF NOT EXISTS walks (run INTEGER PRIMARY KEY, copy BLOB NOT NULL)"_s);
    if (end(isDone) != LedgerProblem::None) {
        return false;
    }
    m_add.emplace(m_database);
    m_change.emplace(m_database);
    // A row that is there already is one that this run has written to a database that failed then. What another copy
    // has queued again stays so.
    return prepare(*m_add,
                   u"INSERT OR REPLACE INTO files (run, number, copy, folder, name, destination, username, "
                   "encryption, time) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)"_s)
        && prepare(*m_change,
                   u"UPDATE files SET outcome = ?, manual = ?, settled = iif(settled = %1, %1, ?), size = ?, "
                   "sent = ?, listedSize = ?, durationMs = ?, time = ?, status = ?, reply = ?, "
                   "destination = coalesce(?, destination), username = coalesce(?, username), "
                   "encryption = coalesce(?, encryption) WHERE run = ? AND number BETWEEN ? AND ?"_s.arg(
                       numberOf(LedgerSettled::QueuedAgain)));
}

/// What runs that have ended have not brought to an end is said to be so.
LedgerProblem LedgerDatabase::interruptEndedRuns()
{
    if (!begin()) {
        return m_problem;
    }
    QSqlQuery query(m_database);
    bool isDone = true;
    query.exec(u"SELECT run FROM files WHERE %1 UNION SELECT run FROM walks"_s.arg(unended));
    QList<qint64> ended;
    while (query.next()) {
        if (const qint64 other = query.value(0).toLongLong(); other != m_run && !m_locks->isTaken(other)) {
            ended.append(other);
        }
    }
    if (query.lastError().isValid()) {
        note(query.lastError());
        isDone = false;
    }
    query.finish();
    return end(isDone && std::all_of(ended.begin(), ended.end(), [this](qint64 other) { return interrupt(other); }));
}

/// The files that wait in @p ended, for their turn or for another try, will not be sent. What is known of the last try
/// of the latter is kept. What it would have found in folders is not known; the note that says so is its last row.
bool LedgerDatabase::interrupt(qint64 ended)
{
    return run(u"UPDATE files SET settled = ? WHERE run = ? AND settled = ?"_s,
               { numberOf(LedgerSettled::Missed), ended, numberOf(LedgerSettled::AwaitingTry) })
        && run(u"UPDATE files SET outcome = ? WHERE run = ? AND "_s + unended,
               { static_cast<int>(Outcome::Interrupted), ended })
        && run(u"INSERT INTO files (run, number, copy, name, outcome, settled, time) SELECT run, (SELECT "
               "coalesce(max(number), -1) + 1 FROM files WHERE files.run = walks.run), copy, ?, ?, ?, ? FROM walks "
               "WHERE run = ?"_s,
               { QByteArray(walkNote), static_cast<int>(Outcome::Note), numberOf(LedgerSettled::Missed),
                 QDateTime::currentMSecsSinceEpoch(), ended })
        && run(u"DELETE FROM walks WHERE run = ?"_s, { ended });
}

bool LedgerDatabase::run(const QString& command, const QVariantList& values)
{
    QSqlQuery query(m_database);
    return prepare(query, command) && run(query, values);
}

bool LedgerDatabase::prepare(QSqlQuery& query, const QString& command)
{
    if (!query.prepare(command)) {
        note(query.lastError());
        return false;
    }
    return true;
}

bool LedgerDatabase::run(QSqlQuery& query, const QVariantList& values)
{
    for (int index = 0; index < values.size(); ++index) {
        query.bindValue(index, values[index]);
    }
    if (!query.exec()) {
        note(query.lastError());
        return false;
    }
    query.finish();
    return true;
}

void LedgerDatabase::note(const QSqlError& error)
{
    m_problem = problemOf(error);
    m_isStatementWrong = codeOf(error) == wrongStatement;
    m_reason = error.databaseText();
}

/// Ends what begin() has begun.
LedgerProblem LedgerDatabase::end(bool isDone)
{
    if (isDone && run(u"COMMIT"_s)) {
        return LedgerProblem::None;
    }
    const LedgerProblem problem = m_problem;
    QSqlQuery(m_database).exec(u"ROLLBACK"_s);
    return problem;
}

LedgerProblem LedgerDatabase::write(const LedgerBatch& batch)
{
    if (!begin()) {
        return m_problem;
    }
    return end(std::all_of(batch.added.begin(), batch.added.end(), [this](const auto& added) { return add(added); })
               && std::all_of(batch.changed.begin(), batch.changed.end(),
                              [this](const auto& changed) { return change(changed); })
               && (!batch.isLookingThrough || setLookingThrough(*batch.isLookingThrough)));
}

bool LedgerDatabase::add(const LedgerBatch::Added& added)
{
    m_add->bindValue(0, m_run);
    m_add->bindValue(2, m_copy);
    HistoryEntry entry;
    entry.setDestination(added.destination);
    m_add->bindValue(5, entry.destination);
    m_add->bindValue(6, usernameOf(entry));
    m_add->bindValue(7, encryptionOf(entry));
    m_add->bindValue(8, added.time);
    for (int index = 0; index < static_cast<int>(added.paths.size()); ++index) {
        const auto [folder, name] = partsOf(added.paths.bytesAt(index));
        m_add->bindValue(1, added.first + index);
        m_add->bindValue(3, folder);
        m_add->bindValue(4, name);
        if (!run(*m_add, {})) {
            return false;
        }
    }
    return true;
}

bool LedgerDatabase::change(const LedgerBatch::Changed& changed)
{
    const HistoryEntry& entry = changed.entry;
    return run(*m_change,
               { static_cast<int>(entry.outcome), entry.isManual, numberOf(settledOf(entry)), valueOf(entry.size),
                 valueOf(entry.acknowledged), valueOf(entry.listedSize), valueOf(entry.durationMs), entry.time,
                 entry.status, entry.reply, entry.destination, usernameOf(entry), encryptionOf(entry), m_run,
                 changed.first, changed.last });
}

bool LedgerDatabase::setLookingThrough(bool isLooking)
{
    return isLooking ? run(u"INSERT OR REPLACE INTO walks (run, copy) VALUES (?, ?)"_s, { m_run, m_copy })
                     : run(u"DELETE FROM walks WHERE run = ?"_s, { m_run });
}

LedgerProblem LedgerDatabase::prune(Bounds bounds)
{
    if (!begin()) {
        return m_problem;
    }
    // Order is by row: a clock that was wrong for a while makes nothing old that came behind what is young. What is
    // still to come is not young either. Where nothing is young, it may be the clock of now that is wrong.
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const bool isDone = run(u"DELETE FROM files WHERE NOT (%1) AND NOT (%2) AND row < (SELECT row FROM files WHERE "
                            "time BETWEEN ? AND ? ORDER BY row LIMIT 1)"_s.arg(unended, undecided),
                            { now - bounds.days * dayMs, now + dayMs })
        && run(u"DELETE FROM files WHERE NOT (%1) AND NOT (%2) AND row <= (SELECT row FROM files WHERE NOT (%1) "
               "ORDER BY row DESC LIMIT 1 OFFSET ?)"_s.arg(unended, undecided),
               { bounds.files });
    return end(isDone);
}

LedgerProblem LedgerDatabase::clear()
{
    if (!begin()) {
        return m_problem;
    }
    return end(
        run(u"DELETE FROM files WHERE NOT (%1) AND NOT (copy != ? AND %2)"_s.arg(unended, undecided), { m_copy }));
}

QList<LedgerKey> LedgerDatabase::interrupted()
{
    return undecidedKeys(u"NOT "_s + noted);
}

QList<LedgerKey> LedgerDatabase::interruptedWalks()
{
    return undecidedKeys(noted);
}

QList<LedgerKey> LedgerDatabase::undecidedKeys(const QString& condition)
{
    QSqlQuery query(m_database);
    query.setForwardOnly(true);
    query.prepare(u"SELECT %1 FROM files WHERE copy = ? AND %2 AND %3 ORDER BY row"_s.arg(
        LedgerReader::keyColumn(m_run), undecided, condition));
    query.bindValue(0, m_copy);
    return LedgerReader::keysOf(query).value_or(QList<LedgerKey>());
}

LedgerProblem LedgerDatabase::queuedAgain(const QList<LedgerKey>& keys)
{
    if (!begin()) {
        return m_problem;
    }
    QSqlQuery settle(m_database);
    const bool isPrepared = prepare(settle, u"UPDATE files SET settled = ? WHERE row = ?"_s);
    return end(isPrepared && std::all_of(keys.begin(), keys.end(), [this, &settle](LedgerKey key) {
                   return key.isOfThisRun() || run(settle, { numberOf(LedgerSettled::QueuedAgain), key.row });
               }));
}

LedgerProblem LedgerDatabase::forgetInterrupted()
{
    if (!begin()) {
        return m_problem;
    }
    return end(run(u"UPDATE files SET settled = ? WHERE copy = ? AND "_s + undecided,
                   { numberOf(LedgerSettled::Forgotten), m_copy }));
}
