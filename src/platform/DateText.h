#pragma once

#include <QDateTime>
#include <QString>

/// @p moment in the user's zone as the present locale (the one for dates, LC_TIME, where they differ) writes it, the
/// date short, the time with seconds
/// ("1/9/24, 3:04:05 PM"). For the main thread: the formatter is kept from call to call.
QString shortDateMediumTimeText(const QDateTime& moment);

/// The same without seconds ("1/9/24, 3:04 PM").
QString shortDateShortTimeText(const QDateTime& moment);
