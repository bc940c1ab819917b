#pragma once

#include "UploadOutcome.h"

/// How many files ended in which way.
struct FileTally {
    int confirmed = 0; ///< And listed as they were sent, as far as they were listed.
    int notListed = 0; ///< Confirmed, but not in a listing of their folder.
    int otherSize = 0; ///< Confirmed, but listed with another size.
    int failed = 0; ///< Otherwise than by their size.
    int unanswered = 0; ///< Sent whole, and the server may have them or not.
    int stopped = 0;
    int removed = 0;
    int leftOut = 0;

    /// Files that stood in a queue or were sent by hand.
    int tried() const { return confirmed + notListed + lost() + stopped + removed; }
    /// Files that the server does not have whole, or that nobody knows of, although they were to be sent.
    int lost() const { return otherSize + failed + unanswered; }

    /// Counts @p step files more with that outcome; what has not ended, and notes, count nowhere.
    void count(UploadOutcome::Kind outcome, int step = 1);

    friend bool operator==(const FileTally&, const FileTally&) = default;
};
