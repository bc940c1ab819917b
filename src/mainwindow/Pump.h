#pragma once

#include "TransferActivity.h"
#include "WindowState.h"

#include <QObject>

class DestinationListing;
class FTPGetController;
class FTPPutController;
class ItemActions;
class UploadHistory;
class UploadQueue;
class UploadRun;
class WindowIndicators;

/// What comes every 10 milliseconds: it has the window show what is going on, and starts the next upload when nothing
/// is sent or received. Belongs to the main thread.
class Pump final : public QObject {
    Q_OBJECT

public:
    /// What the pump looks at and drives. All outlive it.
    struct Parts {
        FTPPutController& uploads;
        FTPGetController& downloads;
        UploadHistory& history;
        UploadQueue& queue;
        UploadRun& run;
        DestinationListing& listing;
        ItemActions& items;
        WindowIndicators& indicators;
    };

    explicit Pump(const Parts& parts);

    /// Does all that is due. Nothing while the main loop is suspended.
    void tick();

signals:
    /// What is going on has been shown.
    void shown(const WindowState& state);
    /// The transfers under way or the queue have changed.
    void activityChanged(const TransferActivity& activity);
    /// A listing is due, and can be had.
    void listingDue();

private:
    WindowState state() const;
    bool isMoving() const;
    /// Whether a file waits and nothing keeps it back but a destination.
    bool isUploadDue() const;
    void startNext();
    void reportActivity();

    Parts m_parts;
    TransferActivity m_reportedActivity;
};
