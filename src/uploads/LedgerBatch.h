#pragma once

#include "HistoryEntry.h"
#include "PathList.h"

#include <optional>
#include <vector>

/// News of the files of this run, on their way to the ledger's thread. Files are known by their numbers in the run.
struct LedgerBatch {
    /// Files that wait, one number behind the other.
    struct Added {
        int first;
        PathList paths; ///< Shared with nobody.
        qint64 time; ///< As in HistoryEntry.
        Destination destination; ///< The one in force, without its password.
    };
    /// What is now known of the files from `first` to `last`.
    struct Changed {
        int first;
        int last;
        HistoryEntry entry; ///< Without its path.
    };

    std::vector<Added> added; ///< Written before what has changed.
    std::vector<Changed> changed;
    std::optional<bool> isLookingThrough; ///< Whether more files may be found in folders; none where that is no news.
};
