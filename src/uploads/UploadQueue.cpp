#include "UploadQueue.h"

#include "UploadHistory.h"

void UploadQueue::append(const PathList& paths, const QStringList& leftOut, UploadRequest request)
{
    m_paths.append(paths);
    m_history.filesQueued(paths, leftOut, request);
    tellAppended(paths, request);
}

void UploadQueue::tellAppended(const PathList& paths, UploadRequest request)
{
    m_mayHoldUnattended = m_mayHoldUnattended || request.isUnattended;
    emit changed();
    emit appended(paths);
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
        tellAppended(held.paths, m_history.requestOf(held.rows.first()));
    }
}

UploadQueue::Held UploadQueue::takeUnbound(bool areUnattended)
{
    Held taken;
    PathList others;
    qsizetype place = 0;
    auto tries = m_tries.begin(); // Those that the file is one of, or the next ones.
    taken.rows = m_history.queuedFilesHeld([&](int row) {
        const qsizetype number = m_taken + place;
        const bool isBound = tries != m_tries.end() && tries->first <= number;
        const bool isTaken = !isBound && m_history.requestOf(row).isUnattended == areUnattended;
        (isTaken ? taken.paths : others).appendBytes(m_paths.bytesAt(place++));
        if (isBound && number + 1 == tries->end) {
            tries->first -= taken.paths.size();
            tries->end -= taken.paths.size();
            ++tries;
        }
        return isTaken;
    });
    m_paths = others;
    m_mayHoldUnattended = m_mayHoldUnattended && !areUnattended;
    emit changed();
    return taken;
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
