#include "ListingParser.h"

#include "CheckRows.h"
#include "ListingRows.h"
#include "MacRoman.h"

#include <QStringDecoder>
#include <QTimeZone>

#include <gtest/gtest.h>

#include <vector>

using namespace Qt::StringLiterals;

namespace {

QDateTime utc(const char* iso)
{
    QDateTime time = QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODate);
    time.setTimeSpec(Qt::UTC);
    return time;
}

qint64 ms(const char* iso)
{
    return utc(iso).toMSecsSinceEpoch();
}

QDateTime now()
{
    return utc("2024-06-15T12:00:00");
}

QString macRoman(const char* bytes)
{
    return bytes != nullptr ? fromMacRoman(bytes) : QString();
}

ListingEntry expectedEntry(const ListingRow& row)
{
    ListingEntry entry;
    entry.name = macRoman(row.name);
    if (!QByteArrayView(row.name).isValidUtf8()) {
        entry.rawName = row.name;
    }
    entry.owner = macRoman(row.owner);
    entry.group = macRoman(row.group);
    entry.link = macRoman(row.link);
    if (row.size != noSize) {
        entry.size = row.size;
    }
    if (row.date != nullptr) {
        entry.modDate = ms(row.date);
    }
    entry.type = row.type;
    if (row.mode != noMode) {
        entry.mode = row.mode;
    }
    return entry;
}

void expectEntry(const ListingEntry& actual, const ListingEntry& expected)
{
    EXPECT_EQ(actual.name, expected.name);
    EXPECT_EQ(actual.rawName, expected.rawName);
    EXPECT_EQ(actual.rawName.isNull(), expected.rawName.isNull());
    EXPECT_EQ(actual.owner, expected.owner);
    EXPECT_EQ(actual.owner.isNull(), expected.owner.isNull());
    EXPECT_EQ(actual.group, expected.group);
    EXPECT_EQ(actual.group.isNull(), expected.group.isNull());
    EXPECT_EQ(actual.link, expected.link);
    EXPECT_EQ(actual.link.isNull(), expected.link.isNull());
    EXPECT_EQ(actual.size, expected.size);
    EXPECT_EQ(actual.modDate, expected.modDate);
    EXPECT_EQ(actual.type, expected.type);
    EXPECT_EQ(actual.mode, expected.mode);
}

void expectEntryOfRow(const ListingRow& row, const QByteArray& lineEnd)
{
    SCOPED_TRACE(row.line);
    const QByteArray line = row.line + lineEnd;

    const ParsedListing parsed = parseListingLine(line + "next", now());

    EXPECT_EQ(parsed.consumed, line.size());
    ASSERT_TRUE(parsed.entry);
    expectEntry(*parsed.entry, expectedEntry(row));
}

void expectEntriesOfRow(const ListingRow& row)
{
    expectEntryOfRow(row, "\n");
    expectEntryOfRow(row, "\r\n");
}

/// The entry of a line that is known to be one.
ListingEntry entryOf(const QByteArray& line, const QDateTime& at)
{
    return parseListingLine(line + '\n', at).entry.value();
}

std::vector<QByteArray> everyLine(const QByteArray& lineEnd)
{
    std::vector<QByteArray> lines;
    for (const ListingRow& row : unixRows()) {
        lines.push_back(row.line + lineEnd);
    }
    for (const IgnoredRow& row : ignoredRows()) {
        lines.push_back(row.line + lineEnd);
    }
    for (const ListingRow& row : dosRows()) {
        lines.push_back(row.line + lineEnd);
    }
    return lines;
}

/// All entries of a listing that arrives in @p blocks.
std::vector<ListingEntry> entriesOfBlocks(const std::vector<QByteArray>& blocks)
{
    std::vector<ListingEntry> entries;
    QByteArray waiting;
    for (const QByteArray& block : blocks) {
        waiting += block;
        qsizetype offset = 0;
        while (true) {
            ParsedListing parsed = parseListingLine(QByteArrayView(waiting).sliced(offset), now());
            if (parsed.consumed <= 0) {
                break;
            }
            offset += parsed.consumed;
            if (parsed.entry) {
                entries.push_back(std::move(*parsed.entry));
            }
        }
        waiting.remove(0, offset);
    }
    return entries;
}

TEST(ListingParserTest, ReadsUnixListings)
{
    checkRows(unixRows(), expectEntriesOfRow);
}

