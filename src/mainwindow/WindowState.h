#pragma once

#include "DestinationListing.h"
#include "FileTally.h"
#include "UploadIntake.h"

#include <QString>

/// What is going on, as far as the window shows it.
struct WindowState {
    bool isSending = false;
    bool isReceiving = false;
    qint64 size = -1; ///< Of what moves, in bytes; -1: not known, or of several.
    qsizetype waiting = 0; ///< Files in the queue.
    bool isQueueUnderWay = false; ///< Files of the queue wait or are being sent.
    UploadIntake::Stage intake = UploadIntake::Stage::Nothing; ///< What keeps drops from joining it.
    bool isTryWaiting = false; ///< Files wait for another try.
    FileTally tally; ///< Of the queue's files that have ended.
    DestinationListing::State listing = DestinationListing::State::Idle;
    QString listingFailure; ///< Why the listing failed.
    bool isListingBroken = false; ///< It failed when some of the items were listed.
    bool isListingStuck = false; ///< The listing has brought nothing for a while.
    QString otherFolder; ///< That is listed instead of the destination; null: none.
    bool isListingDue = false;
    bool hasDestination = false;
    bool isServerLost = false; ///< An icon has no destination since the settings of its own server cannot be read.
    bool isItemSelected = false;

    bool canClearQueue() const { return waiting != 0 || intake != UploadIntake::Stage::Nothing || isTryWaiting; }
    bool isMoving() const { return isSending || isReceiving; }
    bool operator==(const WindowState&) const = default;
};
