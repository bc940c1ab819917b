#pragma once

#include <optional>

/// What the desktop may want to know of the transfers.
struct TransferActivity {
    bool isMoving = false; ///< A file is being sent or received.
    bool isWaiting = false; ///< Files wait that have somewhere to go.
    std::optional<double> progress = {}; ///< Of all that waits and moves, from 0 to 1; nothing while nothing does.

    friend bool operator==(const TransferActivity&, const TransferActivity&) = default;
};
