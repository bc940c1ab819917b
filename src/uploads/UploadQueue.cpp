#include "UploadQueue.h"

#include "UploadHistory.h"

void UploadQueue::append(const QStringList& paths, const QStringList& leftOut)
{
    m_paths += paths;
    m_history.filesQueued(paths, leftOut);
}

void UploadQueue::clear()
{
    m_paths.clear();
    m_history.queueCleared();
}

QString UploadQueue::takeFirst()
{
    return m_paths.takeFirst();
}
