#include "FileTally.h"

void FileTally::count(UploadOutcome::Kind outcome, int step)
{
    using enum UploadOutcome::Kind;
    if (outcome == Confirmed) {
        confirmed += step;
    } else if (outcome == NotListed) {
        notListed += step;
    } else if (outcome == OtherSize) {
        otherSize += step;
    } else if (outcome == Unanswered) {
        unanswered += step;
    } else if (isFailure(outcome)) {
        failed += step;
    } else if (outcome == Stopped) {
        stopped += step;
    } else if (outcome == Removed) {
        removed += step;
    } else if (outcome == LeftOut || outcome == NotReplacing) {
        leftOut += step;
    }
}
