#pragma once

/// How many files ended in which way.
struct FileTally {
    int confirmed = 0;
    int failed = 0; ///< Those included that were not found.
    int stopped = 0;
    int removed = 0;

    int count() const { return confirmed + failed + stopped + removed; }
};
