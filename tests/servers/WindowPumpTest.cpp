#include "ConnectionPool.h"
#include "ListingTable.h"
#include "OpenDescriptors.h"
#include "WindowServerTest.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

class WindowPumpTest : public WindowServerTest {
protected:
    /// Descriptors that are open when no connection is kept.
    int descriptorsAtRest()
    {
        ConnectionPool& pool = m_engine.pool();
        // Again and again, since a refresh may open another one meanwhile.
        EXPECT_TRUE(waitFor([this, &pool] {
            pool.closeIdle(u"127.0.0.1"_s, m_server.port());
            return pool.connectionCount() == 0;
        }));
        drainEventLoop();
        return openDescriptors();
    }
    QStringList listed() const
    {
        QStringList names = listedNames();
        names.sort();
        return names;
    }
};

TEST_F(WindowPumpTest, AfterAnyFaultTheNextFileGoesUpAndNothingIsLeftOpenOrCounted)
{
    auto& timeouts = m_engine.timeouts();
    timeouts.reply = 1s;
    timeouts.confirmation = 1s;
    timeouts.reason = 500ms;
    const ScriptedRule first{ .on = "STOR", .steps = {}, .argument = "first" };
    m_controller->uploadFiles({ makeFile(u"zeroth"_s, "x") });
    ASSERT_TRUE(waitFor([this] { return m_controller->fileUploadQueue().isEmpty(); }));
    ASSERT_TRUE(waitUntilIdle());
    const int descriptors = descriptorsAtRest();
    int number = 0;
    for (const QByteArrayList& steps : {
             QByteArrayList{ "553 No" },
             QByteArrayList{ "150 Go", "read 9", "552 Full", "data-reset" },
             QByteArrayList{ "150 Go", "read", "close" },
             QByteArrayList{ "reset" },
             QByteArrayList{ "150 Go", "read", "silence" },
             QByteArrayList{ "421 Bye", "close" },
             QByteArrayList{ "150 Go", "read", "226 Got it", "idle 20", "421 Idle for too long", "close" },
         }) {
        SCOPED_TRACE(steps.join(", ").toStdString());
        ScriptedRule rule = first;
        rule.steps = steps;
        m_server.add(rule);
        const QString next = u"next %1"_s.arg(++number);
        const QByteArray bytes(100'000, static_cast<char>('a' + number));

        m_controller->uploadFiles({ makeFile(u"first"_s, QByteArray(500'000, 'x')), makeFile(next, bytes) });
        ASSERT_TRUE(waitUntilIdle());

        EXPECT_TRUE(m_server.file(u"folder/"_s + next) == bytes);
        EXPECT_EQ(NetworkManager::sharedInstance().networkOperationCount(), 0U);
        EXPECT_TRUE(waitFor([this, descriptors] { return descriptorsAtRest() == descriptors; }));
    }
}

TEST_F(WindowPumpTest, AFolderThatTheServerCannotReadIsNoEmptyOne)
{
    const QString words = u"226-Sorry, we were unable to read [.]"_s;
    m_server.on(
        "LIST",
        { "150 Go", "write", "data-close", "say " + words.toUtf8(), "say 226-Options: -l ", "226 0 matches total" });
    set(u"AskBeforeReplacing"_s, true);

    m_controller->uploadFiles({ makeFile(u"file"_s, "x") });
    ASSERT_TRUE(waitFor([] { return !shownBoxes().isEmpty(); }));

    EXPECT_TRUE(m_controller->fileUploadQueue().isEmpty());
    EXPECT_TRUE(shownSheets().first().endsWith(u"could not be listed: "_s + words))
        << shownSheets().first().toStdString();
    answerSheet(u"Replace"_s);
    EXPECT_TRUE(waitFor([this] { return m_controller->history().queueTally().confirmed == 1; }));
    EXPECT_EQ(list(), u"Listing succeeded"_s);
    EXPECT_EQ(control<ListingTable>("destinationListingTable").emptyText(),
              u"Could not list: %1\nF5 tries again"_s.arg(words));
    EXPECT_EQ(m_controller->history().queueTally(), FileTally{ .confirmed = 1 });
}

TEST_F(WindowPumpTest, TheListIsRightAfterManyUploadsDuringASlowListing)
{
    QStringList names;
    for (int i = 0; i < 300; ++i) {
        names.append(u"old %1"_s.arg(i));
        m_server.putFile(u"folder/"_s + names.last(), "x");
    }
    m_server.on("LIST", { "150 Go", "write 2000", "wait 150", "write", "data-close", "226 Done" });
    m_controller->listFTPDestination();
    QStringList files;
    for (int i = 0; i < 20; ++i) {
        names.append(u"new %1"_s.arg(i));
        files.append(makeFile(names.last()));
    }
    names.sort();

    m_controller->uploadFiles(files);

    EXPECT_TRUE(waitFor([this, &names] { return listed() == names; }));
    ASSERT_TRUE(waitUntilIdle());
    EXPECT_EQ(listed(), names);
}

} // namespace
