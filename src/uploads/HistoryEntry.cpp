#include "HistoryEntry.h"

bool HistoryEntry::isUnsettled() const
{
    return canQueueAgain() && !isManual && outcome != Outcome::Removed;
}

bool HistoryEntry::canQueueAgain() const
{
    const bool isLost = isFailure(outcome) || outcome == Outcome::Stopped || outcome == Outcome::Removed;
    return isLost && !isQueuedAgain;
}
