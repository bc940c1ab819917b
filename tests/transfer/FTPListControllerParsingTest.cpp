#include "FTPListControllerTest.h"

#include <ctime>

using namespace Qt::StringLiterals;

namespace {

using FTPListControllerParsingTest = FTPListControllerTest;

TEST_F(FTPListControllerParsingTest, ALineThatComesInTwoBlocksIsOneEntry)
{
    startReceiving();
    const QByteArray second = line("second");

    m_streams.last().sendBytes(line("first") + second.left(20));
    EXPECT_EQ(m_controller->listData(), second.left(20));
    m_streams.last().sendBytes(second.mid(20) + line("third"));
    EXPECT_TRUE(m_controller->listData().isEmpty());

    EXPECT_EQ(m_delegate->calls,
              (QStringList{ u"Receiving"_s, u"entries first"_s, u"Receiving"_s, u"entries second|third"_s }));
}

TEST_F(FTPListControllerParsingTest, EveryCutOfAListingGivesTheSameEntries)
{
    const QByteArray listing = "total 3\r\n" + line("a") + line("b c") + line("\xc3\xa9");
    for (qsizetype cut = 0; cut <= listing.size(); ++cut) {
        m_delegate = std::make_unique<ListDelegate>();
        m_controller->setDelegate(m_delegate->ref());
        startReceiving();

        if (cut > 0) {
            m_streams.last().sendBytes(listing.left(cut));
        }
        if (cut < listing.size()) {
            m_streams.last().sendBytes(listing.mid(cut));
        }
        m_streams.last().sendEnd();

        EXPECT_EQ(m_delegate->names(), (QStringList{ u"a"_s, u"b c"_s, u"\u00e9"_s })) << cut;
    }
}

TEST_F(FTPListControllerParsingTest, ABlockWithoutAWholeLineGivesNoEntries)
{
    startReceiving();

    m_streams.last().sendBytes("-rw-r--r--");
    m_streams.last().sendBytes("total 12\r\n");

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Receiving"_s, u"Receiving"_s }));
}

TEST_F(FTPListControllerParsingTest, ALastLineWithoutAnEndIsLeftAndGoneAtTheNextStart)
{
    startReceiving();
    m_streams.last().sendBytes(line("a") + "-rw-r--r-- unfinished");
    m_streams.last().sendEnd();
    EXPECT_EQ(m_controller->listData(), "-rw-r--r-- unfinished");
    EXPECT_EQ(m_delegate->names(), QStringList{ u"a"_s });

    startReceiving();
    EXPECT_TRUE(m_controller->listData().isEmpty());
    m_streams.last().sendBytes(line("b"));

    EXPECT_EQ(m_delegate->names(), (QStringList{ u"a"_s, u"b"_s }));
}

TEST_F(FTPListControllerParsingTest, NothingIsFilteredOut)
{
    startReceiving();

    m_streams.last().sendBytes(line(".") + line("..") + line(".hidden") + line("a") + line("a"));

    EXPECT_EQ(m_delegate->names(), (QStringList{ u"."_s, u".."_s, u".hidden"_s, u"a"_s, u"a"_s }));
}

TEST_F(FTPListControllerParsingTest, NamesSentAsUTF8AreRestoredAndOthersKeepTheParsersReading)
{
    startReceiving();

    m_streams.last().sendBytes(line("\xc3\xa9") + line("caf\x8e") + line("\xe4\xb8\xad\xf0\x9f\x98\x80"));

    EXPECT_EQ(m_delegate->names(), (QStringList{ u"\u00e9"_s, u"caf\u00e9"_s, u"\u4e2d\U0001F600"_s }));
}

TEST_F(FTPListControllerParsingTest, ReencodingReplacesTheNameAlone)
{
    const auto reencodedName = [](const QString& name) {
        ListingEntry entry;
        entry.name = name;
        entry.link = u"\u221a\u00a9"_s;
        entry.size = 5;
        const ListingEntry result = FTPListController::entryByReencodingNameInEntry(entry, QStringConverter::Utf8);
        ListingEntry expected = entry;
        expected.name = result.name;
        EXPECT_EQ(result, expected);
        return result.name;
    };

    EXPECT_EQ(reencodedName(u"\u221a\u00a9"_s), u"\u00e9"_s);
    EXPECT_EQ(reencodedName(u"plain"_s), u"plain"_s);
    // Not Mac OS Roman, bytes that are not UTF-8, and half a character at the end.
    EXPECT_EQ(reencodedName(u"\u4e2d"_s), u"\u4e2d"_s);
    EXPECT_EQ(reencodedName(u"caf\u00e9"_s), u"caf\u00e9"_s);
    EXPECT_EQ(reencodedName(u"a\u221a"_s), u"a\u221a"_s);
    // A byte order mark is part of a name.
    EXPECT_EQ(reencodedName(u"\u00d4\u00aa\u00f8a"_s), u"\ufeffa"_s);
    EXPECT_TRUE(reencodedName(QString()).isNull());
    const QString empty = reencodedName(u""_s);
    EXPECT_TRUE(empty.isEmpty() && !empty.isNull());
}

TEST_F(FTPListControllerParsingTest, AParseErrorEndsTheListingAndDeliversWhatCameBefore)
{
    replaceController(parseUpToBadLine);
    startReceiving();

    m_streams.last().sendBytes(line("a") + line("b") + "bad\r\n" + line("c"));

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Receiving"_s, u"Listing parse failed"_s, u"entries a|b"_s }));
    EXPECT_EQ(m_controller->listData(), "bad\r\n" + line("c"));
    EXPECT_FALSE(m_controller->isReceiving());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPListControllerParsingTest, AnEndlessLineIsAParseError)
{
    startReceiving();

    for (int blocks = 0; m_controller->isReceiving() && blocks < 100; ++blocks) {
        m_streams.last().sendBytes(QByteArray(32768, 'x'));
    }

    EXPECT_EQ(m_delegate->calls.last(), u"Listing parse failed"_s);
    EXPECT_EQ(m_delegate->calls.count(u"Receiving"_s), 33);
}

TEST_F(FTPListControllerParsingTest, AFolderOfManyItemsIsListedWholeHoweverManyBytesItsLinesHave)
{
    replaceController([](QByteArrayView bytes, const QDateTime&) {
        ParsedListing parsed{ .consumed = bytes.indexOf('\n') + 1, .entry = {} };
        if (parsed.consumed > 0) {
            parsed.entry.emplace().name = u"a"_s;
        }
        return parsed;
    });
    startReceiving();
    const QByteArray longLine = QByteArray(32767, 'x') + '\n';

    for (int lines = 0; lines < 3000; ++lines) {
        m_streams.last().sendBytes(longLine);
    }

    EXPECT_EQ(m_delegate->names().size(), 3000);
    EXPECT_TRUE(m_controller->isReceiving());
}

TEST_F(FTPListControllerParsingTest, MoreThanAFolderHasThatPeopleHaveIsAParseErrorAndTheNextListingIsMeasuredAnew)
{
    for (int listings = 0; listings < 2; ++listings) {
        startReceiving();
        const QByteArray nonsense = QByteArray(32767, '?') + '\n';
        m_streams.last().sendBytes(line("a"));

        for (qint64 bytes = 0; bytes < ListingMeasure::mostIgnored; bytes += nonsense.size()) {
            EXPECT_TRUE(m_controller->isReceiving());
            m_streams.last().sendBytes(nonsense);
        }
        EXPECT_TRUE(m_controller->isReceiving());
        m_streams.last().sendBytes(nonsense);

        EXPECT_EQ(m_delegate->calls.last(), u"Listing parse failed"_s);
    }
}

TEST_F(FTPListControllerParsingTest, ALongLineIsNotReadAgainForEachOfItsBytes)
{
    qint64 bytesOffered = 0;
    replaceController([&bytesOffered](QByteArrayView bytes, const QDateTime& now) {
        bytesOffered += bytes.size();
        return parseListingLine(bytes, now);
    });
    startReceiving();
    const QByteArray longLine = line(QByteArray(20000, 'n'));

    for (const char byte : longLine) {
        m_streams.last().sendBytes(QByteArray(1, byte));
    }

    EXPECT_EQ(m_delegate->names(), QStringList{ QString(20000, u'n') });
    EXPECT_EQ(bytesOffered, longLine.size());
}

TEST_F(FTPListControllerParsingTest, TheEndOfALongLineThatComesByteByByteCostsNoMoreThanItsBeginning)
{
    startReceiving();
    const QByteArray longLine = line(QByteArray(1'000'000, 'n'));
    const auto processorTimeFor = [this](const QByteArray& bytes) {
        const std::clock_t start = std::clock();
        for (const char byte : bytes) {
            m_streams.last().sendBytes(QByteArray(1, byte));
        }
        return std::clock() - start;
    };

    const std::clock_t firstHalf = processorTimeFor(longLine.left(longLine.size() / 2));
    const std::clock_t secondHalf = processorTimeFor(longLine.mid(longLine.size() / 2));

    EXPECT_EQ(m_delegate->names().size(), 1);
    EXPECT_LT(secondHalf, 2 * firstHalf);
}

TEST_F(FTPListControllerParsingTest, AListingAfterALongUnfinishedLineIsReadFromItsBeginning)
{
    startReceiving();
    m_streams.last().sendBytes(QByteArray(200, 'x'));
    m_streams.last().sendEnd();
    startReceiving();

    m_streams.last().sendBytes(line("short"));

    EXPECT_EQ(m_delegate->names(), QStringList{ u"short"_s });
}

} // namespace
