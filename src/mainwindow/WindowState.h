#pragma once

#include "DestinationListing.h"
#include "FileTally.h"

/// What is going on, as far as the window shows it.
struct WindowState {
    bool isSending = false;
    bool isReceiving = false;
    qsizetype waiting = 0; ///< Files in the queue.
    FileTally tally; ///< Of the queue's files that have ended.
    DestinationListing::State listing = DestinationListing::State::Idle;
    bool isListingDue = false;
    bool hasDestination = false;
    bool isItemSelected = false;

    bool isMoving() const { return isSending || isReceiving; }
    bool operator==(const WindowState&) const = default;
};
