#pragma once

#include "PathList.h"

#include <QObject>

class UploadHistory;

/// The local files that wait to be uploaded, first in first out. A file that was taken out is never put back. Belongs
/// to the main thread.
class UploadQueue final : public QObject {
    Q_OBJECT

public:
    /// Each file is reported to @p history, which outlives the queue.
    explicit UploadQueue(UploadHistory& history)
        : m_history(history)
    {
    }

    /// Appends @p paths, in their order; duplicates are kept. The items @p leftOut came with them and do not wait.
    void append(const PathList& paths, const QStringList& leftOut = {});
    void clear();
    /// Takes the first path out of a queue that is not empty.
    QString takeFirst();

    const PathList& paths() const { return m_paths; }
    qsizetype size() const { return m_paths.size(); }
    bool isEmpty() const { return m_paths.isEmpty(); }

signals:
    /// Files have joined the queue or left it.
    void changed();

private:
    UploadHistory& m_history;
    PathList m_paths;
};
