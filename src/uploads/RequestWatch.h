#pragma once

#include "UploadRequest.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QTimer>

class UploadHistory;
class UploadIntake;

/// What has become of one file, for whoever waits for it.
struct FileEnd {
    QString path; ///< Absolute; of a file in a dropped folder, its own.
    QString words; ///< As the history says it, and behind a tab the server's reply when that has refused the file.

    friend bool operator==(const FileEnd&, const FileEnd&) = default;
};

/// Follows the files of one request through the history, also through further tries, and tells what becomes of each, a
/// few times a second. It waits a while for the listing that checks those that have arrived. Belongs to the main
/// thread.
class RequestWatch final : public QObject {
    Q_OBJECT

public:
    /// Of @p request, no file has joined the queue yet. Both others outlive the watch.
    RequestWatch(UploadHistory& history, UploadIntake& intake, UploadRequest request);

    /// The program ends: says so of each file that is not over, at once.
    void programEnds();
    bool isOver() const { return m_isOver; }
    /// Whether all that was handed over has been found; otherwise some of it is told of by nobody.
    bool haveAllJoined() const { return m_haveAllJoined; }
    /// Whether all files have arrived, as far as that is known when it is over.
    bool haveAllArrived() const { return m_isOver && !m_isAnyLost; }

signals:
    /// Each file comes once.
    void ended(const QList<FileEnd>& files);
    /// Files that had arrived when they ended, and that the server does not list as they were sent. Before over().
    void corrected(const QList<FileEnd>& files);
    void over(bool haveAllArrived);

private:
    void rowsAppended();
    void rowsChanged(int first, int last);
    void look(int row);
    void tellSoon();
    void tell();
    void endIfOver();
    bool isAnyUnchecked() const;
    void end();

    UploadHistory& m_history;
    UploadRequest m_request;
    int m_firstAppended = 0; ///< Of the rows that are being appended.
    QSet<int> m_open; ///< The rows that are not over.
    QHash<QString, int> m_again; ///< The paths that are about to be queued once more, and how often.
    QSet<int> m_confirmed; ///< The rows that had arrived when they ended.
    QList<FileEnd> m_untold;
    bool m_haveAllJoined = false;
    bool m_isAnyLost = false;
    bool m_isOver = false;
    QTimer m_telling{ this };
    QTimer m_check{ this }; ///< Runs while a listing that is to come may know better.
};
