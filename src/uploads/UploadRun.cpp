#include "UploadRun.h"

#include "FTPPutController.h"
#include "UploadHistory.h"
#include "UploadQueue.h"

using namespace Qt::StringLiterals;

void UploadRun::startNext(UploadQueue& queue, const Destination& destination)
{
    const QString path = queue.takeFirst();
    m_history.nextFileStarts(destination);
    start(path, destination);
}

void UploadRun::startManually(const QString& path, const Destination& destination)
{
    m_history.manualFileStarts(path, destination);
    start(path, destination);
}

void UploadRun::start(const QString& path, const Destination& destination)
{
    m_isStarting = true;
    m_controller.startSend(path, destination.location, destination.username, destination.password);
    m_isStarting = false;
    if (m_controller.isSending()) {
        m_history.fileMoves(m_controller.fileSize());
    } else if (hasEnded()) {
        m_history.fileEnded(m_controller.outcome());
    }
}

void UploadRun::stop()
{
    m_controller.stopSendWithStatus(u"Upload Stopped"_s);
}

void UploadRun::statusReported()
{
    if (hasEnded()) {
        m_history.fileEnded(m_controller.outcome());
    }
}

void UploadRun::uploadDone()
{
    if (hasEnded()) {
        m_history.fileConfirmed(m_controller.totalBytesWritten(), m_controller.outcome().reply);
    }
}

bool UploadRun::hasEnded() const
{
    return !m_isStarting && m_history.isSending() && !m_controller.isSending();
}
