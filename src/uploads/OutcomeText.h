#pragma once

#include "FileTally.h"

#include <QString>

/// What has become of a queue of files, in one line: "3 of 5 uploaded, 2 failed". Null for no files at all.
QString outcomeText(const FileTally& tally);
/// The same for a queue of one file, which is called @p name: "“photo.jpg” uploaded".
QString outcomeText(const FileTally& tally, const QString& name);

/// That nothing becomes of @p count files that were to be tried again at the location @p destination alone.
QString otherDestinationText(int count, const QString& destination);
