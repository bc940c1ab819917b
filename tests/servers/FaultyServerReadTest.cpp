#include "ConnectionPool.h"
#include "EngineStreamFactory.h"
#include "FTPCreateController.h"
#include "FTPEngine.h"
#include "FTPGetController.h"
#include "FTPListController.h"
#include "FileSizeLimit.h"
#include "ScriptedServer.h"
#include "SmallDisk.h"
#include "TransferTest.h"
#include "UserDefaults.h"

#include <QDir>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString readLost = u"Stream open error"_s;

class ReadDelegate final : public RecordingDelegate,
                           public FTPGetControllerDelegate,
                           public FTPListControllerDelegate,
                           public FTPCreateControllerDelegate {
public:
    void percentDone(float /*percent*/) override { }
    void bytesDone(float /*bytes*/) override { }
    void updateStatus(const QString& status) override { note(status); }
    void updateListingStatus(const QString& status) override { note(status); }
    void addListEntries(const QList<ListingEntry>& entries) override
    {
        for (const ListingEntry& entry : entries) {
            names.append(entry.name);
        }
    }

    template <typename Delegate> WeakRef<Delegate> ref() { return m_anchor.ref<Delegate>(this); }

    QStringList names;

private:
    WeakAnchor m_anchor;
};

/// What the server does wrong, and what the transfer ends in.
struct ReadFault {
    const char* name;
    QList<ScriptedRule> rules;
    QString status;
};

/// Downloads, listings and folder creations against a server that misbehaves. After each fault the next transfer works.
class FaultyServerReadTest : public TransferTest {
protected:
    void SetUp() override
    {
        TransferTest::SetUp();
        auto& timeouts = m_engine.timeouts();
        timeouts.connect = 2s;
        timeouts.reply = 1s;
        timeouts.stalledData = 1s;
        timeouts.confirmation = 1s;
        timeouts.reason = 500ms;
        timeouts.acceptance = 200ms;
        QDir(m_server.root()).mkdir(u"folder"_s);
        m_server.putFile(u"folder/file"_s, m_bytes);
        m_get.setDelegate(m_delegate.ref<FTPGetControllerDelegate>());
        m_list.setDelegate(m_delegate.ref<FTPListControllerDelegate>());
        m_create.setDelegate(m_delegate.ref<FTPCreateControllerDelegate>());
    }

    void misbehave(const ReadFault& fault)
    {
        // A connection of an earlier fault would pass over what happens at the login.
        m_engine.pool().closeIdle(u"127.0.0.1"_s, m_server.port());
        for (const ScriptedRule& rule : fault.rules) {
            m_server.add(rule);
        }
    }

    /// Downloads to @p to and answers the last status.
    QString download(const QString& to)
    {
        m_delegate.calls.clear();
        m_get.startReceive(m_server.location(u"folder/file"_s), u"anna"_s, u"secret"_s, to);
        EXPECT_TRUE(waitFor([this] { return !m_get.isReceiving(); }));
        return m_delegate.calls.last();
    }

    QString list()
    {
        m_delegate.calls.clear();
        m_delegate.names.clear();
        m_list.startReceive(m_server.location(u"folder/"_s), u"anna"_s, u"secret"_s);
        EXPECT_TRUE(waitFor([this] { return !m_list.isReceiving(); }));
        return m_delegate.calls.last();
    }

    QString create(const QString& name)
    {
        m_delegate.calls.clear();
        m_create.startCreate(name, m_server.location(u"folder/"_s), u"anna"_s, u"secret"_s);
        EXPECT_TRUE(waitFor([this] { return !m_create.isCreating(); }));
        return m_delegate.calls.last();
    }

    void expectDownloadWorks()
    {
        m_server.forgetRules();
        EXPECT_EQ(download(path(u"next"_s)), u"Download succeeded"_s);
        EXPECT_TRUE(contents(path(u"next"_s)) == m_bytes);
        EXPECT_EQ(countChange(), 0);
    }

