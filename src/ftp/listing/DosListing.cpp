#include "ListingColumns.h"
#include "ListingDate.h"
#include "ListingDialects.h"
#include "MacRoman.h"

#include <QVarLengthArray>

namespace {

/// A year of two digits lies between 1970 and 2069. One of three digits comes from servers that print the years since
/// 1900 as they are.
std::optional<int> takeYear(QByteArrayView& text)
{
    const qsizetype before = text.size();
    const std::optional<int> year = takeNumber(text, 2, 4);
    if (!year) {
        return std::nullopt;
    }
    switch (before - text.size()) {
    case 2:
        return *year < 70 ? 2000 + *year : 1900 + *year;
    case 3:
        return 1900 + *year;
    default:
        return year;
    }
}

/// "01-12-24", "01/12/2024", "12.01.2024", "2024-01-12".
std::optional<CivilTime> readDate(QByteArrayView column)
{
    const bool yearFirst = column.size() > 4 && isListingNumber(column.first(4));
    const std::optional<int> first = takeNumber(column, 1, 4);
    if (!first || column.isEmpty()) {
        return std::nullopt;
    }
    const char separator = column.front();
    if (separator != '-' && separator != '/' && separator != '.') {
        return std::nullopt;
    }
    column = column.sliced(1);
    const std::optional<int> second = takeNumber(column, 1, 2);
    if (!second || !takeCharacter(column, separator)) {
        return std::nullopt;
    }
    const std::optional<int> third = yearFirst ? takeNumber(column, 1, 2) : takeYear(column);
    if (!third || !column.isEmpty()) {
        return std::nullopt;
    }
    if (yearFirst) {
        return CivilTime{ .year = *first, .month = *second, .day = *third };
    }
    // Full stops go with the day first, and so does a first number that is no month.
    if (separator == '.' || (*first > 12 && *second <= 12)) {
        return CivilTime{ .year = *third, .month = *second, .day = *first };
    }
    return CivilTime{ .year = *third, .month = *first, .day = *second };
}

enum class HalfOfDay { None, Morning, Afternoon, Wrong };

/// "AM" and "PM", "a" and "p" in small or capital letters; nothing of them on a clock of 24 hours.
HalfOfDay readHalfOfDay(QByteArrayView text)
{
    if (text.isEmpty()) {
        return HalfOfDay::None;
    }
    if (text.size() > 2 || (text.size() == 2 && (text[1] | 0x20) != 'm')) {
        return HalfOfDay::Wrong;
    }
    switch (text[0] | 0x20) {
    case 'a':
        return HalfOfDay::Morning;
    case 'p':
        return HalfOfDay::Afternoon;
    default:
        return HalfOfDay::Wrong;
    }
}

/// Reads "03:04PM", "03:04 PM", "15:04" or "15:04:05" with which @p line begins, and takes it off.
bool takeTime(QByteArrayView& line, CivilTime& time)
{
    QByteArrayView column = takeColumn(line);
    const std::optional<int> hour = takeNumber(column, 1, 2);
    const std::optional<int> minute = hour && takeCharacter(column, ':') ? takeNumber(column, 2, 2) : std::nullopt;
    if (!minute) {
        return false;
    }
    time.hour = *hour;
    time.minute = *minute;
    if (takeCharacter(column, ':')) {
        const std::optional<int> second = takeNumber(column, 2, 2);
        if (!second) {
            return false;
        }
        time.second = *second;
    }
    HalfOfDay half = readHalfOfDay(column);
    if (half == HalfOfDay::None) {
        QByteArrayView rest = line;
        const HalfOfDay own = readHalfOfDay(takeColumn(rest));
        if (own == HalfOfDay::Morning || own == HalfOfDay::Afternoon) {
            half = own;
            line = rest;
        }
    }
    if (half == HalfOfDay::Wrong) {
        return false;
    }
    if (half != HalfOfDay::None) {
        // A clock of twelve hours calls both midnight and noon 12; 15:04PM names its hour twice.
        if (time.hour == 12) {
            time.hour = 0;
        }
        if (half == HalfOfDay::Afternoon && time.hour < 12) {
            time.hour += 12;
        }
    }
    return true;
}

/// The size, whose thousands may be parted by commas or full stops.
std::optional<qint64> readSize(QByteArrayView column)
{
    if (isListingNumber(column)) {
        return listingSize(column);
    }
    QVarLengthArray<char, 32> digits;
    for (qsizetype i = 0; i < column.size(); ++i) {
        const bool groupEnd = (column.size() - i) % 4 == 0;
        if (groupEnd && i > 0 && (column[i] == ',' || column[i] == '.')) {
            continue;
        }
        if (groupEnd && i > 0) {
            return std::nullopt;
        }
        digits.append(column[i]);
    }
    return listingSize(QByteArrayView(digits.data(), digits.size()));
}

/// Whether @p column is @p mark, in capital or small letters.
bool isMark(QByteArrayView column, QByteArrayView mark)
{
    return column.compare(mark, Qt::CaseInsensitive) == 0;
}

/// The width of the column that holds "<DIR>" and its like, up to the name.
constexpr qsizetype markWidth = 15;

/// The name after a mark that stands, with @p after behind it, where files have their size. Its own leading blanks
/// are kept where the columns are as wide as usual.
QByteArrayView nameAfterMark(QByteArrayView mark, QByteArrayView after)
{
    const qsizetype width = markWidth - mark.size();
    if (width > 0 && after.size() > width && withoutLeadingBlanks(after.first(width)).isEmpty()) {
        return after.sliced(width);
    }
    return withoutLeadingBlanks(after);
}

/// Cuts " [target]" off the name of a junction or a symbolic link.
void takeBracketedTarget(QByteArrayView& name, ListingEntry& entry)
{
    const qsizetype bracket = name.endsWith(']') ? name.indexOf(" [") : -1;
    if (bracket > 0) {
        entry.link = fromMacRoman(name.sliced(bracket + 2).chopped(1));
        name = name.first(bracket);
    }
}

} // namespace

std::optional<ListingEntry> parseDosListingLine(QByteArrayView line, const QDateTime& now)
{
    if (line.isEmpty() || !(isListingDigit(line.front()) || isListingBlank(line.front()))) {
        return std::nullopt;
    }
    const std::optional<CivilTime> date = readDate(takeColumn(line));
    if (!date) {
        return std::nullopt;
    }
    CivilTime time = *date;
    if (!takeTime(line, time)) {
        return std::nullopt;
    }
    ListingEntry entry;
    entry.modDate = toMSecs(time, now);
    const QByteArrayView mark = takeColumn(line);
    QByteArrayView name;
    if (mark.startsWith('<') && mark.endsWith('>')) {
        name = nameAfterMark(mark, line);
        const bool link = isMark(mark, "<SYMLINK>");
        entry.type = link ? ListingEntry::linkType : ListingEntry::folderType;
        if (link || isMark(mark, "<JUNCTION>") || isMark(mark, "<SYMLINKD>")) {
            takeBracketedTarget(name, entry);
        } else if (!isMark(mark, "<DIR>")) {
            return std::nullopt;
        }
    } else {
        entry.size = readSize(mark);
        if (!entry.size) {
            return std::nullopt;
        }
        entry.type = ListingEntry::plainFileType;
        name = line.isEmpty() ? line : line.sliced(1);
    }
    if (name.isEmpty()) {
        return std::nullopt;
    }
    setListingName(entry, name);
    return entry;
}
