#include "UploadQueue.h"

#include "UploadHistory.h"

void UploadQueue::append(const PathList& paths, const QStringList& leftOut, UploadRequest request)
{
    m_paths.append(paths);
    m_history.filesQueued(paths, leftOut, request);
    emit changed();
}

void UploadQueue::appendAgain(const PathList& paths, const Destination& destination)
{
    if (!paths.isEmpty()) {
        const qsizetype first = m_taken + size();
        m_tries.push_back({ first, first + paths.size(), destination });
        append(paths);
    }
}

void UploadQueue::clear()
{
    m_tries.clear();
    m_paths.clear();
    m_history.queueCleared();
    emit changed();
}

QString UploadQueue::takeFirst()
{
    QString path = m_paths.takeFirst();
    ++m_taken;
    if (!m_tries.empty() && m_tries.front().end <= m_taken) {
        m_tries.pop_front();
    }
    emit changed();
    return path;
}

void UploadQueue::dropFirst()
{
    const Destination destination = *firstDestination();
    takeFirst();
    m_history.nextFileDropped(destination);
}

const Destination* UploadQueue::firstDestination() const
{
    return !m_tries.empty() && m_tries.front().first <= m_taken ? &m_tries.front().destination : nullptr;
}
