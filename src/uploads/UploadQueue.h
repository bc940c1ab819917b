#pragma once

#include "Destination.h"
#include "PathList.h"
#include "UploadRequest.h"

#include <QObject>

#include <deque>

class UploadHistory;

/// The local files that wait to be uploaded, first in first out. A file that was taken out to be sent is never put
/// back. Belongs to the main thread.
class UploadQueue final : public QObject {
    Q_OBJECT

public:
    /// Each file is reported to @p history, which outlives the queue.
    explicit UploadQueue(UploadHistory& history)
        : m_history(history)
    {
    }

    /// Appends @p paths, in their order; duplicates are kept. The items @p leftOut came with them and do not wait.
    void append(const PathList& paths, const QStringList& leftOut = {}, UploadRequest request = {});
    /// Appends @p paths for another try, each of which goes to @p destination or nowhere.
    void appendAgain(const PathList& paths, const Destination& destination);
    /// Files of which the history knows that they wait, and that are in no queue: their paths and their rows.
    struct Held {
        PathList paths = {};
        QList<int> rows = {};

        void append(const Held& more)
        {
            paths.append(more.paths);
            rows.append(more.rows);
        }
    };
    /// Appends @p held; they go to @p destination or nowhere, unless that is null.
    void appendHeld(const Held& held, const Destination& destination);
    /// Takes all files out that have no destination of their own and @p areUnattended (UploadRequest), or are not.
    /// Takes time by the length of the queue.
    Held takeUnbound(bool areUnattended);
    /// Whether unattended files may have joined since these were last taken out.
    bool mayHoldUnattended() const { return m_mayHoldUnattended; }
    void clear();
    /// Takes the first path out of a queue that is not empty.
    QString takeFirst();
    /// Takes the first file out, which has a firstDestination() and is not to be sent.
    void dropFirst();

    /// The destination to which alone the first file may go; null where there is none, and it goes to the one in force.
    const Destination* firstDestination() const;
    const PathList& paths() const { return m_paths; }
    qsizetype size() const { return m_paths.size(); }
    bool isEmpty() const { return m_paths.isEmpty(); }

signals:
    /// Files have joined the queue or left it.
    void changed();
    /// @p paths have joined it.
    void appended(const PathList& paths);

private:
    void bind(qsizetype count, const Destination& destination);
    void tellAppended(const PathList& paths, UploadRequest request);

    /// Files for another try, by how many files were taken out before them and before those behind them.
    struct Tries {
        qsizetype first;
        qsizetype end;
        Destination destination;
    };

    UploadHistory& m_history;
    PathList m_paths;
    qsizetype m_taken = 0; ///< So many files were taken out.
    bool m_mayHoldUnattended = false;
    std::deque<Tries> m_tries; ///< In the order of the queue.
};
