#pragma once

#include <optional>

/// What the desktop may want to know of the transfers.
struct TransferActivity {
    bool isMoving = false; ///< A file is being sent or received.
    bool isWaiting = false; ///< Files wait that have somewhere to go.
    std::optional<double> progress = {}; ///< Of the whole queue, 0 to 1; std::nullopt without one.

    friend bool operator==(const TransferActivity&, const TransferActivity&) = default;
};
