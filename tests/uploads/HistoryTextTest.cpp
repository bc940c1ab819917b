#include "HistoryText.h"

#include "CheckRows.h"
#include "DateText.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using HistoryText::Column;
using Outcome = HistoryEntry::Outcome;

namespace {

HistoryEntry confirmed()
{
    return { .path = u"/home/anna/été.txt"_s,
             .outcome = Outcome::Confirmed,
             .size = 3'000'000,
             .durationMs = 1500,
             .reply = u"226 Got it"_s,
             .copy = u"Bilder"_s,
             .time = 1'700'000'000'000 };
}

QStringList cells(const HistoryEntry& entry)
{
    QStringList cells;
    for (int column = 0; column < HistoryText::columnCount; ++column) {
        cells.append(HistoryText::cell(entry, static_cast<Column>(column)));
    }
    return cells;
}

TEST(HistoryTextTest, AConfirmedFileTellsEverything)
{
    EXPECT_EQ(
        cells(confirmed()),
        (QStringList{ u"été.txt"_s, u"3 MB"_s, u"1.5 s"_s, u"2 MB/s"_s, u"Confirmed by the server"_s, u"226 Got it"_s,
                      shortDateMediumTimeText(QDateTime::fromSecsSinceEpoch(1'700'000'000)), u"Bilder"_s }));
}

TEST(HistoryTextTest, EachOutcomeHasItsText)
{
    checkRows<QString(Outcome)>(
        {
            { Outcome::Waiting, u"Waiting"_s },
            { Outcome::Sending, u"Sending"_s },
            { Outcome::Confirmed, u"Confirmed by the server"_s },
            { Outcome::Failed, u"Failed: Stream open error"_s },
            { Outcome::Refused, u"Failed: Stream open error"_s },
            { Outcome::ConnectionLost, u"Failed: Stream open error"_s },
            { Outcome::Silent, u"Failed: the server did not answer in time"_s },
            { Outcome::Unanswered, u"Not known: sent whole, and the server has not confirmed it"_s },
            { Outcome::NotReadable, u"Failed: the file could not be read"_s },
            { Outcome::NotPlainFile, u"Failed: not a plain file"_s },
            { Outcome::UnsendableName, u"Failed: the name cannot be sent"_s },
            { Outcome::NotListed, u"Confirmed, but not listed under this name"_s },
            { Outcome::LeftOut, u"Left out: not a plain file"_s },
            { Outcome::Stopped, u"Stopped"_s },
            { Outcome::NotFound, u"Not found"_s },
            { Outcome::Removed, u"Removed from the queue"_s },
            { Outcome::Note, u"Note"_s },
            { Outcome::Interrupted, u"Not confirmed: Quillbox ended"_s },
        },
        [](Outcome outcome) {
            const HistoryEntry entry{ .path = u"/a"_s, .outcome = outcome, .status = u"Stream open error"_s };
            return HistoryText::cell(entry, Column::Outcome);
        });
}

TEST(HistoryTextTest, ASizeListedOtherwiseIsToldToTheByte)
{
    HistoryEntry entry = confirmed();
    entry.listedSize = 2'999'999;
    entry.outcome = Outcome::OtherSize;

    EXPECT_EQ(HistoryText::cell(entry, Column::Outcome), u"Confirmed, but 2,999,999 bytes listed, not 3,000,000"_s);
}

TEST(HistoryTextTest, WhatIsTriedAgainSaysSo)
{
    const HistoryEntry entry{ .path = u"/a"_s, .outcome = Outcome::Stopped, .isQueuedAgain = true };

    EXPECT_EQ(HistoryText::cell(entry, Column::Outcome), u"Stopped (queued again)"_s);
}

TEST(HistoryTextTest, OnlyAWholeFileHasASpeed)
{
    HistoryEntry entry = confirmed();
    entry.outcome = Outcome::Stopped;
    EXPECT_TRUE(HistoryText::cell(entry, Column::Speed).isEmpty());

    entry = confirmed();
    entry.size = 0;
    EXPECT_TRUE(HistoryText::cell(entry, Column::Speed).isEmpty());

    entry = confirmed();
    entry.durationMs = 0;
    EXPECT_EQ(HistoryText::cell(entry, Column::Speed), u"3 GB/s"_s);
}

TEST(HistoryTextTest, UnseenCharactersAreShownAndSeparateNothing)
{
    const HistoryEntry entry{
        .path = u"/tmp/a\tb\nc"_s, .outcome = Outcome::Failed, .status = u"\x1b"_s, .reply = u"550 \u202egpj"_s
    };

    EXPECT_EQ(cells(entry),
              (QStringList{ u"a␉b␊c"_s, QString(), QString(), QString(), u"Failed: ␛"_s, u"550 ⟨U+202E⟩gpj"_s,
                            QString(), QString() }));
    const QString line = HistoryText::line(HistoryText::fields(entry));
    EXPECT_EQ(line.count(u'\t'), HistoryText::titles().size() - 1);
    EXPECT_EQ(line.indexOf(u'\n'), line.size() - 1);
}

TEST(HistoryTextTest, AFileThatBrokeOffTellsHowFarItCame)
{
    HistoryEntry entry{
        .outcome = Outcome::ConnectionLost, .size = 60'000'000, .acknowledged = 3'200'000, .status = u"Gone"_s
    };
    EXPECT_EQ(HistoryText::cell(entry, Column::Outcome), u"Failed: Gone (3.2 MB of 60 MB received)"_s);
    EXPECT_EQ(HistoryText::fields(entry).last(), u"3200000"_s);
    entry.outcome = Outcome::Refused; // The server has judged what it has received.
    EXPECT_EQ(HistoryText::cell(entry, Column::Outcome), u"Failed: Gone"_s);
    entry.outcome = Outcome::ConnectionLost;
    entry.acknowledged = 0;
    EXPECT_EQ(HistoryText::cell(entry, Column::Outcome), u"Failed: Gone"_s);
    EXPECT_EQ(HistoryText::fields(entry).last(), u"0"_s);
    entry.acknowledged.reset();
    EXPECT_EQ(HistoryText::fields(entry).last(), QString());
}

TEST(HistoryTextTest, ALineHoldsTheWholePathAndBareNumbers)
{
    HistoryEntry entry = confirmed();
    entry.destination = u"ftp://host/in/"_s;

    const QStringList fields = HistoryText::fields(entry);

    EXPECT_EQ(fields.size(), HistoryText::titles().size());
    EXPECT_EQ(fields.mid(0, 6),
              (QStringList{ u"/home/anna/été.txt"_s, u"3000000"_s, u"1.500"_s, u"2000000"_s,
                            u"Confirmed by the server"_s, u"226 Got it"_s }));
    EXPECT_EQ(QDateTime::fromString(fields[6], Qt::ISODate).toMSecsSinceEpoch(), entry.time);
    EXPECT_EQ(fields.mid(7), (QStringList{ u"Bilder"_s, u"ftp://host/in/"_s, QString() }));
}

TEST(HistoryTextTest, NothingIsLeftOutOfALongPathInALine)
{
    const QString path = u"/folder"_s.repeated(500);

    EXPECT_EQ(HistoryText::fields({ .path = path })[0], path);
}

TEST(HistoryTextTest, ToolTipsTellThePathAndTheExactSize)
{
    EXPECT_EQ(HistoryText::toolTip(confirmed(), Column::File), u"/home/anna/été.txt"_s);
    EXPECT_EQ(HistoryText::toolTip(confirmed(), Column::Size), u"3,000,000 bytes"_s);
    EXPECT_EQ(HistoryText::toolTip(confirmed(), Column::Reply), u"226 Got it"_s);
}

TEST(HistoryTextTest, AFileOfAFolderHasItsPathOnThisMachine)
{
    HistoryEntry entry = confirmed();
    entry.path = u"/home/anna/.//./Photos/2020/a.jpg"_s;

    EXPECT_EQ(HistoryText::cell(entry, Column::File), u"a.jpg"_s);
    EXPECT_EQ(HistoryText::toolTip(entry, Column::File), u"/home/anna/Photos/2020/a.jpg"_s);
    EXPECT_EQ(HistoryText::fields(entry).first(), u"/home/anna/Photos/2020/a.jpg"_s);
}

TEST(HistoryTextTest, ANoteIsShownWhole)
{
    const HistoryEntry entry{ .path = u"Passed over: /a/b"_s, .outcome = Outcome::Note };

    EXPECT_EQ(HistoryText::cell(entry, Column::File), u"Passed over: /a/b"_s);
}

TEST(HistoryTextTest, TheSummaryNamesWhatThereIs)
{
    EXPECT_EQ(HistoryText::summary({}, 0), QString());
    EXPECT_EQ(HistoryText::summary(
                  { .confirmed = 1195, .otherSize = 5, .failed = 1, .unanswered = 6, .stopped = 2, .removed = 3 }, 4),
              u"1,200 confirmed, 5 listed with another size, 1 failed, 6 not known, 2 stopped, 3 removed, 4 waiting"_s);
}

} // namespace
