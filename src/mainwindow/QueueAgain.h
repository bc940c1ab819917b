#pragma once

#include "LedgerRow.h"

class ViewController;

/// Puts the files of those @p keys of the ledger that can work into the queue of @p controller once more: a few files
/// of this run at once, others when they were read and looked for. When they were for another destination than the one
/// in force, a sheet of its window asks before.
void queueAgain(ViewController& controller, const QList<LedgerKey>& keys);