TEST(ListingParserTest, ReadsDosListings)
{
    checkRows(dosRows(), expectEntriesOfRow);
}

TEST(ListingParserTest, SkipsWhatMakesNoSense)
{
    checkRows(ignoredRows(), [](const IgnoredRow& row) {
        for (const QByteArray& lineEnd : { "\n"_ba, "\r\n"_ba }) {
            SCOPED_TRACE(row.line);
            const QByteArray line = row.line + lineEnd;

            const ParsedListing parsed = parseListingLine(line + "next", now());

            EXPECT_EQ(parsed.consumed, line.size());
            EXPECT_FALSE(parsed.entry);
            EXPECT_EQ(parsed.isUnread, !row.isRemark);
        }
    });
}

TEST(ListingParserTest, AComplaintIsNoItemAndNoNameOfOne)
{
    const ParsedListing complaint
        = parseListingLine("/bin/ls: cannot open directory '.': Permission denied\r\n", now());
    EXPECT_TRUE(complaint.isComplaint);
    EXPECT_FALSE(complaint.entry);

    const ParsedListing item = parseListingLine("-rw-r--r-- 1 u g 5 Jan 12 2024 ls: a\r\n", now());
    EXPECT_FALSE(item.isComplaint);
    EXPECT_FALSE(item.isUnread);
    EXPECT_TRUE(item.entry);
    EXPECT_FALSE(parseListingLine("total 12\r\n", now()).isComplaint);
}

TEST(ListingParserTest, KnowsMoreThanAHundredAndTwentyLines)
{
    EXPECT_GE(unixRows().size() + dosRows().size() + ignoredRows().size(), 120U);
}

TEST(ListingParserTest, AnswersZeroForALineThatIsNotWhole)
{
    for (const QByteArray& part : { ""_ba, "-"_ba, "\r"_ba, "-rw-r--r-- 1 a b 1 Jan 12 15:04 name"_ba,
                                    "-rw-r--r-- 1 a b 1 Jan 12 15:04 name\r"_ba }) {
        const ParsedListing parsed = parseListingLine(part, now());

        EXPECT_EQ(parsed.consumed, 0) << part.toStdString();
        EXPECT_FALSE(parsed.entry);
    }
}

TEST(ListingParserTest, FindsTheSameWhereverTheListingIsCut)
{
    for (const QByteArray& lineEnd : { "\n"_ba, "\r\n"_ba }) {
        const QByteArray neighbour = unixRows().front().line + lineEnd;
        for (const QByteArray& line : everyLine(lineEnd)) {
            const QByteArray listing = neighbour + line + neighbour;
            const std::vector<ListingEntry> expected = entriesOfBlocks({ listing });
            for (qsizetype cut = 0; cut < listing.size(); ++cut) {
                ASSERT_EQ(entriesOfBlocks({ listing.first(cut), listing.sliced(cut) }), expected)
                    << "cut at " << cut << ": " << line.toStdString();
            }
        }
    }
}

TEST(ListingParserTest, FindsTheSameByteByByte)
{
    for (const QByteArray& lineEnd : { "\n"_ba, "\r\n"_ba }) {
        const std::vector<QByteArray> lines = everyLine(lineEnd);
        std::vector<QByteArray> bytes;
        for (const QByteArray& line : lines) {
            for (const char byte : line) {
                bytes.emplace_back(1, byte);
            }
        }
        ASSERT_EQ(entriesOfBlocks(lines).size(), unixRows().size() + dosRows().size());

        EXPECT_EQ(entriesOfBlocks(bytes), entriesOfBlocks(lines));
    }
}

