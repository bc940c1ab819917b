#include "FTPPutController.h"

#include "FileInputStream.h"
#include "KnownTrust.h"
#include "LocalItem.h"
#include "LocalPath.h"
#include "NetworkManager.h"
#include "PathText.h"
#include "TransferPercent.h"
#include "TreePath.h"
#include "TrustedCertificates.h"
#include "URLText.h"

#include <utility>

using namespace Qt::StringLiterals;

FTPPutController::FTPPutController(FTPStreamFactory& streams)
    : m_streams(streams)
{
}

FTPPutController::~FTPPutController()
{
    stopSendWithStatus(u"Stopped"_s);
}

void FTPPutController::setDelegate(WeakRef<FTPPutControllerDelegate> delegate)
{
    m_delegate = std::move(delegate);
}

void FTPPutController::startSend(const QString& filePath, const QString& destination, const QString& username,
                                 const QString& password)
{
    m_pathToUpload = filePath;
    m_sendingStatus = u"Sending \"%1\""_s.arg(PathText::lastPathComponent(filePath));
    if (isSending() || m_fileStream != nullptr) {
        return;
    }
    const std::optional<LocalItem> item = LocalItem::at(filePath);
    if (!item) {
        m_outcome = { .kind = LocalItem::isMissing(filePath) ? UploadOutcome::Kind::NotFound
                                                             : UploadOutcome::Kind::NotReadable };
        return;
    }
    m_outcome = { .kind = UploadOutcome::Kind::Sending };
    const Watch watch(*this);
    updateStatus(u"Starting put..."_s);
    if (!watch.isUndisturbed()) {
        return;
    }
    // With the "/" nothing else is found.
    const bool isFolder = m_madeLevels > 0 && filePath.endsWith(u'/') && !TreePath::isUnread(filePath);
    m_fileSize = isFolder ? 0 : item->size;

    const QString folder = NetworkManager::sharedInstance().smartURLForString(destination);
    const QByteArray name = LocalPath::toBytes(PathText::lastPathComponent(filePath));
    m_location = URLText::appendingPathComponent(folder, name);
    if (m_location.isNull()) {
        refuseStart(UploadOutcome::Kind::Failed, u"Invalid URL"_s);
        return;
    }
    if (!isFolder && !openFile(filePath, *item)) {
        return;
    }
    std::unique_ptr<FTPWriteStream> stream = isFolder
        ? m_streams.createFolderStream(m_location)
        : m_streams.createUploadStream(m_location, m_fileStream->length());
    if (stream != nullptr) {
        stream->setMadeLevels(m_madeLevels);
    }
    if (startStream(std::move(stream), username, password)) {
        sendDidStart();
    }
}

/// False when the file cannot be sent: then that has been reported.
bool FTPPutController::openFile(const QString& filePath, const LocalItem& item)
{
    m_fileStream = FileInputStream::create(filePath);
    if (m_fileStream == nullptr) {
        using enum UploadOutcome::Kind;
        // A folder that the server was to keep was to be looked through, and could not be.
        const bool isUnread = item.isPlainFile || (item.isFolder && !TreePath::relative(filePath).isNull());
        // The wording stays, although it is the input file that is meant.
        refuseStart(isUnread ? NotReadable : NotPlainFile, u"Can not create output file."_s);
        return false;
    }
    if (m_fileStream->length() < 0) {
        m_fileStream.reset();
        refuseStart(UploadOutcome::Kind::NotReadable, u"File read error"_s);
        return false;
    }
    m_bufferOffset = 0;
    m_bufferLimit = 0;
    return true;
}

/// Reports @p status of a file that nothing was sent of.
void FTPPutController::refuseStart(UploadOutcome::Kind kind, const QString& status)
{
    m_outcome = { .kind = kind, .status = status };
    updateStatus(status);
}

void FTPPutController::stopSendWithStatus(const QString& status)
{
    stop(status.isNull() ? UploadOutcome::Kind::Confirmed : UploadOutcome::Kind::Stopped, status);
}

/// What has become of the file is told by @p reason where that says more than @p status.
void FTPPutController::stop(UploadOutcome::Kind kind, const QString& status, const QString& reason)
{
    if (m_outcome.kind == UploadOutcome::Kind::Sending) {
        m_outcome = { .kind = kind, .status = reason.isNull() ? status : reason };
        if (isSending()) {
            m_outcome.code = networkStream()->error().code;
            m_outcome.missingLevels = networkStream()->error().missingLevels;
            m_outcome.reply = lastReply();
            m_outcome.acknowledged = networkStream()->acknowledgedBytes();
        }
    }
    closeStream();
    if (m_fileStream != nullptr) {
        m_fileStream->close();
        m_fileStream.reset();
    }
    sendDidStopWithStatus(status);
}

