#include "ListingDate.h"

#include "ListingColumns.h"
#include "ListingMonths.h"

#include <QCalendar>
#include <QTimeZone>

#include <algorithm>
#include <chrono>
#include <vector>

namespace {

constexpr qint64 msecsPerMinute = 60'000;
constexpr qint64 msecsPerDay = msecsPerMinute * 60 * 24;

/// The milliseconds that lie between the beginning of 1970 and @p time on one and the same clock.
std::optional<qint64> civilMSecs(const CivilTime& time)
{
    if (time.year < 0 || time.month < 1 || time.day < 1 || time.hour > 23 || time.minute > 59 || time.second > 60) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{ std::chrono::year(time.year),
                                            std::chrono::month(static_cast<unsigned>(time.month)),
                                            std::chrono::day(static_cast<unsigned>(time.day)) };
    if (!date.ok()) {
        return std::nullopt;
    }
    const qint64 days = std::chrono::sys_days(date).time_since_epoch().count();
    return days * msecsPerDay + ((time.hour * 60 + time.minute) * 60 + time.second) * qint64(1000);
}

qint64 dayOf(qint64 civilMSecs)
{
    return civilMSecs >= 0 ? civilMSecs / msecsPerDay : -((-civilMSecs + msecsPerDay - 1) / msecsPerDay);
}

/// How far the clocks in the zone of @p zone are ahead of UTC when they show @p civil.
qint64 offsetAt(qint64 civil, const QDateTime& zone)
{
    const QDateTime sameReading = QDateTime::fromMSecsSinceEpoch(civil, Qt::UTC);
    QDateTime local = zone;
    local.setDate(sameReading.date());
    local.setTime(sameReading.time());
    return civil - local.toMSecsSinceEpoch();
}

/// Remembers how far the local clocks were ahead of UTC, day by day: asking the system takes longer than reading a
/// whole line, and the dates of a listing share their days.
class OffsetsByDay {
public:
    qint64 offsetAt(qint64 civil, const QDateTime& now)
    {
        forgetAfterZoneChange(now);
        const qint64 day = dayOf(civil);
        Day& known = m_days[static_cast<size_t>(day) % m_days.size()];
        if (!known.valid || known.day != day) {
            const qint64 first = ::offsetAt(day * msecsPerDay, now);
            const qint64 last = ::offsetAt((day + 1) * msecsPerDay - 1, now);
            known = { .day = day, .offset = first, .valid = true, .changes = first != last };
        }
        return known.changes ? ::offsetAt(civil, now) : known.offset;
    }

private:
    struct Day {
        qint64 day = 0;
        qint64 offset = 0;
        bool valid = false;
        bool changes = false; ///< The clocks were put forward or back in the course of this day.
    };

    void forgetAfterZoneChange(const QDateTime& now)
    {
        if (now.date() == m_nowDate && now.time() == m_nowTime && now.timeSpec() == m_spec && m_spec != Qt::TimeZone) {
            return;
        }
        const QByteArray zoneId = now.timeZone().id();
        const int offset = now.offsetFromUtc();
        if (now.timeSpec() != m_spec || zoneId != m_zoneId || offset != m_nowOffset) {
            std::ranges::fill(m_days, Day());
        }
        m_spec = now.timeSpec();
        m_zoneId = zoneId;
        m_nowOffset = offset;
        m_nowDate = now.date();
        m_nowTime = now.time();
    }

