#include "FTPCreateController.h"

#include "DelayedAlert.h"
#include "NetworkManager.h"
#include "URLText.h"

#include <utility>

using namespace Qt::StringLiterals;

FTPCreateController::FTPCreateController(FTPStreamFactory& streams)
    : m_streams(streams)
{
}

FTPCreateController::~FTPCreateController()
{
    stopCreateWithStatus(u"Stopped"_s);
}

void FTPCreateController::setDelegate(WeakRef<FTPCreateControllerDelegate> delegate)
{
    m_delegate = std::move(delegate);
}

void FTPCreateController::startCreate(const QString& name, const QString& destination, const QString& username,
                                      const QString& password)
{
    if (isCreating()) {
        ShowAlertAfterDelay(u"A network operation is already running."_s, u"Try again when it completes."_s);
        return;
    }
    const Watch watch(*this);
    updateStatus(u"Starting create..."_s);
    if (!watch.isUndisturbed()) {
        return;
    }
    const QString folder = NetworkManager::sharedInstance().smartURLForString(destination);
    const QString location = URLText::appendingPathComponent(folder, name);
    if (location.isNull()) {
        updateStatus(u"Invalid URL"_s);
        return;
    }
    if (startStream(m_streams.createFolderStream(location), username, password)) {
        createDidStart();
    }
}

void FTPCreateController::stopCreateWithStatus(const QString& status)
{
    closeStream();
    createDidStopWithStatus(status);
}

void FTPCreateController::createDidStart()
{
    didStart(u"Started Create."_s);
}

void FTPCreateController::createDidStopWithStatus(const QString& status)
{
    didStop(status.isNull() ? u"Create succeeded"_s : status);
}

void FTPCreateController::handleStreamEvent(FTPStreamEvent event)
{
    switch (event) {
    case FTPStreamEvent::OpenCompleted:
        updateStatus(u"Opened connection"_s);
        break;
    case FTPStreamEvent::EndEncountered:
        stopCreateWithStatus(QString());
        break;
    case FTPStreamEvent::ErrorOccurred:
        stopCreateWithStatus(
            errorStatus(u"FTP error %1; Directory may already exist?"_s.arg(networkStream()->error().code)));
        break;
    case FTPStreamEvent::HasBytesAvailable:
    case FTPStreamEvent::HasSpaceAvailable:
        break;
    }
}

void FTPCreateController::updateStatus(const QString& status)
{
    if (FTPCreateControllerDelegate* delegate = m_delegate.get()) {
        delegate->statusIsAbout(*this);
        delegate->updateStatus(status);
    }
}
