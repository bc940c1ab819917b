#include "FTPGetController.h"

#include "DelayedAlert.h"
#include "FTPLocation.h"
#include "FileOutputStream.h"
#include "NetworkManager.h"
#include "PathText.h"
#include "SettingNames.h"
#include "TransferPercent.h"
#include "URLText.h"
#include "UserDefaults.h"

#include <array>
#include <utility>

using namespace Qt::StringLiterals;

FTPGetController::FTPGetController(FTPStreamFactory& streams, const UserDefaults& defaults, FileOpener openFile)
    : m_streams(streams)
    , m_defaults(defaults)
    , m_openFile(std::move(openFile))
{
}

FTPGetController::~FTPGetController()
{
    stopReceiveWithStatus(u"Stopped"_s);
}

void FTPGetController::setDelegate(WeakRef<FTPGetControllerDelegate> delegate)
{
    m_delegate = std::move(delegate);
}

void FTPGetController::startReceive(const QString& address, const QString& username, const QString& password,
                                    const QString& file)
{
    m_pathToDownload = address;
    m_receivingStatus = u"Receiving \"%1\""_s.arg(PathText::lastPathComponent(address));
    if (isReceiving()) {
        ShowAlertAfterDelay(u"A network operation is already running."_s, u"Try again when it completes."_s);
        return;
    }
    if (m_fileStream != nullptr || !m_filePath.isNull()) {
        return;
    }
    const Watch watch(*this);
    updateStatus(u"Starting get..."_s);
    if (!watch.isUndisturbed()) {
        return;
    }
    NetworkManager& manager = NetworkManager::sharedInstance();
    const QString location = manager.smartURLForString(address);
    if (location.isNull()) {
        updateStatus(u"Invalid URL"_s);
        return;
    }
    m_filePath = manager.pathForDownloadFileWithFilename(URLText::lastPathComponent(location), file);
    if (m_filePath.isNull()) {
        // The odd spelling is the text that people know.
        updateStatus(u"Invalid Desftination File"_s);
        return;
    }
    m_fileStream = std::make_unique<FileOutputStream>(m_filePath,
                                                      m_keepsFileUntilWhole ? FileOutputStream::Existing::KeptUntilWhole
                                                                            : FileOutputStream::Existing::Overwritten);
    // What cannot be asked for, which the stream reports, makes no file.
    if (const auto place = FTPLocation::fromText(location); place && canBeSent(place->path)) {
        m_fileStream->open();
    }
    if (!startStream(m_streams.createDownloadStream(location), username, password)) {
        return;
    }
    networkStream()->setFetchResourceInfo(true);
    receiveDidStart();
}

void FTPGetController::stopReceiveWithStatus(const QString& status)
{
    closeStream();
    QString outcome = status;
    QString strandedPath;
    if (m_fileStream != nullptr) {
        // What could not be written to the end is no success, not even when there was nothing to write.
        if (status.isNull() && !m_fileStream->close()) {
            outcome = u"File write error"_s;
            strandedPath = m_fileStream->strandedPath();
        }
        m_fileStream.reset();
    }
    const Watch watch(*this);
    if (FTPGetControllerDelegate* delegate = m_delegate.get(); delegate != nullptr && !strandedPath.isNull()) {
        delegate->fileStaysBeside(strandedPath);
    }
    if (!watch.isAlive()) {
        return;
    }
    receiveDidStopWithStatus(outcome);
    if (watch.isAlive()) {
        m_filePath = QString();
    }
}

void FTPGetController::handleStreamEvent(FTPStreamEvent event)
{
    switch (event) {
    case FTPStreamEvent::OpenCompleted:
        openCompleted();
        break;
    case FTPStreamEvent::HasBytesAvailable:
        receiveStep();
        break;
    case FTPStreamEvent::ErrorOccurred:
        stopReceiveWithStatus(errorStatus(u"FTP error %1"_s.arg(networkStream()->error().code)));
        break;
    case FTPStreamEvent::HasSpaceAvailable:
    case FTPStreamEvent::EndEncountered:
        break;
    }
}

void FTPGetController::openCompleted()
{
    m_totalBytesWritten = 0;
    m_fileSize = networkStream()->resourceSize().value_or(-1);
    updateStatus(u"Opened connection"_s);
}

void FTPGetController::receiveStep()
{
    const Watch watch(*this);
    updateStatus(m_receivingStatus);
    if (!watch.isUndisturbed()) {
        return;
    }
    std::array<char, bufferSize> buffer;
    const qint64 count = networkStream()->read(buffer);
    if (count <= 0) {
        stopReceiveWithStatus(count == 0 ? QString() : u"Network read error"_s);
        return;
    }
    writeBlock(std::span<const char>(buffer).first(static_cast<size_t>(count)));
}

void FTPGetController::writeBlock(std::span<const char> block)
{
    while (!block.empty()) {
        const qint64 count = m_fileStream->write(block);
        // Nothing taken is a failure too: to try again might never end.
        if (count <= 0) {
            stopReceiveWithStatus(u"File write error"_s);
            return;
        }
        m_totalBytesWritten += count;
        block = block.subspan(static_cast<size_t>(count));
        if (!reportProgress()) {
            return;
        }
    }
}

/// False when the delegate has stopped the download.
bool FTPGetController::reportProgress()
{
    if (m_fileSize <= 0) {
        return true;
    }
    const Watch watch(*this);
    if (FTPGetControllerDelegate* delegate = m_delegate.get()) {
        delegate->percentDone(transferPercent(m_totalBytesWritten, m_fileSize));
    }
    if (!watch.isUndisturbed()) {
        return false;
    }
    if (FTPGetControllerDelegate* delegate = m_delegate.get()) {
        delegate->bytesDone(static_cast<float>(m_totalBytesWritten));
    }
    return watch.isUndisturbed();
}

void FTPGetController::receiveDidStart()
{
    didStart(u"Started Get."_s);
}

void FTPGetController::receiveDidStopWithStatus(const QString& status)
{
    if (!status.isNull()) {
        didStop(status);
        return;
    }
    ++m_arrivals;
    if (!m_filePath.isNull() && m_defaults.boolean(SettingNames::openDownloadedFiles) == true) {
        m_openFile(m_filePath);
    }
    didStop(u"Download succeeded"_s);
}

void FTPGetController::updateStatus(const QString& status)
{
    if (FTPGetControllerDelegate* delegate = m_delegate.get()) {
        delegate->statusIsAbout(*this);
        delegate->updateStatus(status);
    }
}