TEST(ListingParserTest, ReadsALineOfManyKilobytes)
{
    const QByteArray name(60'000, 'n');

    const ListingEntry entry = entryOf("-rw-r--r-- 1 a b 1 Jan 12 15:04 " + name, now());

    EXPECT_EQ(entry.name, QString::fromLatin1(name));
}

TEST(ListingParserTest, ReadsALineOfOneMebibyte)
{
    QByteArray line = "-rw-r--r-- 1 a b 1 Jan 12 15:04 ";
    line.append(maximumListingLine - 1 - line.size(), 'n').append('\n');
    ASSERT_EQ(line.size(), 1024 * 1024);

    const ParsedListing parsed = parseListingLine(line, now());

    EXPECT_EQ(parsed.consumed, line.size());
    EXPECT_TRUE(parsed.entry);
}

TEST(ListingParserTest, AnswersAnErrorForALongerLine)
{
    QByteArray line(maximumListingLine, 'n');

    EXPECT_EQ(parseListingLine(line, now()).consumed, 0);
    line.append('n');
    EXPECT_LT(parseListingLine(line, now()).consumed, 0);
    line.back() = '\n';
    EXPECT_LT(parseListingLine(line, now()).consumed, 0);
}

TEST(ListingMeasureTest, TakesAsMuchAsAFolderMayHaveOfEachKindAndNothingBeyond)
{
    ListingEntry longest;
    longest.name = QString(ListingMeasure::mostOfNames - 10, u'n');
    longest.link = QString(10, u'l');
    ListingEntry shortest;
    shortest.name = u"n"_s;
    const ParsedListing none{ .consumed = ListingMeasure::mostIgnored, .entry = {} };
    ListingMeasure names;
    ListingMeasure ignored;
    ListingMeasure items;

    EXPECT_TRUE(names.takes({ .consumed = 1, .entry = longest }));
    EXPECT_TRUE(names.takes(none));
    EXPECT_FALSE(names.takes({ .consumed = 1, .entry = shortest }));
    EXPECT_TRUE(ignored.takes(none));
    EXPECT_FALSE(ignored.takes({ .consumed = 1, .entry = {} }));
    for (qint64 count = 0; count < ListingMeasure::mostItems; ++count) {
        ASSERT_TRUE(items.takes({ .consumed = 1, .entry = shortest }));
    }
    EXPECT_FALSE(items.takes({ .consumed = 1, .entry = shortest }));
}

TEST(ListingParserTest, BytesOfEveryValueDoNoHarm)
{
    QByteArray all;
    for (int byte = 0; byte < 256; ++byte) {
        if (byte != '\n') {
            all.append(static_cast<char>(byte));
        }
    }

    const ListingEntry entry = entryOf("-rw-r--r-- 1 a b 1 Jan 12 15:04 x" + all + 'x', now());

    EXPECT_EQ(entry.rawName, 'x' + all + 'x');
    EXPECT_EQ(entry.name.size(), all.size() + 2);
}

TEST(ListingParserTest, KeepsTheBytesOnlyOfNamesThatAreNotUtf8)
{
    EXPECT_TRUE(entryOf("-rw-r--r-- 1 a b 1 Jan 12 15:04 caf\xC3\xA9", now()).rawName.isNull());
    EXPECT_EQ(entryOf("-rw-r--r-- 1 a b 1 Jan 12 15:04 caf\xE9", now()).rawName, "caf\xE9"_ba);
}

TEST(ListingParserTest, ReadsNamesAsMacRoman)
{
    EXPECT_EQ(entryOf("-rw-r--r-- 1 a b 1 Jan 12 15:04 \xC3\xA9\xDB\xF0", now()).name, u"√©€\uF8FF"_s);
}

TEST(ListingParserTest, MoreThanOneCarriageReturnBelongsToTheLineEnd)
{
    EXPECT_EQ(entryOf("-rw-r--r-- 1 a b 1 Jan 12 15:04 name\r\r", now()).name, u"name"_s);
}

TEST(ListingParserTest, EntriesOfOneOwnerShareItsText)
{
    const ListingEntry first = entryOf("-rw-r--r-- 1 alice users 1 Jan 12 15:04 a", now());
    const ListingEntry second = entryOf("-rw-r--r-- 1 alice users 1 Jan 12 15:04 b", now());

    EXPECT_EQ(first.owner.constData(), second.owner.constData());
    EXPECT_EQ(first.group.constData(), second.group.constData());
}

TEST(ListingParserTest, ADateWithoutAYearIsTheNewestPossible)
{
    checkRows<std::optional<qint64>(const char*, const char*)>(
        {
            { "a minute ago", "2024-06-15T12:00:00", "Jun 15 11:59", ms("2024-06-15T11:59:00") },
            { "a server a little ahead", "2024-06-15T12:00:00", "Jun 15 12:10", ms("2024-06-15T12:10:00") },
            { "a server further east on New Year's Eve", "2024-12-31T20:00:00", "Jan  1 03:00",
              ms("2025-01-01T03:00:00") },
            { "two days ahead is a year ago", "2024-12-31T20:00:00", "Jan  2 03:00", ms("2024-01-02T03:00:00") },
            { "last year in January", "2024-01-01T00:10:00", "Dec 31 23:50", ms("2023-12-31T23:50:00") },
            { "leap day in a common year", "2023-06-15T12:00:00", "Feb 29 12:00", ms("2020-02-29T12:00:00") },
            { "leap day around 2100", "2103-06-15T12:00:00", "Feb 29 12:00", ms("2096-02-29T12:00:00") },
        },
        [](const char* clock, const char* date) {
            return entryOf("-rw-r--r-- 1 a b 1 " + QByteArray(date) + " name", utc(clock)).modDate;
        });
}

TEST(ListingParserTest, DatesAreInTheZoneOfTheClock)
{
    const QByteArray unixLine = "-rw-r--r-- 1 a b 1 Jan 12 15:04 name";
    const QByteArray dosLine = "01-12-24  03:04PM                 1234 name";
    const QDateTime east(QDate(2024, 6, 15), QTime(12, 0), Qt::OffsetFromUTC, 7200);
    for (const QByteArray& line : { unixLine, dosLine }) {
        EXPECT_EQ(entryOf(line, now()).modDate, ms("2024-01-12T15:04:00"));
        EXPECT_EQ(entryOf(line, east).modDate, ms("2024-01-12T13:04:00"));
    }
}

TEST(ListingParserTest, FollowsTheClocksPutForwardAndBack)
{
    const QDateTime berlin(QDate(2024, 6, 15), QTime(12, 0), QTimeZone("Europe/Berlin"));
    checkRows<std::optional<qint64>(const char*)>(
        {
            { "Jan 12 15:04", ms("2024-01-12T14:04:00") },
            { "Jun 12 15:04", ms("2024-06-12T13:04:00") },
            { "Mar 31 01:59", ms("2024-03-31T00:59:00") },
            { "Mar 31 03:00", ms("2024-03-31T01:00:00") },
            { "Oct 29 01:30", ms("2023-10-28T23:30:00") },
            { "Oct 29 03:00", ms("2023-10-29T02:00:00") },
            { "Jan 12 16:04", ms("2024-01-12T15:04:00") },
        },
        [&](const char* date) { return entryOf("-rw-r--r-- 1 a b 1 " + QByteArray(date) + " name", berlin).modDate; });
}

TEST(ListingParserTest, FollowsTheZoneWhenItChanges)
{
    const QByteArray line = "-rw-r--r-- 1 a b 1 Jan 12 15:04 name";
    const QDateTime berlin(QDate(2024, 6, 15), QTime(12, 0), QTimeZone("Europe/Berlin"));
    const QDateTime tokyo(QDate(2024, 6, 15), QTime(12, 0), QTimeZone("Asia/Tokyo"));

    EXPECT_EQ(entryOf(line, berlin).modDate, ms("2024-01-12T14:04:00"));
    EXPECT_EQ(entryOf(line, tokyo).modDate, ms("2024-01-12T06:04:00"));
    EXPECT_EQ(entryOf(line, berlin).modDate, ms("2024-01-12T14:04:00"));
}

TEST(ListingParserTest, TimesWithoutAZoneAreLocalTimes)
{
    const QDateTime local = QDateTime::currentDateTime();
    const QDateTime expected(QDate(2020, 7, 12), QTime(15, 4, 5));

    const ListingEntry entry = entryOf("-rw-r--r-- 1 a b 1 2020-07-12 15:04:05 name", local);

    EXPECT_EQ(entry.modDate, expected.toMSecsSinceEpoch());
}

TEST(MacRomanTest, EveryByteIsTheCharacterThatQtGivesIt)
{
    for (int byte = 0; byte < 256; ++byte) {
        const QByteArray bytes(1, static_cast<char>(byte));

        EXPECT_EQ(fromMacRoman(bytes), QString(QStringDecoder("macintosh").decode(bytes))) << byte;
        EXPECT_EQ(toMacRoman(fromMacRoman(bytes)), bytes) << byte;
    }
}

TEST(MacRomanTest, OtherCharactersHaveNoBytes)
{
    EXPECT_EQ(toMacRoman(u"a文b"_s), std::nullopt);
    EXPECT_EQ(toMacRoman(u"\u0394"_s), std::nullopt);
    EXPECT_EQ(toMacRoman(u""_s), ""_ba);
}

} // namespace