void FTPPutController::handleStreamEvent(FTPStreamEvent event)
{
    switch (event) {
    case FTPStreamEvent::OpenCompleted:
        m_totalBytesWritten = 0;
        updateStatus(u"Opened connection"_s);
        break;
    case FTPStreamEvent::HasSpaceAvailable:
        sendStep();
        break;
    case FTPStreamEvent::ErrorOccurred:
        streamFailed();
        break;
    case FTPStreamEvent::EndEncountered:
        if (m_fileStream == nullptr) { // The folder is there.
            m_totalBytesWritten = 0;
            stopSendWithStatus(QString());
        }
        break;
    case FTPStreamEvent::HasBytesAvailable:
        break;
    }
}

void FTPPutController::streamFailed()
{
    const FTPStreamError error = networkStream()->error();
    const auto kind = [&error] {
        if (error.isUndecided) {
            return UploadOutcome::Kind::Unanswered;
        }
        switch (error.domain) {
        case FTPStreamError::Domain::FTP:
            return UploadOutcome::Kind::Refused;
        case FTPStreamError::Domain::Silent:
            return UploadOutcome::Kind::Silent;
        case FTPStreamError::Domain::Unsendable:
            return UploadOutcome::Kind::UnsendableName;
        case FTPStreamError::Domain::Other:
            return UploadOutcome::Kind::ConnectionLost;
        case FTPStreamError::Domain::None:
        case FTPStreamError::Domain::Certificate:
            break;
        }
        return UploadOutcome::Kind::Failed;
    };
    const bool isUnasked = asksNobody() && error.domain == FTPStreamError::Domain::Certificate;
    // Kept: the text asks about a directory because folder creation shares it.
    stop(kind(), errorStatus(u"FTP error %1; Directory may already exist?"_s.arg(error.code)),
         isUnasked ? untrustedText(TrustedCertificates::standard(), m_location) : QString());
}

void FTPPutController::sendStep()
{
    const Watch watch(*this);
    // By pathToUpload: a start that was ignored while this upload runs gives the text its name.
    updateStatus(m_sendingStatus);
    if (!watch.isUndisturbed()) {
        return;
    }
    if (m_bufferOffset == m_bufferLimit && !fillBuffer()) {
        return;
    }
    const qint64 count = networkStream()->write(std::span<const char>(m_buffer).subspan(
        static_cast<size_t>(m_bufferOffset), static_cast<size_t>(m_bufferLimit - m_bufferOffset)));
    if (count < 0) {
        stop(UploadOutcome::Kind::ConnectionLost, u"Network write error"_s);
        return;
    }
    m_bufferOffset += static_cast<quint64>(count);
    m_totalBytesWritten += count;
    reportProgress();
}

/// Reads the next bytes of the file. False when there are none: then the upload has been stopped.
bool FTPPutController::fillBuffer()
{
    const qint64 count = m_fileStream->read(m_buffer);
    if (count <= 0) {
        if (count == 0) {
            stopSendWithStatus(QString());
        } else {
            stop(UploadOutcome::Kind::NotReadable, u"File read error"_s);
        }
        return false;
    }
    m_bufferOffset = 0;
    m_bufferLimit = static_cast<quint64>(count);
    return true;
}

void FTPPutController::reportProgress()
{
    if (m_fileSize < 1) {
        return;
    }
    const Watch watch(*this);
    if (FTPPutControllerDelegate* delegate = m_delegate.get()) {
        delegate->percentDone(transferPercent(m_totalBytesWritten, m_fileSize));
    }
    if (!watch.isUndisturbed()) {
        return;
    }
    if (FTPPutControllerDelegate* delegate = m_delegate.get()) {
        delegate->bytesDone(static_cast<float>(m_totalBytesWritten));
    }
}

void FTPPutController::sendDidStart()
{
    didStart(u"Started Put."_s);
}

void FTPPutController::sendDidStopWithStatus(const QString& status)
{
    if (!status.isNull()) {
        didStop(status);
        return;
    }
    // The delegate may start the next transfer from inside: its start is then reported before this end, and counted
    // before this one is taken off.
    const Watch watch(*this);
    uploadDone();
    if (watch.isAlive()) {
        didStop(u"Upload succeeded"_s);
    }
}

void FTPPutController::updateStatus(const QString& status)
{
    if (FTPPutControllerDelegate* delegate = m_delegate.get()) {
        delegate->statusIsAbout(*this);
        delegate->updateStatus(status);
    }
}

void FTPPutController::uploadDone()
{
    if (FTPPutControllerDelegate* delegate = m_delegate.get()) {
        delegate->uploadDone();
    }
}
