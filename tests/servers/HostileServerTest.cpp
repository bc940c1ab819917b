#include "CheckRows.h"
#include "ConnectionPool.h"
#include "FTPManager.h"
#include "ListingTable.h"
#include "ResidentMemory.h"
#include "WindowServerTest.h"

#include <QAbstractItemView>
#include <QDirIterator>
#include <QTcpServer>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr qint64 mebibyte = 1 << 20;

QByteArray row(const QByteArray& name)
{
    return "-rw-r--r--   1 owner   group   1234 Jan 12 2024 " + name + "\r\n";
}

/// A server that means harm, and the window.
class HostileServerTest : public WindowServerTest {
protected:
    void listRows(const QByteArray& rows)
    {
        m_server.on("LIST", { "150 Go", "send " + rows, "data-close", "226 Done" });
    }

    /// Every file and folder below @p folder.
    static QStringList everythingIn(const QString& folder)
    {
        QStringList paths;
        QDirIterator files(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            paths.append(files.next());
        }
        paths.sort();
        return paths;
    }

    static void clearDownloads()
    {
        for (const QString& path : everythingIn(QDir::homePath() + u"/Downloads"_s)) {
            QFile::remove(path);
        }
    }
};

TEST_F(HostileServerTest, AListingWithoutEndIsGivenUpAndTheNextOneWorks)
{
    const qint64 before = residentMemory();
    m_server.on("LIST", { "150 Go", "repeat " + row(QByteArray(4000, 'n')) + QByteArray(28000, '?') + "\r\n" });

    EXPECT_EQ(list(), u"Listing parse failed"_s);

    EXPECT_GT(m_controller->listEntries().size(), 500);
    EXPECT_LT(residentMemory() - before, 400 * mebibyte);
    m_server.forgetRules();
    EXPECT_EQ(list(), u"Listing succeeded"_s);
    EXPECT_EQ(NetworkManager::sharedInstance().networkOperationCount(), 0U);
}

