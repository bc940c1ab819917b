// Listing, stopping, and the manual transfers.

#include "ViewController.h"
#include "ui_ManualTransfers.h"

using namespace Qt::StringLiterals;

void ViewController::listFTPDestination()
{
    // A running listing goes on and fills the list from where it stands; what is missing then is listed afterwards.
    const bool isListing = m_lc->isReceiving();
    if (m_pc->isSending() || m_gc->isReceiving()) {
        m_listingWanted = m_listingWanted || isListing;
        return;
    }
    m_listingWanted = isListing;
    emptyList();
    const QString destination = createFullDestinationPathFromAppNameAndFTPFolder();
    m_hasDestination = !destination.isNull();
    if (!m_hasDestination) {
        return;
    }
    m_percent = 0;
    m_bytes.reset();
    startListing(destination);
}

void ViewController::refresh()
{
    emit userRequestedConnection();
    listFTPDestination();
}

const ServerAnswers* ViewController::started(const ServerAnswers& answers, bool isRunning)
{
    if (!isRunning) {
        return nullptr;
    }
    m_latestAnswers = &answers;
    return &answers;
}

void ViewController::startListing(const QString& location)
{
    if (!m_lc->isReceiving()) {
        m_history.listingStarts(location);
        m_listedLocation = location;
    }
    m_lc->startReceive(location, username(), password());
    m_listingAnswers = started(*m_lc, m_lc->isReceiving());
}

void ViewController::emptyList()
{
    m_listing.clear();
    m_isListed = false;
}

void ViewController::stopButtonAction()
{
    if (m_pc->isSending()) {
        stopUpload();
    }
    if (m_gc->isReceiving()) {
        m_gc->stopReceiveWithStatus(u"Download Stopped"_s);
    }
}

void ViewController::resetProgress()
{
    m_percent = 0;
    m_bytes.reset();
    m_auxiliaryPercent = 0;
}

void ViewController::startStopUpload()
{
    if (m_pc->isSending()) {
        stopUpload();
        return;
    }
    emit userRequestedConnection();
    resetProgress();
    const QString path = fileToUpload();
    const QString place = destination();
    m_history.manualFileStarts(path, place);
    startUpload(path, place);
}

void ViewController::startStopDownload()
{
    if (m_gc->isReceiving()) {
        m_gc->stopReceiveWithStatus(u"Download Stopped"_s);
        return;
    }
    emit userRequestedConnection();
    resetProgress();
    m_gc->startReceive(urlToDownload(), username(), password(), QString());
    m_answers = started(*m_gc, m_gc->isReceiving());
}

void ViewController::startStopList(const QObject* sender)
{
    if (alertSendingOrReceiving()) {
        return;
    }
    if (m_lc->isReceiving()) {
        m_listingWanted = false;
        m_lc->stopReceiveWithStatus(u"List Stopped"_s);
        return;
    }
    emit userRequestedConnection();
    resetProgress();
    emptyList();
    const bool isManual = sender == m_manual->startStopListButton;
    startListing(isManual ? destination() : createFullDestinationPathFromAppNameAndFTPFolder());
}

void ViewController::startStopCreate(const QObject* sender)
{
    if (alertSendingOrReceiving()) {
        return;
    }
    QString name = folderNameToCreate();
    QString place = destination();
    if (sender == m_manual->createButton) {
        place = createFullDestinationPathFromAppNameAndFTPFolder();
        name = askInput(u"Enter name of folder to create."_s, u""_s);
        if (name.isEmpty()) {
            return;
        }
    }
    // Kept: the question comes before this test, so a press while a creation runs asks and then stops it.
    if (m_cc->isCreating()) {
        m_cc->stopCreateWithStatus(u"Create Stopped"_s);
        return;
    }
    emit userRequestedConnection();
    resetProgress();
    m_cc->startCreate(name, place, username(), password());
    m_answers = started(*m_cc, m_cc->isCreating());
}
