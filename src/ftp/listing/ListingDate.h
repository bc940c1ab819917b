#pragma once

#include <QByteArrayView>
#include <QDateTime>

#include <optional>

/// A date and a time of day as a calendar and a clock on the wall show them; it may not exist.
struct CivilTime {
    int year = 1970;
    int month = 1; ///< 1 to 12.
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;
};

/// Milliseconds since the beginning of 1970, UTC, at which the clocks in the time zone of @p zone show @p time; nothing
/// when there is no such day or time of day.
std::optional<qint64> toMSecs(const CivilTime& time, const QDateTime& zone);

/// The same for a place whose clocks are @p offsetMinutes ahead of UTC.
std::optional<qint64> toMSecs(const CivilTime& time, int offsetMinutes);

/// The date column or columns of a Unix listing.
struct ListingDate {
    QByteArrayView rest; ///< What follows the date: a blank and the name.
    std::optional<qint64> msecs; ///< As in ListingEntry::modDate; std::nullopt for "Feb 30" and the like.
};

/// Which words readUnixDate() takes for months.
enum class ListingMonthWords {
    Known, ///< Those of listingMonth() alone.
    Any, ///< Every word with a letter in it; a date in a month that is not known has no milliseconds.
};

/// Reads the date with which @p text begins, after blanks: "Jan 12 15:04", "Jan 12  2024", "12 Jan 2024",
/// "2024-01-12 15:04", with or without weekday, seconds, fractions and time zone, month names in English and the most
/// frequent other languages. std::nullopt when no date stands there.
std::optional<ListingDate> readUnixDate(QByteArrayView text, const QDateTime& now, ListingMonthWords months);
