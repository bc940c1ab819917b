#include "HistoryEntry.h"

bool HistoryEntry::isUnsettled() const
{
    return canQueueAgain() && !isManual && outcome != Outcome::Removed && outcome != Outcome::NotReplacing;
}

bool HistoryEntry::canQueueAgain() const
{
    using enum UploadOutcome::Kind;
    const bool isLost = isFailure(outcome) || outcome == Stopped || outcome == Removed || outcome == NotReplacing;
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
