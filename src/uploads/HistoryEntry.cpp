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

void HistoryEntry::setDestination(const Destination& to)
{
    destination = to.location;
    username = to.username;
    encryption = to.encryption;
}

bool HistoryEntry::isFor(const Destination& to) const
{
    const bool isSameLogin = !username || (*username == to.username && encryption == to.encryption);
    return destination.isEmpty() || (destination == to.location && isSameLogin);
}