    std::vector<Day> m_days = std::vector<Day>(4096); // Eleven years; further ones take the places of others.
    Qt::TimeSpec m_spec = Qt::UTC;
    QByteArray m_zoneId;
    int m_nowOffset = 0;
    QDate m_nowDate;
    QTime m_nowTime;
};

/// "15:04" or "15:04:05"; true in @p hasSeconds for the latter.
bool takeTimeOfDay(QByteArrayView& text, CivilTime& time, bool& hasSeconds)
{
    QByteArrayView rest = text;
    const std::optional<int> hour = takeNumber(rest, 1, 2);
    if (!hour || !takeCharacter(rest, ':')) {
        return false;
    }
    const std::optional<int> minute = takeNumber(rest, 2, 2);
    if (!minute) {
        return false;
    }
    time.hour = *hour;
    time.minute = *minute;
    hasSeconds = takeCharacter(rest, ':');
    if (hasSeconds) {
        const std::optional<int> second = takeNumber(rest, 2, 2);
        if (!second) {
            return false;
        }
        time.second = *second;
    }
    text = rest;
    return true;
}

/// Whether there is an English letter in @p word, or anything beyond ASCII.
bool holdsLetter(QByteArrayView word)
{
    return std::ranges::any_of(word, [](char c) {
        const auto small = static_cast<quint8>(c | 0x20);
        return (small >= 'a' && small <= 'z') || small >= 0x80;
    });
}

bool atColumnEnd(QByteArrayView text)
{
    return text.isEmpty() || isListingBlank(text.front());
}

/// Gives @p time the newest year in which its day exists and lies at most a day after @p now.
bool chooseYear(CivilTime& time, const QDateTime& now)
{
    const QCalendar::YearMonthDay today = QCalendar().partsFromDate(now.date());
    const QTime clock = now.time();
    const std::optional<qint64> present = civilMSecs({ .year = today.year,
                                                       .month = today.month,
                                                       .day = today.day,
                                                       .hour = clock.hour(),
                                                       .minute = clock.minute(),
                                                       .second = clock.second() });
    if (!present) {
        return false;
    }
    // Eight years: between two leap years there may be as many.
    for (time.year = today.year + 1; time.year >= today.year - 8; --time.year) {
        const std::optional<qint64> candidate = civilMSecs(time);
        if (candidate && *candidate <= *present + msecsPerDay) {
            return true;
        }
    }
    return false;
}

/// What follows month and day, in either order: the year, or the time of a year that is not named, or both.
std::optional<ListingDate> readYearOrTime(QByteArrayView text, CivilTime time, const QDateTime& now)
{
    QByteArrayView rest = withoutLeadingBlanks(text);
    bool hasSeconds = false;
    if (takeTimeOfDay(rest, time, hasSeconds)) {
        QByteArrayView afterYear = withoutLeadingBlanks(rest);
        const std::optional<int> year = hasSeconds ? takeNumber(afterYear, 4, 4) : std::nullopt;
        if (year && atColumnEnd(afterYear)) {
            time.year = *year;
            return ListingDate{ .rest = afterYear, .msecs = toMSecs(time, now) };
        }
        if (!atColumnEnd(rest)) {
            return std::nullopt;
        }
        return ListingDate{ .rest = rest, .msecs = chooseYear(time, now) ? toMSecs(time, now) : std::nullopt };
    }
    const std::optional<int> year = takeNumber(rest, 4, 4);
    if (!year || !atColumnEnd(rest)) {
        return std::nullopt;
    }
    time.year = *year;
    return ListingDate{ .rest = rest, .msecs = toMSecs(time, now) };
}

/// "Jan 12 15:04", "Jan 12  2024", "Jan 12 15:04:05 2024".
std::optional<ListingDate> readMonthFirst(QByteArrayView text, int month, const QDateTime& now)
{
    QByteArrayView column = takeColumn(text);
    const std::optional<int> day = takeNumber(column, 1, 2);
    if (!day || (!column.isEmpty() && column != QByteArrayView("."))) {
        return std::nullopt;
    }
    return readYearOrTime(text, { .month = month, .day = *day }, now);
}

/// The month, 0 for one that is not known; std::nullopt when @p word is none of @p months.
std::optional<int> readMonth(QByteArrayView word, ListingMonthWords months)
{
    const int month = listingMonth(word);
    if (month == 0 && (months == ListingMonthWords::Known || !holdsLetter(word))) {
        return std::nullopt;
    }
    return month;
}

/// "12 Jan 15:04", "12. Jan 2024".
std::optional<ListingDate> readDayFirst(QByteArrayView text, const QDateTime& now, ListingMonthWords months)
{
    QByteArrayView column = takeColumn(text);
    const std::optional<int> day = takeNumber(column, 1, 2);
    if (!day || (!column.isEmpty() && column != QByteArrayView("."))) {
        return std::nullopt;
    }
    const std::optional<int> month = readMonth(takeColumn(text), months);
    return month ? readYearOrTime(text, { .month = *month, .day = *day }, now) : std::nullopt;
}

/// The end of an ISO time with seconds: ".123456789 +0100", each part optional.
std::optional<ListingDate> readFractionAndZone(QByteArrayView text, const CivilTime& time, const QDateTime& now)
{
    if (text.startsWith('.')) {
        do {
            text = text.sliced(1);
        } while (!text.isEmpty() && isListingDigit(text.front()));
    }
    if (!atColumnEnd(text)) {
        return std::nullopt;
    }
    QByteArrayView rest = text;
    const QByteArrayView zone = takeColumn(rest);
    if (zone.size() == 5 && (zone[0] == '+' || zone[0] == '-') && isListingNumber(zone.sliced(1))) {
        QByteArrayView digits = zone.sliced(1);
        const int hoursAndMinutes = takeNumber(digits, 4, 4).value_or(0);
        const int offset = hoursAndMinutes / 100 * 60 + hoursAndMinutes % 100;
        return ListingDate{ .rest = rest, .msecs = toMSecs(time, zone[0] == '-' ? -offset : offset) };
    }
    return ListingDate{ .rest = text, .msecs = toMSecs(time, now) };
}

/// What follows an ISO day: its time, which only a day with a year may lack.
std::optional<ListingDate> readIsoTime(QByteArrayView text, CivilTime time, bool hasYear, const QDateTime& now)
{
    if (!atColumnEnd(text)) {
        return std::nullopt;
    }
    QByteArrayView rest = withoutLeadingBlanks(text);
    bool hasSeconds = false;
    if (!takeTimeOfDay(rest, time, hasSeconds)) {
        if (!hasYear || text.isEmpty()) {
            return std::nullopt;
        }
        // The column of such dates is as wide as "01-12 15:04": a blank fills it.
        const bool filled = text.size() > 1 && isListingBlank(text[1]);
        return ListingDate{ .rest = filled ? text.sliced(1) : text, .msecs = toMSecs(time, now) };
    }
    if (!hasYear && !chooseYear(time, now)) {
        time.day = 0; // Read on for the name; the date does not exist.
    }
    if (hasSeconds) {
        return readFractionAndZone(rest, time, now);
    }
    if (!atColumnEnd(rest)) {
        return std::nullopt;
    }
    return ListingDate{ .rest = rest, .msecs = toMSecs(time, now) };
}

/// "2024-01-12 15:04", "2024-01-12 15:04:05.123456789 +0100", "2024-01-12", "01-12 15:04".
std::optional<ListingDate> readIsoDate(QByteArrayView text, const QDateTime& now)
{
    QByteArrayView rest = text;
    const std::optional<int> year = takeNumber(rest, 4, 4);
    if (year && !takeCharacter(rest, '-')) {
        return std::nullopt;
    }
    const std::optional<int> month = takeNumber(rest, 2, 2);
    if (!month || !takeCharacter(rest, '-')) {
        return std::nullopt;
    }
    const std::optional<int> day = takeNumber(rest, 2, 2);
    if (!day) {
        return std::nullopt;
    }
    return readIsoTime(rest, { .year = year.value_or(1970), .month = *month, .day = *day }, year.has_value(), now);
}

} // namespace