TEST_F(HostileServerTest, AListingIsWholeHoweverManyBytesItsHonestRowsHave)
{
    constexpr int count = 60'000;
    const QByteArray columns = row("").chopped(2);
    const QByteArray wideColumns = QByteArray(columns).replace(10, 1, QByteArray(600, ' '));
    QFile file(m_directory.filePath(u"many"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    for (int number = 0; number < count; ++number) {
        // In no order that sorting would like.
        file.write(wideColumns + "file " + QByteArray::number((number * 7919LL) % count) + "\r\n");
    }
    ASSERT_GT(file.size(), 32 * mebibyte);
    file.close();
    m_server.on("LIST", { "150 Go", "send-file " + QFile::encodeName(file.fileName()), "data-close", "226 Done" });
    const qint64 before = residentMemory();

    EXPECT_EQ(list(), u"Listing succeeded"_s);

    EXPECT_EQ(m_controller->listEntries().size(), count);
    EXPECT_LT(residentMemory() - before, 500 * mebibyte + sanitizerMemory);
    const auto record = FMServer::serverWithDestination(u"127.0.0.1/folder"_s, u"anna"_s, u"secret"_s);
    record->setPort(m_server.port());
    EXPECT_EQ(FTPManager().contentsOfServer(record.get()).value().size(), count);
    m_server.forgetRules();
    EXPECT_EQ(list(), u"Listing succeeded"_s);
    m_controller->uploadFiles({ makeFile(u"afterwards"_s) });
    EXPECT_TRUE(waitUntilIdle());
    EXPECT_EQ(m_server.file(u"folder/afterwards"_s), QByteArray("hello"));
}

TEST_F(HostileServerTest, AListingWithoutEndIsNothingToTheLibraryEither)
{
    const auto record = FMServer::serverWithDestination(u"127.0.0.1/folder"_s, u"anna"_s, u"secret"_s);
    record->setPort(m_server.port());
    const qint64 before = residentMemory();
    m_server.on("LIST", { "150 Go", "repeat " + row(QByteArray(4000, 'n')) + QByteArray(28000, '?') + "\r\n" });

    EXPECT_FALSE(FTPManager().contentsOfServer(record.get()));

    EXPECT_LT(residentMemory() - before, 200 * mebibyte);
    m_server.forgetRules();
    EXPECT_TRUE(FTPManager().contentsOfServer(record.get()));
}

TEST_F(HostileServerTest, ADownloadWithoutEndTakesNoMemoryAndCanBeStopped)
{
    m_server.on("RETR", { "150 Go", "repeat 0123456789abcdef" });
    const QFileInfo file(m_directory.filePath(u"endless"_s));
    m_controller->items().downloadFile(u"endless"_s, m_directory.path());
    const auto hasCome = [&file](qint64 bytes) {
        return waitFor([&file, bytes] { return QFileInfo(file.filePath()).size() > bytes; });
    };
    ASSERT_TRUE(hasCome(mebibyte));
    const qint64 before = residentMemory();

    ASSERT_TRUE(hasCome(64 * mebibyte));
    EXPECT_LT(residentMemory() - before, 16 * mebibyte);
    m_controller->stopButtonAction();

    EXPECT_TRUE(waitUntilIdle());
    EXPECT_EQ(status(), u"Download Stopped"_s);
    m_server.forgetRules();
    EXPECT_EQ(list(), u"Listing succeeded"_s);
}

TEST_F(HostileServerTest, AGreetingMayHoldAnythingButHasAnEnd)
{
    const QString lost = u"Stream open error"_s;
    const QString succeeded = u"Listing succeeded"_s;
    checkRows<void(QByteArrayList, QString)>(
        {
            { { "flood-lines 1000000", "220 Ready" }, lost },
            { { "flood 1000000", "220 Ready" }, lost },
            { { "raw \0\0\0\0\r\n"_ba, "220 Ready" }, lost },
            { { "raw 220 a\0b\x1b[31m\xff\r\n"_ba }, succeeded },
            { { "raw 220\n" }, succeeded },
            { { "220-Welcome", "say 530 is no refusal here", "say ", "220 Ready" }, succeeded },
        },
        [&](const QByteArrayList& greeting, const QString& status) {
            m_engine.pool().closeIdle(u"127.0.0.1"_s, m_server.port());
            m_server.on("connect", greeting);

            EXPECT_EQ(list(), status);

            m_server.forgetRules();
            EXPECT_EQ(list(), succeeded);
        });
}

TEST_F(HostileServerTest, AFloodOfRepliesThatNobodyAskedForTakesNoMemoryAndTheNextListingWorks)
{
    const QByteArray flood = "flood-replies 100000";
    const QByteArray over = "200 Enough"; // Said when the flood has been taken, or nobody is there to take it.
    const QString lost = u"Stream open error"_s;
    const QString succeeded = u"Listing succeeded"_s;
    checkRows<void(QByteArray, QByteArrayList, QString)>(
        {
            // These pass for the answers to what was sent ahead, a port among it.
            { "the login", "PASS", { "230 In", flood, over }, lost },
            { "a command", "TYPE", { "200 Binary", flood, over }, lost },
            { "the last word, while data comes",
              "LIST",
              { "150 Go", "226 Done", flood, over, "send " + ::row("a"), "data-close" },
              succeeded },
            { "the last word, when nobody listens",
              "LIST",
              { "150 Go", "send " + ::row("a"), "data-close", "226 Done", flood, over },
              succeeded },
        },
        [&](const QByteArray& command, const QByteArrayList& steps, const QString& status) {
            m_engine.pool().closeIdle(u"127.0.0.1"_s, m_server.port());
            m_server.on(command, steps);
            const qint64 before = residentMemory();

            EXPECT_EQ(list(), status);
            EXPECT_TRUE(m_server.waitForReply(over));

            EXPECT_LT(residentMemory() - before, 8 * mebibyte + sanitizerMemory);
            m_server.forgetRules();
            m_server.forgetRecords();
            EXPECT_EQ(list(), succeeded);
            EXPECT_EQ(m_server.connectionCount(), 1); // What was flooded is not used again.
            EXPECT_EQ(NetworkManager::sharedInstance().networkOperationCount(), 0U);
        });
    m_controller->uploadFiles({ makeFile(u"afterwards"_s) });
    EXPECT_TRUE(waitUntilIdle());
    EXPECT_EQ(m_server.file(u"folder/afterwards"_s), QByteArray("hello"));
}

TEST_F(HostileServerTest, DataIsFetchedFromTheServerAloneWhateverAPassiveReplySays)
{
    QTcpServer elsewhere;
    ASSERT_TRUE(elsewhere.listen(QHostAddress(u"127.0.0.2"_s)));
    const QByteArray port
        = QByteArray::number(elsewhere.serverPort() / 256) + ',' + QByteArray::number(elsewhere.serverPort() % 256);
    m_server.on("EPSV", { "500 What?" });
    m_server.on("PASV", { "227 Go (127,0,0,2," + port + ")" });
    m_engine.timeouts().reason = 100ms;

    const QString status = list();

    // Nobody listens at that port of the server itself.
    EXPECT_TRUE(status == u"Stream open error"_s || status == u"Error: Check Settings"_s) << status.toStdString();
    EXPECT_FALSE(elsewhere.hasPendingConnections());
    EXPECT_FALSE(elsewhere.waitForNewConnection(0));
}

TEST_F(HostileServerTest, NoListedNameLeadsOutOfTheChosenFolder)
{
    const QString outside = m_directory.filePath(u"outside"_s);
    const QString chosen = outside + u"/chosen"_s;
    ASSERT_TRUE(QDir().mkpath(chosen));
    const QString downloads = QDir::homePath() + u"/Downloads"_s;
    const QByteArrayList names{ "../evil",
                                "/tmp/evil",
                                "a/b",
                                "..",
                                ".",
                                "~/evil",
                                "a\0b"_ba,
                                "<b>bold</b><img src=\"file:///etc/passwd\">",
                                "\xe2\x80\xaegpj.exe",
                                "\x1b]0;title\x07",
                                QByteArray(4096, 'n'),
                                "$(touch evil)",
                                "-rf",
                                "%2e%2e%2fevil",
                                "..\\evil" };
    listRows([&names] {
        QByteArray rows;
        for (const QByteArray& name : names) {
            rows += row(name);
        }
        return rows;
    }());
    m_server.on("RETR", { "150 Go", "send content", "data-close", "226 Done" });
    m_server.on("SIZE", { "502 No" });
    EXPECT_EQ(list(), u"Listing succeeded"_s);
    const QStringList listed = listedNames();
    ASSERT_GE(listed.size(), names.size() - 2);
    const QStringList homeBefore = everythingIn(QDir::homePath());
    const QStringList serverBefore = everythingIn(m_server.root());

    for (const QString& name : listed) {
        SCOPED_TRACE(name.left(100).toStdString());
        for (const QString& folder : { chosen, QString() }) {
            m_controller->items().downloadFile(name, folder);
            EXPECT_TRUE(waitUntilIdle());
        }
    }

    for (const QString& path : everythingIn(m_directory.path())) {
        EXPECT_TRUE(path == outside || path == chosen || QFileInfo(path).path() == chosen) << path.toStdString();
    }
    for (const QString& path : everythingIn(QDir::homePath())) {
        EXPECT_TRUE(homeBefore.contains(path) || QFileInfo(path).path() == downloads) << path.toStdString();
    }
    EXPECT_EQ(everythingIn(m_server.root()), serverBefore);
    EXPECT_FALSE(QFile::exists(u"/tmp/evil"_s));
    clearDownloads();
}

/// The length of the longest text that any widget, or any row of a table, has to show.
qsizetype longestShownText()
{
    qsizetype longest = 0;
    const auto note = [&longest](const QString& text) { longest = std::max(longest, text.size()); };
    for (const QWidget* widget : QApplication::allWidgets()) {
        for (const char* property : { "text", "informativeText", "plainText", "windowTitle", "toolTip", "statusTip",
                                      "accessibleName", "accessibleDescription" }) {
            note(widget->property(property).toString());
        }
        const auto* const view = qobject_cast<const QAbstractItemView*>(widget);
        if (view == nullptr || view->model() == nullptr) {
            continue;
        }
        for (int row = 0; row < view->model()->rowCount(); ++row) {
            for (int column = 0; column < view->model()->columnCount(); ++column) {
                for (const int role : { Qt::DisplayRole, Qt::ToolTipRole, Qt::StatusTipRole, Qt::AccessibleTextRole,
                                        Qt::AccessibleDescriptionRole }) {
                    note(view->model()->index(row, column).data(role).toString());
                }
            }
        }
    }
    return longest;
}

TEST_F(HostileServerTest, OfAListedNameAsLongAsALineMayBeNoWidgetGetsMoreThanPeopleRead)
{
    constexpr qsizetype readable = 3000;
    auto& table = *m_controller->window().findChild<ListingTable*>(u"destinationListingTable"_s);
    m_controller->windows().showHistory({});
    m_server.on("RETR", { "150 Go", "send some", "silence" });
    listRows(row(QByteArray(mebibyte - 100, 'n')) + "lrwxrwxrwx 1 a b 12 Jan 12 2024 " + QByteArray(mebibyte / 3, 'l')
             + " -> " + QByteArray(mebibyte / 3, 't') + "\r\n");
    EXPECT_EQ(list(), u"Listing succeeded"_s);
    const QStringList names = listedNames();
    ASSERT_EQ(names.size(), 2);
    ASSERT_EQ(std::max(names[0].size(), names[1].size()), mebibyte - 100);
    EXPECT_LT(longestShownText(), readable);

    for (int row = 0; row < 2; ++row) {
        table.selectRow(row);
        m_controller->onTick();
        EXPECT_LT(longestShownText(), readable);

        m_controller->items().downloadFile(names[row], QString());
        EXPECT_TRUE(waitFor([this] { return status().startsWith(u"Receiving"_s); }));
        EXPECT_LT(longestShownText(), readable);
        m_controller->stopButtonAction();
        EXPECT_TRUE(waitUntilIdle());
        clearDownloads();

        m_controller->items().deleteSelection();
        EXPECT_EQ(shownSheets().size(), 1);
        EXPECT_LT(longestShownText(), readable);
        answerSheet(u"Cancel"_s);

        m_controller->items().deleteFile(names[row]);
        m_controller->onTick();
        drainEventLoop();
        EXPECT_EQ(shownSheets().size(), 1);
        EXPECT_LT(longestShownText(), readable);
        answerSheet();
    }
}

} // namespace
