#include "FTPListController.h"

#include "TransferTest.h"

#include <ctime>
#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

/// Notes each batch of entries as "entries NAME|NAME".
class ListDelegate final : public RecordingDelegate, public FTPListControllerDelegate {
public:
    void updateListingStatus(const QString& status) override { note(status); }
    void addListEntries(const QList<ListingEntry>& entries) override
    {
        QStringList names;
        for (const ListingEntry& entry : entries) {
            names.append(entry.name);
        }
        m_names += names;
        note(u"entries "_s + names.join(u'|'));
    }

    /// The names of all entries so far.
    const QStringList& names() const { return m_names; }
    WeakRef<ListDelegate> ref() { return m_anchor.ref(this); }

private:
    QStringList m_names;
    WeakAnchor m_anchor;
};

/// A listing line with @p name as its name.
QByteArray line(const QByteArray& name)
{
    return "-rw-r--r--   1 owner   group   1234 Jan 12 2024 " + name + "\r\n";
}

class FTPListControllerTest : public TransferTest {
protected:
    FTPListControllerTest() { m_controller->setDelegate(m_delegate->ref()); }

    void start() { m_controller->startReceive(u"ftp://host/dir/"_s, u"me"_s, u"secret"_s); }

    void startReceiving()
    {
        start();
        m_streams.last().sendOpenCompleted();
        m_delegate->calls.clear();
    }

    void replaceController(FTPListController::LineParser parser)
    {
        m_controller = std::make_unique<FTPListController>(m_streams, std::move(parser));
        m_controller->setDelegate(m_delegate->ref());
        m_delegate->calls.clear();
        NetworkManager::sharedInstance().setNetworkOperationCount(baseCount);
    }

    std::unique_ptr<ListDelegate> m_delegate = std::make_unique<ListDelegate>();
    std::unique_ptr<FTPListController> m_controller = std::make_unique<FTPListController>(m_streams);
};

TEST_F(FTPListControllerTest, ASuccessfulListingReportsItsStepsInOrder)
{
    start();
    m_streams.last().sendOpenCompleted();
    m_streams.last().sendBytes("total 2\r\n" + line("a") + line("b"));
    m_streams.last().sendBytes(line("c"));
    m_streams.last().sendEnd();

    EXPECT_EQ(
        m_delegate->calls,
        (QStringList{ u"Starting list..."_s, u"Started List."_s, u"Opened connection"_s, u"Receiving"_s,
                      u"entries a|b"_s, u"Receiving"_s, u"entries c"_s, u"Receiving"_s, u"Listing succeeded"_s }));
    EXPECT_FALSE(m_controller->isReceiving());
    EXPECT_TRUE(m_streams.last().isClosed());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPListControllerTest, TheStreamGetsTheAddressAsItIsAndTheLogin)
{
    for (const QString& address : { u"ftp://host/dir"_s, u"ftp://host/dir/"_s }) {
        m_controller->startReceive(address, u"me"_s, u"secret"_s);

        const FakeFTPStream& stream = m_streams.last();
        EXPECT_EQ(stream.kind, FakeFTPStream::Kind::Listing);
        EXPECT_EQ(stream.location, address);
        EXPECT_EQ(stream.calls, (QStringList{ u"setUserName me"_s, u"setPassword secret"_s, u"open"_s }));
        m_controller->stopReceiveWithStatus(u"end"_s);
    }
}

TEST_F(FTPListControllerTest, AnEmptyFolderGivesNoEntries)
{
    startReceiving();

    m_streams.last().sendEnd();

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Receiving"_s, u"Listing succeeded"_s }));
}

TEST_F(FTPListControllerTest, ALineThatComesInTwoBlocksIsOneEntry)
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

TEST_F(FTPListControllerTest, EveryCutOfAListingGivesTheSameEntries)
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

TEST_F(FTPListControllerTest, ABlockWithoutAWholeLineGivesNoEntries)
{
    startReceiving();

    m_streams.last().sendBytes("-rw-r--r--");
    m_streams.last().sendBytes("total 12\r\n");

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Receiving"_s, u"Receiving"_s }));
}

