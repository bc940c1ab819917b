#pragma once

#include "Destination.h"
#include "ListingModel.h"

#include <QHostAddress>
#include <QObject>

class FTPListController;

/// The items of the destination folder, where they come from, and how far their listing has come. The delegate of the
/// listing controller hands its reports on. Belongs to the main thread.
class DestinationListing final : public QObject {
    Q_OBJECT

public:
    enum class State {
        NoDestination,
        Idle, ///< Nothing has been listed.
        Listing,
        Complete, ///< The list holds all that the server told.
        Failed, ///< The listing ended before, or could not begin.
    };

    /// @p controller outlives the listing.
    explicit DestinationListing(FTPListController& controller);

    ListingModel& model() { return m_model; }
    const ListEntries& entries() const { return m_model.entries(); }
    State state() const { return m_state; }
    bool isListing() const;
    /// The folder that the items belong to.
    const QString& location() const { return m_source.location; }
    /// The address of the machine that the items of the folder @p location came from; null: none did.
    QHostAddress addressOf(const QString& location) const;

    /// Whether there was a destination when list() or setHasDestination() was last called.
    bool hasDestination() const { return m_hasDestination; }
    void setHasDestination(bool hasDestination) { m_hasDestination = hasDestination; }

    /// Empties the list and lists @p destination. A listing that runs goes on and fills the list from where it stands;
    /// another one is due after it.
    void list(const Destination& destination);
    /// The same for a folder that the user has named, where the place of a null location is not asked about.
    void listFolder(const Destination& folder);
    /// Ends the running listing with the status "List Stopped"; none is due any more.
    void stop();

    /// A listing that could not be had when it was asked for.
    bool isDue() const { return m_isDue; }
    void setDue(bool isDue) { m_isDue = isDue; }

    // What the controller reports.

    /// It has said a status: that of an end, when it receives no more.
    void statusReported();
    void addEntries(const QList<ListingEntry>& entries);

signals:
    /// A listing of the folder @p location begins.
    void began(const QString& location);
    void entriesAdded(const QList<ListingEntry>& entries);
    /// All items have come that will.
    void ended(DestinationListing::State state);

private:
    void empty();
    void start(const Destination& folder);

    FTPListController& m_controller;
    ListingModel m_model;
    State m_state = State::Idle;
    Destination m_source; ///< What is listed, or was last.
    /// The latest listing that has brought something: of which folder, from which machine.
    struct {
        QString location;
        QHostAddress address;
    } m_answered;
    bool m_hasDestination = false;
    bool m_isDue = false;
    bool m_isStarting = false; ///< The controller is idle until it has started, whatever it says meanwhile.
};
