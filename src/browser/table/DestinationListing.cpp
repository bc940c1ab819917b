#include "DestinationListing.h"

#include "FTPListController.h"

using namespace Qt::StringLiterals;

DestinationListing::DestinationListing(FTPListController& controller)
    : m_controller(controller)
{
}

bool DestinationListing::isListing() const
{
    return m_controller.isReceiving();
}

QHostAddress DestinationListing::addressOf(const QString& location) const
{
    return m_answered.location == location ? m_answered.address : QHostAddress();
}

void DestinationListing::list(const Destination& destination)
{
    m_isDue = isListing();
    empty();
    m_hasDestination = !destination.isNull();
    if (m_hasDestination) {
        start(destination);
    } else {
        m_state = State::NoDestination;
    }
}

void DestinationListing::listFolder(const Destination& folder)
{
    empty();
    start(folder);
}

void DestinationListing::stop()
{
    m_isDue = false;
    m_controller.stopReceiveWithStatus(u"List Stopped"_s);
}

void DestinationListing::empty()
{
    m_model.clear();
    m_state = isListing() ? State::Listing : State::Idle;
}

void DestinationListing::start(const Destination& folder)
{
    if (!isListing()) {
        m_source = folder;
        emit began(folder.location);
    }
    m_isStarting = true;
    m_controller.startReceive(folder.location, folder.username, folder.password);
    m_isStarting = false;
    m_state = State::Listing;
    statusReported();
}

void DestinationListing::statusReported()
{
    if (m_isStarting || m_state != State::Listing || isListing()) {
        return;
    }
    m_state = m_controller.hasSucceeded() ? State::Complete : State::Failed;
    if (m_state == State::Complete) {
        m_answered = { m_source.location, m_controller.peerAddress() };
    }
    emit ended(m_state);
}

void DestinationListing::addEntries(const QList<ListingEntry>& entries)
{
    if (isListing()) {
        m_answered = { m_source.location, m_controller.peerAddress() };
    }
    emit entriesAdded(entries);
    m_model.add(entries); // At their places in the table's present order.
}