TEST_F(FTPListControllerTest, ALastLineWithoutAnEndIsLeftAndGoneAtTheNextStart)
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

TEST_F(FTPListControllerTest, NothingIsFilteredOut)
{
    startReceiving();

    m_streams.last().sendBytes(line(".") + line("..") + line(".hidden") + line("a") + line("a"));

    EXPECT_EQ(m_delegate->names(), (QStringList{ u"."_s, u".."_s, u".hidden"_s, u"a"_s, u"a"_s }));
}

TEST_F(FTPListControllerTest, NamesSentAsUTF8AreRestoredAndOthersKeepTheParsersReading)
{
    startReceiving();

    m_streams.last().sendBytes(line("\xc3\xa9") + line("caf\x8e") + line("\xe4\xb8\xad\xf0\x9f\x98\x80"));

    EXPECT_EQ(m_delegate->names(), (QStringList{ u"\u00e9"_s, u"caf\u00e9"_s, u"\u4e2d\U0001F600"_s }));
}

TEST_F(FTPListControllerTest, ReencodingReplacesTheNameAlone)
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

TEST_F(FTPListControllerTest, AParseErrorEndsTheListingAndDeliversWhatCameBefore)
{
    replaceController([](QByteArrayView bytes, const QDateTime& now) {
        return bytes.startsWith("bad") ? ParsedListing{ .consumed = -1, .entry = {} } : parseListingLine(bytes, now);
    });
    startReceiving();

    m_streams.last().sendBytes(line("a") + line("b") + "bad\r\n" + line("c"));

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Receiving"_s, u"Listing parse failed"_s, u"entries a|b"_s }));
    EXPECT_EQ(m_controller->listData(), "bad\r\n" + line("c"));
    EXPECT_FALSE(m_controller->isReceiving());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPListControllerTest, AnEndlessLineIsAParseError)
{
    startReceiving();

    for (int blocks = 0; m_controller->isReceiving() && blocks < 100; ++blocks) {
        m_streams.last().sendBytes(QByteArray(32768, 'x'));
    }

    EXPECT_EQ(m_delegate->calls.last(), u"Listing parse failed"_s);
    EXPECT_EQ(m_delegate->calls.count(u"Receiving"_s), 33);
}

TEST_F(FTPListControllerTest, ALongLineIsNotReadAgainForEachOfItsBytes)
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

TEST_F(FTPListControllerTest, TheEndOfALongLineThatComesByteByByteCostsNoMoreThanItsBeginning)
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

TEST_F(FTPListControllerTest, AStartWhileAListingRunsIsPassedOverInSilence)
{
    startReceiving();

    start();

    EXPECT_TRUE(m_delegate->calls.isEmpty());
    EXPECT_EQ(m_streams.streams().size(), 1U);
    EXPECT_EQ(countChange(), 1);
}

TEST_F(FTPListControllerTest, AnAddressThatIsNoFTPAddressIsAnInvalidURLWithoutAStop)
{
    for (const QString& address : { u"http://host/dir"_s, QString(), u" "_s }) {
        m_delegate->calls.clear();
        m_controller->startReceive(address, u"me"_s, u"secret"_s);

        EXPECT_EQ(m_delegate->calls, (QStringList{ u"Starting list..."_s, u"Invalid URL"_s }));
    }
    EXPECT_TRUE(m_streams.streams().empty());
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPListControllerTest, WithoutAStreamTheStopIsReportedAndCounted)
{
    m_streams.refusesCreation = true;

    start();

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Starting list..."_s, u"Can not create network connection."_s }));
    EXPECT_EQ(countChange(), -1);
}

TEST_F(FTPListControllerTest, ARefusedLoginStopsBeforeTheOpening)
{
    m_streams.refusesUserName = true;
    start();
    m_streams.refusesUserName = false;
    m_streams.refusesPassword = true;
    start();

    EXPECT_EQ(m_delegate->calls,
              (QStringList{ u"Starting list..."_s, u"Could not send username."_s, u"Starting list..."_s,
                            u"Could not send password."_s }));
    EXPECT_FALSE(m_streams.last().calls.contains(u"open"_s));
    EXPECT_EQ(countChange(), -2);
}

