#pragma once

#include "FileTally.h"
#include "HistoryEntries.h"
#include "ListingCheck.h"
#include "UploadRequest.h"

#include <QList>
#include <QObject>
#include <QStringList>

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <optional>

/// The outcome of each file of this run, one row for each, in the order in which they were queued or started. It only
/// observes: the code that queues, starts and ends uploads reports to it. Each call costs the same however long the
/// history is, unless its comment says how it scales. Belongs to the main thread.
class UploadHistory final : public QObject {
    Q_OBJECT

public:
    /// Answers milliseconds from any beginning; never runs backwards.
    using Clock = std::function<qint64()>;

    /// So long at most somebody who tells of files that have arrived waits for the listing that checks them.
    static constexpr std::chrono::seconds longestCheck{ 5 };

    explicit UploadHistory(Clock clock = steadyClock, QObject* parent = nullptr);

    // What happens.

    /// The files at @p paths have joined the queue, and those at @p leftOut, added with them, have not, since they are
    /// no plain files. A queue begins with the first that joins while none waits or is being sent.
    void filesQueued(const PathList& paths, const QStringList& leftOut = {}, UploadRequest request = {});
    /// The files at @p paths wait before they join the queue, which is under way by then (setMoreComes()); @p leftOut
    /// likewise. Their rows, up to the last one, begin with the one that it answers.
    int filesHeld(const PathList& paths, const QStringList& leftOut, UploadRequest request);
    /// The files of @p rows, which were held, have joined the queue, in that order.
    void heldFilesQueued(const QList<int>& rows);
    /// The files of @p rows, which were held, never join the queue, to go to @p destination. Takes time by the rows
    /// between them.
    void heldFilesEnded(const QList<int>& rows, const UploadOutcome& outcome, const Destination& destination);
    /// Those files that wait in the queue whose row fits @p condition, which is asked once of each in the order of the
    /// queue, have been taken out of it and are held; answers their rows. Takes time by the length of the queue.
    QList<int> queuedFilesHeld(const std::function<bool(int row)>& condition);
    /// Whether further files are about to join the queue, so that it is not over when none waits or is being sent.
    void setMoreComes(bool comes);
    /// The files that wait have been taken out of the queue.
    void queueCleared();
    /// The first of the files that wait has been taken out of the queue, since it was for @p destination alone.
    void nextFileDropped(const Destination& destination);
    /// The first of the files that wait is being started, to go to @p destination.
    void nextFileStarts(const Destination& destination);
    /// The file at @p path is being started that never stood in the queue.
    void manualFileStarts(const QString& path, const Destination& destination);
    /// The file that was started is under way; it has @p size bytes.
    void fileMoves(qint64 size);
    /// The server has confirmed the file, of which @p sent bytes were sent.
    void fileConfirmed(qint64 sent, const QString& reply);
    /// The file has ended otherwise.
    void fileEnded(const UploadOutcome& outcome);
    /// The files of @p rows are to be queued again by themselves, or with @p areAwaiting false no longer.
    void filesAwaitTry(const QList<int>& rows, bool areAwaiting);
    /// An event worth a line that is no file, such as ignored input.
    void note(const QString& text);

    // The server's listing: a confirmed file has to be in it, with the size that was sent.

    /// A listing of the folder @p location begins.
    void listingStarts(const QString& location);
    /// Items of the listing that has begun last.
    void listed(const QList<ListingEntry>& entries);
    /// That listing is complete.
    void listingSucceeded();
    /// That listing has ended, and is not the whole one: of what it has not shown nothing is known.
    void listingFailed();
    /// Listings are of another folder from here on, or seen by another login: they say nothing of what was sent before.
    void forgetUnchecked();

    // What is known.