    const QByteArray m_bytes = QByteArray(200'000, 'x');
    ScriptedServer m_server;
    FTPEngine m_engine;
    EngineStreamFactory m_streams{ m_engine };
    ReadDelegate m_delegate;
    UserDefaults m_defaults{ path(u"settings.json"_s) };
    FTPGetController m_get{ m_streams, m_defaults, [](const QString& /*path*/) {} };
    FTPListController m_list{ m_streams };
    FTPCreateController m_create{ m_streams };
};

TEST_F(FaultyServerReadTest, ADownloadEndsInTheRightWordsAndTheNextOneWorks)
{
    const QString succeeded = u"Download succeeded"_s;
    for (const ReadFault& fault : {
             ReadFault{ "refused", { { .on = "RETR", .steps = { "550 No such file" } } }, u"FTP error 550"_s },
             ReadFault{ "folder refused", { { .on = "CWD", .steps = { "550 No" } } }, u"FTP error 550"_s },
             ReadFault{ "login refused", { { .on = "PASS", .steps = { "530 No" } } }, u"FTP error 530"_s },
             ReadFault{
                 "421 at the transfer", { { .on = "RETR", .steps = { "421 Bye", "close" } } }, u"FTP error 421"_s },
             ReadFault{ "broken off with a reason",
                        { { .on = "RETR", .steps = { "150 Go", "write 999", "data-reset", "426 Broken" } } },
                        u"FTP error 426"_s },
             ReadFault{ "shorter than announced",
                        { { .on = "RETR", .steps = { "150 Go", "write 10", "data-close", "226 Done" } } },
                        readLost },
             ReadFault{
                 "dropped in the data", { { .on = "RETR", .steps = { "150 Go", "write 999", "close" } } }, readLost },
             ReadFault{
                 "reset in the data", { { .on = "RETR", .steps = { "150 Go", "write 999", "reset" } } }, readLost },
             ReadFault{ "stalled", { { .on = "RETR", .steps = { "150 Go", "write 999", "silence" } } }, readLost },
             ReadFault{ "silent before the data", { { .on = "RETR", .steps = { "silence" } } }, readLost },
             ReadFault{ "no last word",
                        { { .on = "RETR", .steps = { "150 Go", "write", "data-close", "silence" } } },
                        readLost },
             ReadFault{ "last word of another kind",
                        { { .on = "RETR", .steps = { "150 Go", "write", "data-close", "200 Done" } } },
                        readLost },
             ReadFault{
                 "no announcement", { { .on = "RETR", .steps = { "write", "data-close", "226 Done" } } }, succeeded },
             ReadFault{ "last word first",
                        { { .on = "RETR", .steps = { "150 Go", "226 Done", "write", "data-close" } } },
                        succeeded },
             ReadFault{ "size refused", { { .on = "SIZE", .steps = { "550 No" } } }, succeeded },
             ReadFault{ "size unknown", { { .on = "SIZE", .steps = { "500 What" } } }, succeeded },
             ReadFault{ "size nonsense", { { .on = "SIZE", .steps = { "213 many" } } }, succeeded },
             ReadFault{ "longer than announced", { { .on = "SIZE", .steps = { "213 5" } } }, succeeded },
             ReadFault{ "byte by byte", { { .on = "connect", .steps = { "slowly 1", "default" } } }, succeeded },
         }) {
        SCOPED_TRACE(fault.name);
        misbehave(fault);

        EXPECT_EQ(download(path(u"local"_s)), fault.status);

        EXPECT_EQ(m_delegate.calls.count(succeeded), fault.status == succeeded ? 1 : 0);
        if (fault.status == succeeded) {
            EXPECT_TRUE(contents(path(u"local"_s)) == m_bytes);
        }
        expectDownloadWorks();
    }
}

TEST_F(FaultyServerReadTest, ADownloadThatCannotBeWrittenIsNoSuccess)
{
    {
        const FileSizeLimit full(50'000);
        EXPECT_EQ(download(path(u"full"_s)), u"File write error"_s);
    }
    expectDownloadWorks();

    EXPECT_EQ(download(path(u"missing/local"_s)), u"File write error"_s);
    expectDownloadWorks();

    m_server.putFile(u"folder/file"_s, {});
    EXPECT_EQ(download(path(u"missing/local"_s)), u"File write error"_s);
    EXPECT_EQ(download(m_folder.path()), u"File write error"_s);
    EXPECT_EQ(m_delegate.calls.count(u"Download succeeded"_s), 0);
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FaultyServerReadTest, AFullDiskIsAFileWriteErrorAndTheNextDownloadWorks)
{
    const QString folder = path(u"disk"_s);
    ASSERT_TRUE(QDir().mkpath(folder));
    const SmallDisk disk(folder);
    ASSERT_EQ(disk.problem().toStdString(), "");
    m_server.putFile(u"folder/file"_s, QByteArray(3'000'000, 'x'));

    EXPECT_EQ(download(folder + u"/local"_s), u"File write error"_s);

    EXPECT_EQ(m_delegate.calls.count(u"Download succeeded"_s), 0);
    EXPECT_GT(QFileInfo(folder + u"/local"_s).size(), 500'000); // What fitted stays.
    QFile::remove(folder + u"/local"_s);
    m_server.putFile(u"folder/file"_s, m_bytes);
    expectDownloadWorks();
    EXPECT_EQ(countChange(), 0);
}

TEST_F(FaultyServerReadTest, AListingEndsInTheRightWordsAndTheNextOneWorks)
{
    const QString check = u"Error: Check Settings"_s;
    const QString succeeded = u"Listing succeeded"_s;
    QByteArray binary;
    for (int i = 0; i < 4096; ++i) {
        binary.append(static_cast<char>(i % 251));
    }
    for (const ReadFault& fault : {
             ReadFault{ "450", { { .on = "LIST", .steps = { "450 No files" } } }, check },
             ReadFault{ "550", { { .on = "LIST", .steps = { "550 No" } } }, check },
             ReadFault{ "refused behind the data",
                        { { .on = "LIST", .steps = { "150 Go", "write", "data-close", "451 No" } } },
                        check },
             ReadFault{ "dropped", { { .on = "LIST", .steps = { "150 Go", "close" } } }, readLost },
             ReadFault{ "stalled", { { .on = "LIST", .steps = { "150 Go", "accept", "silence" } } }, readLost },
             ReadFault{ "endless line",
                        { { .on = "LIST", .steps = { "150 Go", "fill 3000000", "data-close", "226 Done" } } },
                        u"Listing parse failed"_s },
             ReadFault{
                 "garbage",
                 { { .on = "LIST", .steps = { "150 Go", "send some\r\nnonsense\r\n", "data-close", "226 Done" } } },
                 succeeded },
             ReadFault{ "binary",
                        { { .on = "LIST", .steps = { "150 Go", "send " + binary, "data-close", "226 Done" } } },
                        succeeded },
         }) {
        SCOPED_TRACE(fault.name);
        misbehave(fault);

        EXPECT_EQ(list(), fault.status);

        EXPECT_EQ(m_delegate.calls.count(succeeded), fault.status == succeeded ? 1 : 0);
        m_server.forgetRules();
        EXPECT_EQ(list(), succeeded);
        EXPECT_EQ(m_delegate.names, QStringList{ u"file"_s });
        EXPECT_EQ(countChange(), 0);
    }
}

TEST_F(FaultyServerReadTest, ACreationEndsInTheRightWordsAndTheNextOneWorks)
{
    const auto refused = [](int code) { return u"FTP error %1; Directory may already exist?"_s.arg(code); };
    int number = 0;
    for (const ReadFault& fault : {
             ReadFault{ "refused", { { .on = "MKD", .steps = { "550 It exists" } } }, refused(550) },
             ReadFault{ "421", { { .on = "MKD", .steps = { "421 Bye", "close" } } }, refused(421) },
             ReadFault{ "folder refused", { { .on = "CWD", .steps = { "550 No" } } }, refused(550) },
             ReadFault{ "silent", { { .on = "MKD", .steps = { "silence" } } }, readLost },
             ReadFault{ "dropped", { { .on = "MKD", .steps = { "close" } } }, readLost },
         }) {
        SCOPED_TRACE(fault.name);
        misbehave(fault);
        const QString name = u"made %1"_s.arg(++number);

        EXPECT_EQ(create(name), fault.status);

        EXPECT_FALSE(QDir(m_server.root()).exists(u"folder/"_s + name));
        m_server.forgetRules();
        EXPECT_EQ(create(name), u"Create succeeded"_s);
        EXPECT_TRUE(QDir(m_server.root()).exists(u"folder/"_s + name));
        EXPECT_EQ(countChange(), 0);
    }
}

} // namespace
