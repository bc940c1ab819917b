#pragma once

#include "DescriptorShortage.h"
#include "FTPTimeouts.h"
#include "PumpClock.h"
#include "TransferActivity.h"
#include "WindowState.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

class AutomaticTries;
class DestinationListing;
class FTPCreateController;
class FTPGetController;
class FTPPutController;
class ItemActions;
class ListingTable;
class PreferencesController;
class RefreshPace;
class UploadHistory;
class UploadIntake;
class UploadQueue;
class UploadRun;
class WindowIndicators;

/// Has the window show what is going on, and starts the next upload when nothing is sent or received: every 10
/// milliseconds, or seldom when there is nothing to do. Belongs to the main thread.
class Pump final : public QObject {
    Q_OBJECT

public:
    /// What the pump looks at and drives. All outlive it.
    struct Parts {
        FTPPutController& uploads;
        FTPGetController& downloads;
        FTPCreateController& creations;
        UploadHistory& history;
        UploadQueue& queue;
        const UploadIntake& intake;
        AutomaticTries& tries;
        UploadRun& run;
        RefreshPace& pace;
        DestinationListing& listing;
        ItemActions& items;
        ListingTable& table;
        WindowIndicators& indicators;
        const PreferencesController& preferences;
    };

    /// Every change of what it looks at wakes it from here on.
    explicit Pump(const Parts& parts);

    /// Has it come by itself.
    void start() { m_clock.start(); }
    /// Shows all there is to show, and starts the next upload. Nothing while the main loop is suspended.
    void tick();
    /// A file was confirmed: the next one starts with the next turn of the loop.
    void fileConfirmed();
    /// The window can be seen from now on, or cannot.
    void setSeen(bool isSeen) { m_clock.setSeen(isSeen); }

    /// Something that the pump looks at has changed.
    void wake() { m_clock.wake(); }

signals:
    /// What is going on has been shown.
    void shown(const WindowState& state);
    /// The transfers under way or the queue have changed.
    void activityChanged(const TransferActivity& activity);
    /// A listing is due, and can be had.
    void listingDue();
    /// So is a refresh that was put off while files go up, beside them.
    void refreshDue();
    /// There has been no destination for a while.
    void destinationMissed();
    /// There is one, and files wait for it.
    void destinationFound();
    /// The upload under way waits for an answer about its server's certificate, and unattended files may wait behind
    /// it.
    void trustAwaited();

private:
    void come();
    void takeTurn();
    bool noteHold();
    void noteTrust();
    void showAndStart();
    WindowState state() const;
    qint64 movingSize() const;
    bool isMoving() const;
    /// Whether something goes on, waits or is due.
    bool isBusy() const;
    /// Whether a file waits and nothing keeps it back but a destination.
    bool isUploadDue() const;
    /// Whether several files are being downloaded, and the next one can be. It comes before what waits.
    bool isDownloadDue() const;
    /// Whether there has been no destination for a second: settings that are being written have none for a moment.
    bool isDestinationMissed() const;
    void startNext();
    void reportActivity();

    Parts m_parts;
    PumpClock m_clock{ this };
    DescriptorShortage m_shortage{ FTPTimeouts().connect };
    TransferActivity m_reportedActivity;
    QElapsedTimer m_sinceShown;
    QElapsedTimer m_sinceOthersTurn; ///< Since all other events had their turn before an upload.
    QTimer m_turnBehindOthers{ this }; ///< Behind all events that have come.
    QTimer m_destinationChange{ this }; ///< Runs for a second.
    bool m_isTurnComing = false;
};
