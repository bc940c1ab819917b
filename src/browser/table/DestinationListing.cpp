#include "DestinationListing.h"

#include "DestinationSettings.h"
#include "FTPListController.h"

#include <QTimer>

#include <utility>

using namespace Qt::StringLiterals;

DestinationListing::DestinationListing(FTPListController& controller)
    : m_controller(controller)
{
}

bool DestinationListing::isListing() const
{
    return m_controller.isReceiving();
}

bool DestinationListing::isStuck() const
{
    return isListing() && m_sinceProgress.hasExpired(std::chrono::milliseconds(patience).count());
}

bool DestinationListing::isOfOtherFolder() const
{
    return !m_source.isNull() && m_source.location != m_inForce.location;
}

QHostAddress DestinationListing::addressOf(const QString& location) const
{
    return m_answered.location == location ? m_answered.address : QHostAddress();
}

bool DestinationListing::setDestination(const Destination& inForce)
{
    if (inForce == m_inForce) {
        return false;
    }
    m_inForce = inForce;
    stop();
    empty();
    m_source = {};
    emit folderChanged();
    emit destinationChanged();
    emit changed();
    return true;
}

void DestinationListing::list(const Destination& inForce)
{
    setDestination(inForce);
    m_isDue = isListing();
    empty();
    if (!inForce.isNull()) {
        start(inForce);
    }
    emit changed();
}

void DestinationListing::listFolder(const Destination& folder)
{
    empty();
    start(folder);
    emit changed();
}

void DestinationListing::setDue(bool isDue)
{
    m_isDue = isDue;
    emit changed();
}

void DestinationListing::stop()
{
    if (isListing()) {
        m_isDue = false;
        m_controller.stopReceiveWithStatus(u"List Stopped"_s);
    }
}

void DestinationListing::empty()
{
    reportFailure();
    m_model.clear();
    m_failure.clear();
    m_state = isListing() ? State::Listing : State::Idle;
}

void DestinationListing::start(const Destination& folder)
{
    if (!isListing()) {
        const bool isOther = m_source != folder;
        m_source = folder;
        m_sinceProgress.start();
        if (isOther) {
            emit folderChanged();
        }
        emit began(folder.location);
    }
    m_state = State::Listing;
    m_isStarting = true;
    m_controller.startReceive(folder.location, folder.username, folder.password);
    m_isStarting = false;
    m_hasOpened = isListing();
    statusReported(m_lastStatus);
}

void DestinationListing::statusReported(const QString& status)
{
    m_lastStatus = status;
    if (m_isStarting || m_state != State::Listing || isListing()) {
        return;
    }
    if (m_controller.isWhole()) {
        m_state = State::Complete;
        m_answered = { m_source.location, m_controller.peerAddress() };
        emit completed();
        emit ended(m_state);
    } else {
        m_state = State::Failed;
        m_failure = m_hasOpened ? m_controller.whyNotWhole(status) : status;
        m_isFailureUnreported = true;
        QTimer::singleShot(0, this, &DestinationListing::reportFailure);
    }
    emit changed();
}

void DestinationListing::reportFailure()
{
    if (std::exchange(m_isFailureUnreported, false)) {
        emit failed();
        emit ended(State::Failed);
    }
}

void DestinationListing::addEntries(const QList<ListingEntry>& entries)
{
    if (isListing() || m_isFailureUnreported) {
        m_answered = { m_source.location, m_controller.peerAddress() };
        m_sinceProgress.start();
    } else {
        setDestination(DestinationSettings::destination()); // Nobody has listed them: they can only be of that one.
        if (m_source.isNull()) {
            m_source = m_inForce;
        }
    }
    emit entriesAdded(entries);
    m_model.add(entries); // At their places in the present order.
    reportFailure();
    emit changed();
}
