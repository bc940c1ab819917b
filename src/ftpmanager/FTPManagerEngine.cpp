#include "FTPManagerLog.h"
#include "FTPManagerPrivate.h"
#include "FailureKinds.h"
#include "FileOutputStream.h"
#include "ListingParser.h"
#include "RunLoop.h"
#include "RunningOperation.h"
#include "UploadSource.h"

#include <QAbstractEventDispatcher>

#include <span>
#include <utility>

namespace quillbox {

// The transfer engine: one runner, one handler of stream events and one end for all operations on streams.

void FTPManager::Private::begin(Action action, quint64 fileSize)
{
    const std::lock_guard lock(m_mutex);
    m_action = action;
    m_fileSize = fileSize;
    m_fileSizeProcessed = 0;
    m_bytesProcessed = 0;
    m_failure = { .kind = FMFailure::Kind::Unusable }; // Until it runs.
}

bool FTPManager::Private::refuse(FMFailure::Kind kind)
{
    const std::lock_guard lock(m_mutex);
    m_failure = { .kind = kind };
    m_isUndecided = false;
    m_isCommandAccepted = false;
    return false;
}

bool FTPManager::Private::fail(const FMFailure& failure)
{
    const std::lock_guard lock(m_mutex);
    m_failure = failure;
    return false;
}

void FTPManager::Private::noteUndecided()
{
    const std::lock_guard lock(m_mutex);
    m_isUndecided = true;
}

bool FTPManager::Private::run(FTPStream& stream)
{
    m_bufferOffset = 0;
    m_bufferLimit = 0;
    m_isWriteBroken = false;
    if (QAbstractEventDispatcher::instance() == nullptr) { // No descriptor is left for a loop, nor for a connection.
        qCWarning(ftpManagerLog, "ftp stream failed: general stream error (check credentials?)");
        return fail(FMFailure::Kind::CannotConnect);
    }
    fail(FMFailure::Kind::Lost); // Where the loop just stops.
    RunLoop& loop = RunLoop::current();
    {
        const std::lock_guard lock(m_mutex);
        m_currentRunLoop = &loop;
        m_streamSuccess = false; // Until its end is told: at the end of the program the loop just stops.
    }
    stream.setDelegate(this);
    stream.open();
    m_running->setEnd([&loop] { loop.stop(); });
    loop.run();
    m_running->setEnd(nullptr);
    // Not before: another thread that aborts can end the loop, but a stream is closed on its own thread.
    closeStreams();
    // An abort stops the loop under this lock, so that it is done with the loop when the thread goes on to its end.
    const std::lock_guard lock(m_mutex);
    m_currentRunLoop = nullptr;
    return m_streamSuccess;
}

void FTPManager::Private::closeStreams()
{
    if (m_serverStream != nullptr) {
        m_serverStream->setDelegate(nullptr);
        m_serverStream->close();
        m_serverStream = nullptr;
    }
    if (m_serverReadStream != nullptr) {
        m_serverReadStream->setDelegate(nullptr);
        m_serverReadStream->close();
        m_serverReadStream = nullptr;
    }
    m_fileReader = nullptr;
    m_fileWriter = nullptr;
}

void FTPManager::Private::handleEvent(FTPStream& stream, FTPStreamEvent event)
{
    const std::optional<Action> action = runningAction();
    if (!action) {
        return;
    }
    switch (event) {
    case FTPStreamEvent::OpenCompleted:
        if (action == Action::Download) {
            openCompleted();
        }
        break;
    case FTPStreamEvent::HasBytesAvailable:
        if (action == Action::Download) {
            hasBytesOfDownload();
        } else if (action == Action::List) {
            hasBytesOfListing();
        } else {
            _streamDidEndWithSuccess(false, FailureReason::General, { .kind = FMFailure::Kind::Lost });
        }
        break;
    case FTPStreamEvent::HasSpaceAvailable:
        if (action == Action::Upload) {
            hasSpace();
        } else {
            _streamDidEndWithSuccess(false, FailureReason::General, { .kind = FMFailure::Kind::Lost });
        }
        break;
    case FTPStreamEvent::ErrorOccurred:
        endWithFailureOf(stream, m_isWriteBroken ? FailureReason::Write : FailureReason::General);
        break;
    case FTPStreamEvent::EndEncountered:
        // Listings and downloads end with a read of 0 bytes, uploads with a source that has been sent.
        if (action == Action::CreateFolder) {
            _streamDidEndWithSuccess(true, FailureReason::None);
        }
        break;
    }
}

std::optional<FTPManager::Private::Action> FTPManager::Private::runningAction() const
{
    const std::lock_guard lock(m_mutex);
    return m_currentRunLoop != nullptr ? std::optional(m_action) : std::nullopt;
}

void FTPManager::Private::openCompleted()
{
    {
        const std::lock_guard lock(m_mutex);
        m_fileSize = static_cast<quint64>(m_serverReadStream->resourceSize().value_or(0));
    }
    reportDownloadProgress();
}

void FTPManager::Private::hasBytesOfDownload()
{
    if (m_bufferOffset == m_bufferLimit) {
        const qint64 count = m_serverReadStream->read(m_buffer);
        if (count < 0) {
            endWithFailureOf(*m_serverReadStream, FailureReason::Read);
            return;
        }
        if (count == 0) {
            // The last bytes may fail to reach the disk as late as here.
            const bool written = m_fileWriter->close();
            _streamDidEndWithSuccess(written, written ? FailureReason::None : FailureReason::Write,
                                     { .kind = written ? FMFailure::Kind::None : FMFailure::Kind::LocalFile });
            return;
        }
        m_bufferOffset = 0;
        m_bufferLimit = static_cast<quint64>(count);
        countMoved(m_bufferLimit);
        reportDownloadProgress();
    }
    const qint64 written = m_fileWriter->write(pendingBytes());
    if (written <= 0) {
        _streamDidEndWithSuccess(false, FailureReason::Write, { .kind = FMFailure::Kind::LocalFile });
        return;
    }
    m_bufferOffset += static_cast<quint64>(written);
}

void FTPManager::Private::hasBytesOfListing()
{
    const qint64 count = m_serverReadStream->read(m_buffer);
    if (count < 0) {
        endWithFailureOf(*m_serverReadStream, FailureReason::Read);
    } else if (count == 0) {
        _streamDidEndWithSuccess(true, FailureReason::None);
    } else if (m_directoryListingData.size() + count > ListingMeasure::mostBytes) {
        // Without a word, like any listing that cannot be read.
        _streamDidEndWithSuccess(false, FailureReason::None, { .kind = FMFailure::Kind::Unreadable });
    } else {
        m_directoryListingData.append(m_buffer.data(), count);
    }
}

void FTPManager::Private::hasSpace()
{
    if (m_bufferOffset == m_bufferLimit) {
        const qint64 count = m_fileReader->read(m_buffer);
        if (count < 0) {
            _streamDidEndWithSuccess(false, FailureReason::Read, { .kind = FMFailure::Kind::LocalFile });
            return;
        }
        if (count == 0) {
            _streamDidEndWithSuccess(true, FailureReason::None);
            return;
        }
        m_bufferOffset = 0;
        m_bufferLimit = static_cast<quint64>(count);
    }
    const qint64 written = m_serverStream->write(pendingBytes());
    m_isWriteBroken = written == 0;
    if (m_isWriteBroken) {
        return; // The server may say why. That comes as an error.
    }
    if (written < 0) {
        endWithFailureOf(*m_serverStream, FailureReason::Write);
        return;
    }
    m_bufferOffset += static_cast<quint64>(written);
    countMoved(static_cast<quint64>(written));
    if (m_delegate != nullptr) {
        m_delegate->ftpManagerUploadProgressDidChange(progress());
    }
}

std::span<const char> FTPManager::Private::pendingBytes() const
{
    return std::span(m_buffer).subspan(m_bufferOffset, m_bufferLimit - m_bufferOffset);
}

void FTPManager::Private::countMoved(quint64 bytes)
{
    const std::lock_guard lock(m_mutex);
    m_bytesProcessed = bytes;
    m_fileSizeProcessed += bytes;
}

void FTPManager::Private::reportDownloadProgress()
{
    if (m_delegate != nullptr) {
        m_delegate->ftpManagerDownloadProgressDidChange(progress());
    }
}

void FTPManager::Private::endWithFailureOf(const FTPStream& stream, FailureReason failureReason)
{
    _streamDidEndWithSuccess(false, failureReason, failureOf(stream.error(), stream.lastReply(), m_isEncrypted),
                             stream.error().isUndecided);
}

void FTPManager::Private::_streamDidEndWithSuccess(bool success, FailureReason failureReason, const FMFailure& failure,
                                                   bool isUndecided)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_currentRunLoop == nullptr) {
            return;
        }
        RunLoop* const loop = std::exchange(m_currentRunLoop, nullptr);
        m_action = Action::Ended;
        m_streamSuccess = success;
        m_failure = failure;
        m_isUndecided = isUndecided;
        loop->stop();
    }
    switch (failureReason) {
    case FailureReason::None:
    case FailureReason::Aborted:
        break;
    case FailureReason::Read:
        qCWarning(ftpManagerLog, "ftp stream failed: error while reading data");
        break;
    case FailureReason::Write:
        qCWarning(ftpManagerLog, "ftp stream failed: error while writing data");
        break;
    case FailureReason::General:
        qCWarning(ftpManagerLog, "ftp stream failed: general stream error (check credentials?)");
        break;
    }
}

std::optional<FTPManagerProgress> FTPManager::Private::progress() const
{
    const std::lock_guard lock(m_mutex);
    const bool hasProgress = m_action == Action::Upload || m_action == Action::Download;
    if (!hasProgress || m_currentRunLoop == nullptr || m_fileSize == 0) {
        return std::nullopt;
    }
    return FTPManagerProgress{ .fileSize = m_fileSize,
                               .bytesProcessed = m_bytesProcessed,
                               .fileSizeProcessed = m_fileSizeProcessed,
                               .progress = static_cast<float>(m_fileSizeProcessed) / static_cast<float>(m_fileSize) };
}

void FTPManager::Private::abort()
{
    // Aborted operations report success: the caller who aborted knows.
    _streamDidEndWithSuccess(true, FailureReason::Aborted);
}

} // namespace quillbox