    const HistoryEntries& entries() const { return m_entries; }
    int rowCount() const { return static_cast<int>(m_entries.size()); }
    /// Whether a file has been started and has not ended.
    bool isSending() const { return m_current.has_value(); }
    /// The row of the file that was started and has not ended; -1 for none.
    int currentRow() const { return m_current ? m_current->row : -1; }
    /// The files that have ended, including manual ones. A file that was queued again counts by its last try.
    const FileTally& runTally() const { return m_runTally; }
    /// The files of the present queue that have ended; between queues those of the last one. A later listing may still
    /// change it.
    const FileTally& queueTally() const { return m_tally; }
    /// That tally in words; one file alone is named. Null when the queue had no files.
    QString queueText() const;
    /// How many files wait in the queue or to join it.
    qsizetype waitingCount() const { return static_cast<qsizetype>(m_waiting.size()) + m_held; }
    /// The row of the first one in the queue; -1 for none.
    int nextRow() const { return m_waiting.empty() ? -1 : m_waiting.front(); }
    /// Whether files of the queue wait or are being sent, or more come.
    bool isQueueUnderWay() const { return m_moreComes || !m_waiting.empty() || isQueueFileSent(); }
    /// Whether a listing that has yet to come may change the tally of the queue.
    bool hasUncheckedFiles() const;
    /// Whether such a listing decides about a file of the queue or by hand whose row fits @p condition. Takes time by
    /// the number of unchecked files.
    bool hasUncheckedFiles(const std::function<bool(int row)>& condition) const
    {
        return m_listingCheck.hasUnchecked(condition);
    }
    /// On whose behalf the file of @p row is uploaded. A further try is nobody's.
    UploadRequest requestOf(int row) const;
    /// The share of the files of the queue that is done, from 0 to 1, when @p percent of the present one are.
    double queueProgress(float percent) const;
    /// Where the rows of the present queue begin, or those of the last one.
    int firstQueueRow() const { return m_firstQueueRow; }
    /// Whether the file of any row is unsettled (HistoryEntry::isUnsettled()).
    bool hasUnsettledRows() const { return m_unsettled > 0; }

    /// Notes that the files of those of @p rows that can be queued again are, and answers their paths.
    PathList takeToQueueAgain(const QList<int>& rows);

signals:
    /// The rows from @p first to @p last are about to come at the end; rowsAppended() follows.
    void rowsAboutToBeAppended(int first, int last);
    void rowsAppended();
    /// What is known of the rows from @p first to @p last has changed.
    void rowsChanged(int first, int last);
    /// The file of the queue with that row is about to end otherwise than confirmed.
    void fileFails(int row, const UploadOutcome& outcome);
    /// A queue begins; what is known of the one before is about to be forgotten.
    void queueBegins();
    /// No file of the queue waits or is being sent any more.
    void queueDrained();
    /// A listing has been compared with the confirmed files, or none will be.
    void filesChecked();

private:
    struct Current {
        int row;
        QString destination;
        qint64 startedAt;
    };

    static qint64 steadyClock();
    static qint64 wallClock();

    void append(const HistoryEntry& entry);
    void noteRequest(UploadRequest request);
    int append(const PathList& paths, const QStringList& leftOut, UploadRequest request);
    void start(int row, const Destination& destination);
    void end(HistoryEntry::Outcome outcome, const QString& reply);
    void count(int row, int step = 1);
    void tellChanged(const QList<int>& rows);
    void correct(const QList<ListingCheck::Finding>& findings);
    void checkDrained();
    bool isQueueFileSent() const;
    bool isListed(int row) const;
    void beginQueueIfDue();
    QString nameOf(int row) const;

    Clock m_clock;
    HistoryEntries m_entries;
    std::map<int, UploadRequest> m_requests; ///< Each holds from that row on.
    std::deque<int> m_waiting; ///< The rows of the queue, in its order.
    qsizetype m_held = 0; ///< So many rows wait before they join it.
    std::optional<Current> m_current;
    int m_firstQueueRow = 0; ///< The present queue, or the last one, begins there.
    FileTally m_tally; ///< Of that queue.
    FileTally m_runTally;
    bool m_moreComes = false;
    bool m_isDrained = true; ///< The end of that queue has been reported.
    qsizetype m_unsettled = 0; ///< How many rows are.
    ListingCheck m_listingCheck;
};
