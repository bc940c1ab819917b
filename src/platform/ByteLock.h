#pragma once

#include <QtGlobal>

/// Locks on single bytes of a file, by which processes know of each other: they belong to the opened file, and the
/// system takes them away when that is closed, however the process ends. Nobody waits for one.
namespace ByteLock {

enum class Attempt {
    Taken,
    Busy, ///< Somebody else has it.
    Impossible, ///< As errno says; so it is without a file (a negative descriptor).
};

Attempt take(int file, qint64 place);
/// Gives up what take() has taken.
void giveUp(int file, qint64 place);
/// Whether somebody else has it, or nobody can say.
bool isTaken(int file, qint64 place);

} // namespace ByteLock
