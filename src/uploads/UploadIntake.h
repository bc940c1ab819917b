#pragma once

#include "FolderWalk.h"

#include <QObject>

class UploadHistory;
class UploadQueue;

/// What joins the queue: each drop, at once or, where folders are uploaded, as its files are found. Belongs to the main
/// thread.
class UploadIntake final : public QObject {
    Q_OBJECT

public:
    /// Both outlive the intake.
    UploadIntake(UploadQueue& queue, UploadHistory& history);

    /// Has @p drop join the queue, as far as that can be done at once.
    void take(const Drop& drop);
    /// What has not been looked through joins the queue as it was dropped, for whoever clears that next.
    void giveUp();
    /// Whether folders are being looked through, and more files may join.
    bool isLookingThrough() const { return m_walks.isUnderWay(); }

signals:
    /// No more files join of the drop that was for @p request.
    void dropEnded(UploadRequest request);
    /// Files have joined the queue by themselves, after their drop was taken.
    void joined();
    /// isLookingThrough() has another answer.
    void changed();

private:
    void join(const Drop& drop);

    UploadQueue& m_queue;
    UploadHistory& m_history;
    FolderWalks m_walks;
};
