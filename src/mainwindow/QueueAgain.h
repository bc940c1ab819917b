#pragma once

#include <QList>

class ViewController;

/// Puts the files of those @p rows of the history that can work into the queue of @p controller once more. When they
/// were for another destination than the one in force, a sheet of its window asks before.
void queueAgain(ViewController& controller, const QList<int>& rows);