std::optional<qint64> toMSecs(const CivilTime& time, const QDateTime& zone)
{
    thread_local OffsetsByDay offsets;
    const std::optional<qint64> civil = civilMSecs(time);
    if (!civil || zone.timeSpec() == Qt::UTC) {
        return civil;
    }
    if (zone.timeSpec() == Qt::OffsetFromUTC) {
        return *civil - zone.offsetFromUtc() * qint64(1000);
    }
    return *civil - offsets.offsetAt(*civil, zone);
}

std::optional<qint64> toMSecs(const CivilTime& time, int offsetMinutes)
{
    const std::optional<qint64> civil = civilMSecs(time);
    return civil ? std::optional(*civil - offsetMinutes * msecsPerMinute) : std::nullopt;
}

std::optional<ListingDate> readUnixDate(QByteArrayView text, const QDateTime& now, ListingMonthWords months)
{
    const QByteArrayView date = withoutLeadingBlanks(text);
    if (date.isEmpty()) {
        return std::nullopt;
    }
    if (isListingDigit(date.front())) {
        if (const std::optional<ListingDate> iso = readIsoDate(date, now)) {
            return iso;
        }
        if (const std::optional<ListingDate> dayFirst = readDayFirst(date, now, months)) {
            return dayFirst;
        }
    }
    QByteArrayView rest = date;
    QByteArrayView word = takeColumn(rest);
    if (isListingWeekday(word)) {
        word = takeColumn(rest);
    }
    const std::optional<int> month = readMonth(word, months);
    return month ? readMonthFirst(rest, *month, now) : std::nullopt;
}
