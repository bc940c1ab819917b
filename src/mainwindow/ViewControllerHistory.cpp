// Reports to the history of this run and to the desktop. Both only observe; no upload depends on them.

#include "ViewController.h"

using namespace Qt::StringLiterals;

namespace {

const QString uploadStopped = u"Upload Stopped"_s;

} // namespace

void ViewController::startUpload(const QString& path, const QString& destination)
{
    m_startStatus = QString();
    m_isStartingUpload = true;
    m_pc->startSend(path, destination, username(), password());
    m_isStartingUpload = false;
    m_hasStartedUpload = m_pc->isSending();
    m_answers = started(*m_pc, m_hasStartedUpload);
    if (m_hasStartedUpload) {
        m_history.fileMoves(m_pc->fileSize());
    } else {
        noteEnd(m_startStatus);
    }
}

void ViewController::stopUpload()
{
    m_pc->stopSendWithStatus(uploadStopped);
}

void ViewController::noteUploadStatus(const QString& status)
{
    if (m_isStartingUpload) {
        m_startStatus = status; // The controller is idle until it has started: what that means shows afterwards.
    } else if (m_history.isSending() && !m_pc->isSending()) {
        noteEnd(status);
    }
}

/// The file that was started is over, and the server has not confirmed it. The controller passes over in silence what
/// it does not find.
void ViewController::noteEnd(const QString& status)
{
    using enum HistoryEntry::Outcome;
    const HistoryEntry::Outcome outcome = status.isNull() ? NotFound : status == uploadStopped ? Stopped : Failed;
    // What never started has heard nothing from the server.
    m_history.fileEnded(outcome, status, m_hasStartedUpload ? m_pc->lastReply() : QString());
}

void ViewController::noteConfirmation()
{
    if (m_history.isSending() && !m_pc->isSending()) {
        m_history.fileConfirmed(m_pc->totalBytesWritten(), m_pc->lastReply());
    }
}

void ViewController::reportActivity()
{
    TransferActivity activity{ .isMoving = m_pc->isSending() || m_gc->isReceiving(),
                               .isWaiting = !m_fileUploadQueue.isEmpty() && m_hasDestination };
    if (activity.isWaiting || (m_pc->isSending() && m_history.isQueueUnderWay())) {
        activity.progress = m_history.queueProgress(m_pc->isSending() ? m_percent : 0);
    } else if (activity.isMoving) {
        activity.progress = static_cast<double>(m_percent) / 100;
    }
    if (activity != m_reportedActivity) {
        m_reportedActivity = activity;
        emit activityChanged(activity);
    }
}
