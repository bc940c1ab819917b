#pragma once

#include "FileTally.h"
#include "HistoryEntry.h"
#include "ListingEntry.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QStringList>

#include <deque>
#include <functional>
#include <optional>
#include <utility>

/// The outcome of each file of this run, one row for each, in the order in which they were queued or started. It only
/// observes: the code that queues, starts and ends uploads reports to it. Each call costs the same however long the
/// history is, unless its comment says how it scales. Belongs to the main thread.
class UploadHistory final : public QObject {
    Q_OBJECT

public:
    /// Answers milliseconds from any beginning; never runs backwards.
    using Clock = std::function<qint64()>;

    explicit UploadHistory(Clock clock = steadyClock, QObject* parent = nullptr);

    // What happens.

    void filesQueued(const QStringList& paths);
    /// The files that wait have been taken out of the queue.
    void queueCleared();
    /// The first of the files that wait is being started, to go to the folder @p destination.
    void nextFileStarts(const QString& destination);
    /// The file at @p path is being started that never stood in the queue.
    void manualFileStarts(const QString& path, const QString& destination);
    /// The file that was started is under way; it has @p size bytes.
    void fileMoves(qint64 size);
    /// The server has confirmed the file, of which @p sent bytes were sent.
    void fileConfirmed(qint64 sent, const QString& reply);
    /// The file has ended otherwise: failed with @p status, was stopped, or was not found.
    void fileEnded(HistoryEntry::Outcome outcome, const QString& status, const QString& reply);
    /// An event worth a line that is no file, such as ignored input.
    void note(const QString& text);

    // The server's listing: the listed size of a confirmed file is compared with the size that was sent.

    /// A listing of the folder @p place begins.
    void listingStarts(const QString& place);
    /// Items of the listing that has begun last.
    void listed(const QList<ListingEntry>& entries);
    /// That listing is complete.
    void listingSucceeded();

    // What is known.

    const QList<HistoryEntry>& entries() const { return m_entries; }
    int rowCount() const { return static_cast<int>(m_entries.size()); }
    /// Whether a file has been started and has not ended.
    bool isSending() const { return m_current.has_value(); }
    /// The row of the file that was started and has not ended; -1 for none.
    int currentRow() const { return m_current ? m_current->row : -1; }
    /// The files that have ended, including manual ones.
    const FileTally& runTally() const { return m_runTally; }
    /// How many files wait in the queue.
    qsizetype waitingCount() const { return static_cast<qsizetype>(m_waiting.size()); }
    /// How many files are listed with another size than was sent.
    int differingCount() const { return m_differing; }
    /// Whether files of the queue wait or are being sent.
    bool isQueueUnderWay() const { return !m_waiting.empty() || isQueueFileSent(); }
    /// The share of the files queued since the queue was last empty that is done, from 0 to 1, when @p percent of the
    /// present one are.
    double queueProgress(float percent) const;
    /// The rows, as lines of text under a line of titles. Takes time by the number of @p rows.
    QString text(const QList<int>& rows) const;

    // Trying again.

    /// Whether the file of that row has ended without arriving, and is not queued again already.
    bool canQueueAgain(int row) const;
    /// Whether rowsToQueueAgain() answers any.
    bool hasRowsToQueueAgain() const { return m_unsettled > 0; }
    /// All rows of the queue that failed, were stopped or not found. Takes time by the length of the history.
    QList<int> rowsToQueueAgain() const;
    /// Notes that the files of those of @p rows that can be queued again are, and answers their paths.
    QStringList takeToQueueAgain(const QList<int>& rows);

signals:
    /// The rows from @p first to @p last are about to come at the end; rowsAppended() follows.
    void rowsAboutToBeAppended(int first, int last);
    void rowsAppended();
    /// What is known of the rows from @p first to @p last has changed.
    void rowsChanged(int first, int last);
    /// No file of the queue waits or is being sent any more.
    void queueDrained(const FileTally& tally);

private:
    struct Current {
        int row;
        QString destination;
        qint64 startedAt;
    };
    /// A confirmed file that no listing has shown since.
    struct Unchecked {
        int row;
        qint64 sequence; ///< Which of all confirmations it was.
    };
    using Place = std::pair<QString, QString>; ///< A folder, and a name in it.

    static qint64 steadyClock();

    void append(QList<HistoryEntry> entries);
    void start(int row, const QString& destination);
    void end(HistoryEntry::Outcome outcome, const QString& reply);
    void count(const HistoryEntry& entry);
    static void countIn(FileTally& tally, HistoryEntry::Outcome outcome);
    void checkDrained();
    bool isQueueFileSent() const;
    QString nameOf(int row) const;
    static bool isUnsettled(const HistoryEntry& entry);

    Clock m_clock;
    QList<HistoryEntry> m_entries;
    std::deque<int> m_waiting; ///< The rows of the queue, in its order.
    std::optional<Current> m_current;
    FileTally m_tally; ///< Of the queue, since it was last worked off.
    FileTally m_runTally;
    int m_differing = 0;
    qsizetype m_unsettled = 0; ///< How many rows rowsToQueueAgain() answers.

    QHash<Place, Unchecked> m_unchecked;
    qint64 m_confirmations = 0;
    QString m_listedPlace;
    qint64 m_listingSequence = 0; ///< The listing shows the files that were confirmed up to this one.
};
