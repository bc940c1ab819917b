#pragma once

#include "Destination.h"
#include "ListingModel.h"

#include <QElapsedTimer>
#include <QHostAddress>
#include <QObject>

#include <chrono>

class FTPListController;

/// The items of the destination folder, where they come from, and how far their listing has come. The delegate of the
/// listing controller hands its reports on. Belongs to the main thread.
class DestinationListing final : public QObject {
    Q_OBJECT

public:
    enum class State {
        Idle, ///< Nothing has been listed, or there is no destination.
        Listing,
        Complete, ///< The list holds all that the server has listed.
        Failed, ///< The listing ended before, could not begin, or leaves something out by the server's own words.
    };

    /// @p controller outlives the listing.
    explicit DestinationListing(FTPListController& controller);

    ListingModel& model() { return m_model; }
    const ListEntries& entries() const { return m_model.entries(); }
    /// Whether an item now listed has exactly this name.
    bool listingContainsName(const QString& name) const { return entries().contains(name); }
    State state() const { return m_state; }
    bool isListing() const;
    /// Whether a listing runs that has brought nothing for patience.
    bool isStuck() const;
    /// Nothing can come at the moment, since the main loop is suspended.
    void pause() { m_sinceProgress.start(); }
    /// Why the last listing is not whole, for people: the server's words, or the status. Null when it is.
    const QString& failure() const { return m_failure; }
    /// The folder that the items belong to.
    const QString& location() const { return m_source.location; }
    /// Whether that is not the folder of the destination in force, since the user has named another one by hand.
    bool isOfOtherFolder() const;
    /// The address of the machine that the items of the folder @p location came from; null: none did.
    QHostAddress addressOf(const QString& location) const;

    /// The destination in force, as it was when it was last set; null: there is none.
    const Destination& destination() const { return m_inForce; }
    /// Has @p inForce be the destination. When it is another one than before, the items go at once, and a listing that
    /// runs is given up; answers whether that was so.
    bool setDestination(const Destination& inForce);

    /// Empties the list and lists the destination @p inForce. A listing that runs goes on and fills the list from where
    /// it stands; another one is due after it.
    void list(const Destination& inForce);
    /// Empties the list and lists @p folder, which the user has named. A null location is no folder, and a failure.
    void listFolder(const Destination& folder);
    /// Ends the running listing, if there is one, with the status "List Stopped"; none is due any more.
    void stop();

    /// A listing that could not be had when it was asked for.
    bool isDue() const { return m_isDue; }
    void setDue(bool isDue);

    // What the controller reports.

    /// It has said @p status: that of an end, when it receives no more.
    void statusReported(const QString& status);
    /// Adds @p entries: those of the listing that runs or has just ended, or else some of the destination in force.
    void addEntries(const QList<ListingEntry>& entries);

    /// So long a listing may bring nothing before the user is offered to end it.
    static constexpr std::chrono::seconds patience{ 2 };

signals:
    /// Something of what is said above is different.
    void changed();
    /// Another destination is in force.
    void destinationChanged();
    /// Another folder is listed from here on, or the same by another login.
    void folderChanged();
    /// A listing of the folder @p location begins.
    void began(const QString& location);
    void entriesAdded(const QList<ListingEntry>& entries);
    /// The server has listed all items; ended() follows.
    void completed();
    /// The listing is not the whole one, and what has come of it is here; likewise.
    void failed();
    /// All items have come that will.
    void ended(DestinationListing::State state);

private:
    void empty();
    void start(const Destination& folder);
    /// Reports the end of a listing that has failed, unless that has been done.
    void reportFailure();

    FTPListController& m_controller;
    ListingModel m_model;
    State m_state = State::Idle;
    Destination m_inForce; ///< As it was when it was last set.
    Destination m_source; ///< What is listed, or was last.
    QString m_failure;
    QElapsedTimer m_sinceProgress; ///< Since the listing began or brought something.
    /// The latest listing that has brought something: of which folder, from which machine.
    struct {
        QString location;
        QHostAddress address;
    } m_answered;
    bool m_isDue = false;
    bool m_isStarting = false; ///< The controller is idle until it has started, whatever it says meanwhile.
    bool m_hasOpened = false; ///< What the controller has heard is about this listing.
    /// A listing has failed, and the controller may still deliver what had come before.
    bool m_isFailureUnreported = false;
    QString m_lastStatus;
};
