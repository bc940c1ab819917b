#include "DurationText.h"

#include <QLocale>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 minute = 60;
constexpr qint64 hour = 60 * minute;

QString inTwoUnits(qint64 count, const QString& unit, qint64 rest, const QString& restUnit)
{
    const QString whole = QLocale().toString(count) + unit;
    return rest == 0 ? whole : whole + u' ' + QLocale().toString(rest) + restUnit;
}

} // namespace

QString durationText(std::chrono::milliseconds duration)
{
    constexpr qint64 shortestWhole = 10;
    const qint64 milliseconds = std::max<qint64>(duration.count(), 0);
    const qint64 tenths = milliseconds / 100;
    if (tenths == 0 && milliseconds > 0) {
        return QLocale().toString(milliseconds) + u" ms"_s;
    }
    const qint64 seconds = tenths / 10;
    if (seconds < shortestWhole) {
        const int decimals = tenths % 10 == 0 ? 0 : 1;
        return QLocale().toString(static_cast<double>(tenths) / 10, 'f', decimals) + u" s"_s;
    }
    if (seconds < minute) {
        return QLocale().toString(seconds) + u" s"_s;
    }
    if (seconds < hour) {
        return inTwoUnits(seconds / minute, u" min"_s, seconds % minute, u" s"_s);
    }
    return inTwoUnits(seconds / hour, u" h"_s, seconds % hour / minute, u" min"_s);
}
