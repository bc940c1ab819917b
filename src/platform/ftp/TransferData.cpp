// How data moves, and what silence leads to.

#include "Transfer.h"

#include <algorithm>

void Transfer::dataConnected()
{
    m_dataStands = true;
    if (m_request.kind == Kind::Upload) {
        if (m_request.length > 0) {
            m_state = State::Moving;
            m_watchdog.start(m_engine.timeouts().stalledData);
            m_data.watchForWriting();
        } else {
            m_state = State::Confirming;
            m_watchdog.start(m_engine.timeouts().confirmation);
            m_data.endWriting();
        }
        report(FTPStreamEvent::OpenCompleted);
    } else if (m_accepted) {
        accepted();
    } else {
        m_watchdog.start(m_engine.timeouts().reply);
        m_data.watchForReading();
    }
}

void Transfer::accepted()
{
    m_state = State::Moving;
    m_dataWaitsForAcceptance = false;
    m_watchdog.start(m_engine.timeouts().stalledData);
    m_data.watchForReading();
    report(FTPStreamEvent::OpenCompleted);
}

void Transfer::dataReadable(DataConnection::Pending pending)
{
    if (m_state == State::Opening) {
        // The announcement is normally there before the data, so a short wait is enough; but some servers make none.
        m_data.stopWatching();
        m_dataWaitsForAcceptance = true;
        m_watchdog.start(m_engine.timeouts().acceptance);
        return;
    }
    switch (pending) {
    case DataConnection::Pending::Nothing:
        break;
    case DataConnection::Pending::Bytes:
        m_watchdog.touch();
        report(FTPStreamEvent::HasBytesAvailable);
        break;
    case DataConnection::Pending::End:
        // At once: some servers send their last word only when the connection is closed on both sides.
        m_data.close();
        m_state = State::Confirming;
        m_watchdog.start(m_engine.timeouts().confirmation);
        if (m_confirmed) {
            dataEnded();
        }
        break;
    case DataConnection::Pending::Failure:
        dataFailed();
        break;
    }
}

void Transfer::dataEnded()
{
    if (m_size && m_moved < *m_size) {
        fail(); // Shorter than announced is not whole, whatever the server says. Longer is: the file may have grown.
    } else {
        succeed(FTPStreamEvent::HasBytesAvailable);
    }
}

void Transfer::dataWritable()
{
    report(FTPStreamEvent::HasSpaceAvailable);
}

void Transfer::dataFailed()
{
    if (m_state == State::Finished) {
        return;
    }
    m_dataStands = m_dataStands || m_data.hasReachedPeer(); // It is no dead port that has failed.
    m_data.reset();
    m_state = State::AwaitingReason;
    m_watchdog.start(m_engine.timeouts().reason);
}

qint64 Transfer::read(std::span<char> buffer)
{
    if (m_state == State::Finished) {
        return m_confirmed && m_error.domain == FTPStreamError::Domain::None ? 0 : -1;
    }
    if (m_state != State::Moving) {
        return -1;
    }
    const qint64 count = m_data.read(buffer);
    if (count <= 0) {
        return -1; // Nothing was reported to be there. 0 would say that the server has confirmed the end.
    }
    m_moved += count;
    m_preliminaries = 0;
    return count;
}

qint64 Transfer::write(std::span<const char> data)
{
    if (m_state == State::AwaitingReason) {
        return static_cast<qint64>(data.size()); // Lost already; what happened is about to be reported.
    }
    if (m_request.kind != Kind::Upload || m_state != State::Moving) {
        return -1;
    }
    const qint64 wanted = std::min(static_cast<qint64>(data.size()), m_request.length - m_moved);
    const qint64 count = m_data.write(data.first(static_cast<std::size_t>(wanted)));
    if (count < 0) {
        dataFailed();
        return static_cast<qint64>(data.size());
    }
    m_moved += count;
    m_preliminaries = 0;
    m_watchdog.touch();
    if (m_moved == m_request.length) {
        m_data.endWriting();
        m_state = State::Confirming;
        m_watchdog.start(m_engine.timeouts().confirmation);
    }
    return count;
}

void Transfer::silence()
{
    switch (m_state) {
    case State::Opening:
        if (m_dataWaitsForAcceptance) {
            accepted();
            return;
        }
        if (m_request.kind != Kind::FolderCreation && !m_dataStands) {
            dataFailed();
            return;
        }
        break;
    case State::AwaitingReason:
        if (!m_dataStands && m_extendedPassive && retryWithPasv()) {
            return;
        }
        break;
    case State::Preparing:
        if (!m_replySeen && m_connection->isReused() && retryOnFreshConnection()) {
            return;
        }
        // Some servers throw away what was sent ahead of a reply.
        if (m_replySeen && !m_connection->isReused() && retryInTurn()) {
            return;
        }
        break;
    case State::Moving:
    case State::Confirming:
        // On a slow line the kernel still sends what was taken long ago.
        if (m_data.hasProgressed()) {
            m_watchdog.start(m_state == State::Moving ? m_engine.timeouts().stalledData
                                                      : m_engine.timeouts().confirmation);
            return;
        }
        break;
    case State::New:
    case State::Connecting:
    case State::Securing:
    case State::AwaitingTrust:
    case State::AwaitingLogin:
    case State::Finished:
        break;
    }
    m_progress.wasSilent = true;
    fail();
}