TEST_F(FTPListControllerTest, EveryRefusalAsksToCheckTheSettings)
{
    for (const int code : { 421, 450, 530, 550 }) {
        startReceiving();

        m_streams.last().sendRefusal(code);

        EXPECT_EQ(m_delegate->calls, QStringList{ u"Error: Check Settings"_s });
        EXPECT_EQ(countChange(), 0);
    }
}

TEST_F(FTPListControllerTest, AnyOtherErrorIsAStreamOpenErrorAndKeepsTheEntries)
{
    startReceiving();
    m_streams.last().sendBytes(line("a"));

    m_streams.last().sendOtherError();

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Receiving"_s, u"entries a"_s, u"Stream open error"_s }));
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPListControllerTest, AFailedReadIsANetworkReadError)
{
    startReceiving();

    m_streams.last().sendReadFailure();

    EXPECT_EQ(m_delegate->calls, (QStringList{ u"Receiving"_s, u"Network read error"_s }));
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPListControllerTest, EndEncounteredAndUnknownEventsAreSaidToBeErrorsAndEndNothing)
{
    startReceiving();

    for (const int code : { 16, 3, 5, 6, 7, 32 }) {
        m_streams.last().send(static_cast<FTPStreamEvent>(code));
    }
    m_streams.last().send(FTPStreamEvent::HasSpaceAvailable);

    EXPECT_EQ(m_delegate->calls, QStringList(6, u"Error"_s));
    EXPECT_TRUE(m_controller->isReceiving());
    EXPECT_EQ(countChange(), 1);
}

TEST_F(FTPListControllerTest, AStopFromOutsideReportsItsOwnText)
{
    startReceiving();

    m_controller->stopReceiveWithStatus(u"List Stopped"_s);
    m_streams.last().sendBytes(line("a"));

    EXPECT_EQ(m_delegate->calls, QStringList{ u"List Stopped"_s });
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPListControllerTest, TheStatusPropertyIsLeftAlone)
{
    m_controller->setStatus(u"mine"_s);

    startReceiving();
    m_streams.last().sendEnd();

    EXPECT_EQ(m_controller->status(), u"mine"_s);
}

TEST_F(FTPListControllerTest, ADelegateMayDestroyTheControllerFromInsideAnyReport)
{
    for (const QString& report : { u"Starting list..."_s, u"Started List."_s, u"Opened connection"_s, u"Receiving"_s,
                                   u"entries a"_s, u"Listing parse failed"_s }) {
        replaceController([](QByteArrayView bytes, const QDateTime& now) {
            return bytes.startsWith("bad") ? ParsedListing{ .consumed = -1, .entry = {} }
                                           : parseListingLine(bytes, now);
        });
        m_delegate->reaction = [this, &report](const QString& call) {
            if (call == report) {
                m_controller.reset();
            }
        };

        start();
        if (m_controller != nullptr) {
            m_streams.last().sendOpenCompleted();
            m_streams.last().sendBytes(line("a"));
            m_streams.last().sendBytes(line("b") + "bad\r\n");
        }
        m_delegate->reaction = nullptr;

        EXPECT_EQ(m_controller, nullptr) << report.toStdString();
        EXPECT_EQ(m_delegate->calls.last(), u"Stopped"_s) << report.toStdString();
        EXPECT_EQ(countChange(), report == u"Starting list..."_s ? -1 : 0) << report.toStdString();
    }
}

TEST_F(FTPListControllerTest, DestroyingStopsWithStopped)
{
    startReceiving();

    m_controller.reset();

    EXPECT_EQ(m_delegate->calls, QStringList{ u"Stopped"_s });
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FTPListControllerTest, ReportsToADelegateThatIsGoneAreDropped)
{
    startReceiving();
    m_delegate.reset();

    m_streams.last().sendBytes(line("a"));
    m_streams.last().sendEnd();

    EXPECT_FALSE(m_controller->isReceiving());
    EXPECT_EQ(countChange(), 0);
}

} // namespace
