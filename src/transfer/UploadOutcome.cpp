#include "UploadOutcome.h"

bool isFailure(UploadOutcome::Kind outcome)
{
    switch (outcome) {
        using enum UploadOutcome::Kind;
    case OtherSize:
    case Refused:
    case ConnectionLost:
    case Silent:
    case Unanswered:
    case Failed:
    case NotFound:
    case NotReadable:
    case NotPlainFile:
    case UnsendableName:
    case Interrupted:
        return true;
    case Waiting:
    case Sending:
    case Confirmed:
    case NotListed:
    case Stopped:
    case LeftOut:
    case Removed:
    case Note:
    case NotReplacing:
        return false;
    }
    return false;
}

bool isConnectionFailure(const UploadOutcome& outcome)
{
    using enum UploadOutcome::Kind;
    constexpr int serviceNotAvailable = 421;
    return outcome.kind == ConnectionLost || outcome.kind == Silent
        || (outcome.kind == Refused && outcome.code == serviceNotAvailable);
}
