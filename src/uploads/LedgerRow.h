#pragma once

#include "HistoryEntry.h"

#include <QList>

/// What a row of the ledger is known by. The history of this run has all that is known of the files of this run.
struct LedgerKey {
    qint64 row = 0; ///< In the database; 0 for a file of this run.
    int number = -1; ///< The number of a file of this run in it; -1 for any other.

    bool isOfThisRun() const { return number >= 0; }
    friend bool operator==(const LedgerKey&, const LedgerKey&) = default;
    friend size_t qHash(const LedgerKey& key, size_t seed = 0)
    {
        return key.isOfThisRun() ? ::qHash(-qint64{ key.number } - 1, seed) : ::qHash(key.row, seed);
    }
};

/// What is to become of a file that was lost. Kept in files by its number.
enum class LedgerSettled {
    Undecided,
    QueuedAgain,
    Forgotten,
    AwaitingTry, ///< By itself, as long as the run goes on.
    Missed, ///< The run has ended before that, or what a note tells of; nobody has said yet what is to become of it.
};

/// What the ledger knows of one file.
struct LedgerRow {
    LedgerKey key;
    HistoryEntry entry;
};

/// Which rows of the ledger somebody wants, and in which order.
struct LedgerQuery {
    enum class Order { Row, Time, Name, Size, Duration, Speed, Kind, Reply, Copy };

    QString text = {}; ///< It stands in the path, the destination, the words about the outcome or the copy's name.
    bool failedOnly = false;
    Order order = Order::Row;
    bool isDescending = false;

    /// Whether all rows are wanted as they came.
    bool isPlain() const { return text.isEmpty() && !failedOnly && order == Order::Row && !isDescending; }
    friend bool operator==(const LedgerQuery&, const LedgerQuery&) = default;
};
