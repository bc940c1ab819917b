#pragma once

#include "LedgerBatch.h"
#include "LedgerReader.h"
#include "RunLocks.h"

#include <QByteArray>
#include <QSqlDatabase>
#include <QSqlQuery>

#include <optional>

class QSqlError;

/// Why a history cannot be kept on disk.
enum class LedgerProblem {
    None,
    Busy, ///< For the moment: somebody else writes for long.
    NotWritable, ///< No space, no right, or nothing there that keeps files of this kind.
    Damaged,
    Newer, ///< Made by a later version of the program.
};

/// The database of a history: a row for each file of every run, in the order in which they came. It writes;
/// LedgerReader reads beside it. Several programs may have it open. Everything may wait for the disk. Belongs to one
/// thread.
class LedgerDatabase {
public:
    /// How much is kept of what has ended.
    struct Bounds {
        int files = 100'000;
        int days = 90;
    };

    /// @p copy: the name of this copy of the program.
    explicit LedgerDatabase(const QString& copy);
    LedgerDatabase(const LedgerDatabase&) = delete;
    LedgerDatabase& operator=(const LedgerDatabase&) = delete;
    ~LedgerDatabase();

    /// Opens the database at @p path, which is made where there is none, or with a null path one in memory. Files that
    /// waited in runs that have ended are interrupted from then on.
    LedgerProblem open(const QString& path);
    void close();
    /// Closes the database. Until close() others go on to take this run for one that goes on: its files may wait there.
    void leave();
    /// Moves a damaged database out of the way after leave(), unless another copy of the program has done so; the
    /// answer is where it went, null when it stays.
    QString setAside() const;
    bool isOpen() const { return m_database.isOpen(); }
    /// What the system said of the last problem.
    const QString& reason() const { return m_reason; }

    /// All of it or nothing. A run that ends while it is looking through folders is noted by the next open().
    LedgerProblem write(const LedgerBatch& batch);
    /// Removes what is beyond @p bounds and has ended.
    LedgerProblem prune(Bounds bounds);
    /// Removes all that has ended, but for the files of other copies that were interrupted, of which those have yet to
    /// say what is to become.
    LedgerProblem clear();

    /// Where a reader finds the database while it is open.
    LedgerSource source() const;
    /// Whether others have written to it since this was last asked.
    bool hasOtherNews();

    /// The files of earlier runs of this copy that were interrupted, and neither queued again nor forgotten since.
    QList<LedgerKey> interrupted();
    /// The notes that earlier runs of this copy have ended before their folders had been looked through, unless they
    /// were forgotten since.
    QList<LedgerKey> interruptedWalks();
    /// All these are forgotten: they stay in the history, and nobody is asked about them any more.
    LedgerProblem forgetInterrupted();
    /// Those of @p keys that are no files of this run are queued again: later rows stand for the next try.
    LedgerProblem queuedAgain(const QList<LedgerKey>& keys);

private:
    /// Which file it is, whatever it is called.
    struct Identity {
        quint64 device;
        quint64 number;
        friend bool operator==(const Identity&, const Identity&) = default;
    };
    std::optional<Identity> presentIdentity() const;

    bool isOnDisk() const { return !m_path.isNull(); }
    LedgerProblem connectTo(const QString& path);
    bool makeFile();
    std::optional<int> presentVersion();
    bool setUp();
    LedgerProblem interruptEndedRuns();
    bool interrupt(qint64 run);
    QList<LedgerKey> undecidedKeys(const QString& condition);
    bool prepare(QSqlQuery& query, const QString& command);
    bool run(const QString& command, const QVariantList& values = {});
    bool run(QSqlQuery& query, const QVariantList& values);
    void note(const QSqlError& error);
    bool begin() { return run(QStringLiteral("BEGIN IMMEDIATE")); }
    LedgerProblem end(bool isDone);
    bool add(const LedgerBatch::Added& added);
    bool change(const LedgerBatch::Changed& changed);
    bool setLookingThrough(bool isLooking);

    QString m_name; ///< Of the connection.
    QByteArray m_copy;
    QSqlDatabase m_database;
    std::optional<RunLocks> m_locks; ///< None where there was no database but one in memory.
    QString m_path; ///< Null for memory.
    std::optional<Identity> m_identity; ///< Of the file that was opened.
    qint64 m_run = 0;
    std::optional<qint64> m_dataVersion; ///< Others had written so much when that was last asked.
    LedgerProblem m_problem = LedgerProblem::None; ///< The last one.
    bool m_isStatementWrong = false; ///< It was that a statement does not fit the tables.
    QString m_reason;
    std::optional<QSqlQuery> m_add;
    std::optional<QSqlQuery> m_change;
};
