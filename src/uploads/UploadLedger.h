#pragma once

#include "LedgerDatabase.h"
#include "TaskThread.h"

#include <QHash>
#include <QObject>
#include <QSet>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class UploadHistory;

/// What has become of every file, of this run and before: it writes down what the history of this run tells, in a
/// database that all copies of the program share, and reads it. Writing is done by a thread of its own, in the order in
/// which it is asked for, and reading by another, so that what is written never waits for what is read. No call here
/// waits for the disk. Belongs to the main thread.
class UploadLedger final : public QObject {
    Q_OBJECT

public:
    /// Writes down nothing before it is opened. @p history outlives it.
    explicit UploadLedger(const UploadHistory& history);
    ~UploadLedger() override;

    /// Where the database lies when it is kept.
    static QString standardPath();

    /// Opens the database at @p path, or for a null path one in memory, for this run alone, for the copy of the program
    /// that is called @p copy. What the history has told by then is written too. Where others write to it for longer
    /// than @p patience, it is as if it could not be written to.
    void open(const QString& path, const QString& copy, LedgerDatabase::Bounds bounds = {},
              std::chrono::milliseconds patience = std::chrono::seconds(30));
    /// Whether it was opened.
    bool isOpen() const { return m_work != nullptr; }
    /// Writes down what is left, and closes the database; false when that is not done within @p limit. What was asked
    /// and not answered by then is never answered.
    bool close(std::chrono::milliseconds limit);

    /// Where the database lies; null when it is in memory, as was asked for or after a problem.
    const QString& path() const { return m_path; }
    /// Why it is not kept on disk although it was to be, in whole sentences; null when it is.
    const QString& problem() const { return m_problem; }

    /// Whether folders are being looked through for files that the history does not have yet. When the run ends
    /// meanwhile, the next one says so.
    void setLookingThrough(bool isLooking);

    /// Removes all files that have ended from the history.
    void clear();

    /// Answers come from the loop, unless their context is gone by then; none when the database could not be read, as
    /// readProblem() says.
    template <typename Known> using Answer = std::function<void(const std::optional<Known>&)>;
    /// Finds the rows that fit @p query, in its order, with all that the history has told by now.
    void find(const LedgerQuery& query, QObject* context, Answer<QList<LedgerKey>> answer);
    /// Tells what is known of those @p keys that are still there. About files of this run alone it is told at once.
    void read(const QList<LedgerKey>& keys, QObject* context, Answer<QList<LedgerRow>> answer);
    /// Tells what LedgerReader::lastUploads() does.
    void lastUploads(QObject* context, Answer<LedgerReader::LastUploads> answer);
    /// Why the database could not be read the last time; null when it could.
    const QString& readProblem() const { return m_readProblem; }
    /// Has it looked whether others have written; then othersChanged() follows.
    void lookForOthers();

    /// Writes what fits @p query to the file at @p path as HistoryCsv has it, and answers whether it is written.
    void writeCsv(const QString& path, const LedgerQuery& query, QObject* context, std::function<void(bool)> answer);
    /// What is known of a file of this run.
    LedgerRow row(int number) const;

    /// The files of earlier runs of this copy that were interrupted, of which nobody has said what is to become of
    /// them.
    const QList<LedgerKey>& interrupted() const { return m_interrupted; }
    /// The notes that earlier runs of this copy have ended before all that was dropped had been looked through.
    const QList<LedgerKey>& interruptedWalks() const { return m_interruptedWalks; }
    /// Nobody is told of any of these again.
    void forgetInterrupted();
    /// Of those of @p keys that are no files of this run later rows stand for the next try.
    void queuedAgain(const QList<LedgerKey>& keys);
    /// Whether this run has said so of the file with that @p key, which no reading may know yet.
    bool wasQueuedAgain(LedgerKey key) const { return m_queuedAgain.contains(key); }

signals:
    /// The history is not kept on disk from here on, as problem() says. It @p isNews where a file is lost or was set
    /// aside or the history was kept until now, and none where it cannot be kept in that place at all.
    void problemFound(bool isNews);
    /// readProblem() has another answer.
    void readProblemChanged();
    /// interrupted() or interruptedWalks() has another answer.
    void interruptedChanged();
    /// Rows have gone, or something else is known of rows that are no files of this run.
    void othersChanged();

private:
    class Reading;
    class Work;

    void endWork();
    void rowsAppended();
    void rowsChanged(int first, int last);
    void tellLookingThrough();
    void failed(const QString& text, bool isNews);
    void setReadProblem(const QString& text);
    void setInterrupted(const QList<LedgerKey>& files, const QList<LedgerKey>& walks);
    template <typename Question, typename Listener> void ask(Question question, QObject* context, Listener answer);
    void handOver(LedgerBatch&& batch);

    const UploadHistory& m_history;
    std::shared_ptr<Work> m_work; ///< With the threads; null as long as the ledger is closed.
    std::shared_ptr<Reading> m_reading; ///< Likewise.
    QString m_path;
    QString m_problem;
    QString m_readProblem;
    int m_recorded = 0; ///< So many rows of the history were handed over.
    bool m_isLookingThrough = false;
    QList<LedgerKey> m_interrupted;
    QList<LedgerKey> m_interruptedWalks;
    QSet<LedgerKey> m_queuedAgain; ///< Of earlier runs, by this one.
    QString m_copy;
    TaskThread m_readerThread;
    TaskThread m_thread; ///< It writes. Last, so that it ends first: it passes questions on to the other one.
};
