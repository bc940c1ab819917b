#include "UploadQueue.h"

#include "UploadHistory.h"

#include <algorithm>

void UploadQueue::append(const PathList& paths, const QStringList& leftOut, UploadRequest request)
{
    m_paths.append(paths);
    m_history.filesQueued(paths, leftOut, request);
    emit changed();
}

void UploadQueue::appendAgain(const PathList& paths, const Destination& destination)
{
    if (!paths.isEmpty()) {
        bind(paths.size(), destination);
        append(paths);
    }
}

/// The next @p count files that are appended go to @p destination or nowhere.
void UploadQueue::bind(qsizetype count, const Destination& destination)
{
    const qsizetype first = m_taken + size();
    m_tries.push_back({ first, first + count, destination });
}

void UploadQueue::appendHeld(const Held& held, const Destination& destination)
{
    if (!held.paths.isEmpty()) {
        if (!destination.isNull()) {
            bind(held.paths.size(), destination);
        }
        m_paths.append(held.paths);
        m_history.heldFilesQueued(held.rows);
        emit changed();
    }
}

UploadQueue::Held UploadQueue::takeUnbound()
{
    Held held;
    held.rows = m_history.queuedFilesHeld([this](qsizetype place) { return !isBound(m_taken + place); });
    PathList bound;
    for (qsizetype place = 0; place < size(); ++place) {
        (isBound(m_taken + place) ? bound : held.paths).appendBytes(m_paths.bytesAt(place));
    }
    m_paths = bound;
    for (qsizetype end = m_taken; Tries & tries : m_tries) { // Nothing else is left.
        const qsizetype count = tries.end - std::max(tries.first, m_taken);
        tries.first = end;
        tries.end = end += count;
    }
    emit changed();
    return held;
}

/// @p number: how many files were taken out before the file and before those before it.
bool UploadQueue::isBound(qsizetype number) const
{
    return std::any_of(m_tries.begin(), m_tries.end(),
                       [number](const Tries& tries) { return tries.first <= number && number < tries.end; });
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
