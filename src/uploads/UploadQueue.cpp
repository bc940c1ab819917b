#include "UploadQueue.h"

#include "UploadHistory.h"

void UploadQueue::append(const PathList& paths, const QStringList& leftOut)
{
    m_paths.append(paths);
    m_history.filesQueued(paths, leftOut);
    emit changed();
}

void UploadQueue::clear()
{
    m_paths.clear();
    m_history.queueCleared();
    emit changed();
}

QString UploadQueue::takeFirst()
{
    QString path = m_paths.takeFirst();
    emit changed();
    return path;
}
