#include "EngineStreamFactory.h"
#include "FTPEngine.h"
#include "FTPPutController.h"
#include "ScriptedServer.h"
#include "TransferTest.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

class UnsendableDelegate final : public RecordingDelegate, public FTPPutControllerDelegate {
public:
    void percentDone(float /*percent*/) override { }
    void bytesDone(float /*bytes*/) override { }
    void updateStatus(const QString& status) override { note(status); }
    void uploadDone() override { }

    WeakRef<FTPPutControllerDelegate> ref() { return m_anchor.ref<FTPPutControllerDelegate>(this); }

private:
    WeakAnchor m_anchor;
};

/// Local files that cannot be sent, as they are or any more.
class UnsendableFilesTest : public TransferTest {
protected:
    void SetUp() override
    {
        TransferTest::SetUp();
        m_controller.setDelegate(m_delegate.ref());
    }

    /// Starts an upload of @p file and answers the status texts up to its end.
    QStringList upload(const QString& file)
    {
        m_delegate.calls.clear();
        m_controller.startSend(file, m_server.location(), u"anna"_s, u"secret"_s);
        EXPECT_TRUE(waitFor([this] { return !m_controller.isSending(); }));
        return m_delegate.calls;
    }

    ScriptedServer m_server;
    FTPEngine m_engine;
    EngineStreamFactory m_streams{ m_engine };
    UnsendableDelegate m_delegate;
    FTPPutController m_controller{ m_streams };
};

TEST_F(UnsendableFilesTest, AFileThatHasVanishedIsIgnoredInSilence)
{
    EXPECT_EQ(upload(path(u"vanished"_s)), QStringList());
    QFile::link(path(u"nowhere"_s), path(u"dangling"_s));
    EXPECT_EQ(upload(path(u"dangling"_s)), QStringList());
    EXPECT_EQ(m_server.connectionCount(), 0);
}

TEST_F(UnsendableFilesTest, WhatIsNoPlainFileIsReportedAndNothingIsSent)
{
    const QString pipe = path(u"pipe"_s);
    ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    const QString socketPath = path(u"socket"_s);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray name = QFile::encodeName(socketPath);
    ASSERT_LT(static_cast<size_t>(name.size()), sizeof address.sun_path);
    std::copy(name.begin(), name.end(), static_cast<char*>(address.sun_path));
    ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    QFile::link(pipe, path(u"link to a pipe"_s));

    for (const QString& file : { pipe, socketPath, path(u"link to a pipe"_s), m_folder.path(), u"/dev/null"_s }) {
        SCOPED_TRACE(file.toStdString());
        EXPECT_EQ(upload(file), (QStringList{ u"Starting put..."_s, u"Can not create output file."_s }));
    }

    ::close(socket);
    EXPECT_EQ(m_server.connectionCount(), 0);
    EXPECT_EQ(countChange(), 0);
}

TEST_F(UnsendableFilesTest, AnUnreadableFileIsReportedAndTheOldOneOnTheServerStays)
{
    const QString file = makeFile(u"file"_s, "new");
    m_server.putFile(u"file"_s, "old");
    ASSERT_TRUE(QFile::setPermissions(file, QFile::Permissions()));
    // Permissions do not count for root. Another user may look into the folder, or the file would not be found.
    ASSERT_EQ(::chmod(QFile::encodeName(m_folder.path()).constData(), 0755), 0);
    if (::geteuid() == 0) {
        ASSERT_EQ(::seteuid(65534), 0);
    }

    const QStringList statuses = upload(file);

    if (::getuid() == 0) {
        ASSERT_EQ(::seteuid(0), 0);
    }
    EXPECT_EQ(statuses, (QStringList{ u"Starting put..."_s, u"Can not create output file."_s }));
    EXPECT_EQ(m_server.file(u"file"_s), QByteArray("old"));
    EXPECT_EQ(m_server.connectionCount(), 0);
}

TEST_F(UnsendableFilesTest, ATextThatStandsForNoPathIsIgnoredAndNothingIsSent)
{
    makeFile(u"odd\uFFFD"_s, "new");

    EXPECT_EQ(upload(m_folder.filePath(u"odd"_s + QChar(0xD800))), QStringList());
    EXPECT_EQ(m_server.connectionCount(), 0);
}

TEST_F(UnsendableFilesTest, ANameThatHoldsALineEndIsRefusedAfterTheStartAndNothingIsSent)
{
    const QString file = makeFile(u"a\r\nDELE b"_s, "new");

    EXPECT_EQ(upload(file), (QStringList{ u"Starting put..."_s, u"Started Put."_s, u"Stream open error"_s }));
    EXPECT_EQ(m_server.connectionCount(), 0);
    EXPECT_EQ(countChange(), 0);
}

TEST_F(UnsendableFilesTest, AFileThatShrinksWhileItIsSentIsAReadError)
{
    const QString file = makeFile(u"file"_s, QByteArray(8'000'000, 'x'));
    bool shrunk = false;
    m_delegate.reaction = [&file, &shrunk](const QString& status) {
        if (status.startsWith(u"Sending"_s) && !std::exchange(shrunk, true)) {
            ASSERT_EQ(::truncate(QFile::encodeName(file).constData(), 100'000), 0);
        }
    };

    EXPECT_EQ(upload(file).last(), u"File read error"_s);

    m_delegate.reaction = nullptr;
    EXPECT_EQ(upload(makeFile(u"next"_s, "next")).last(), u"Upload succeeded"_s);
    EXPECT_EQ(countChange(), 0);
}

TEST_F(UnsendableFilesTest, AFileThatGrowsWhileItIsSentGoesUpAsLongAsItWasAtTheStart)
{
    const QByteArray bytes(8'000'000, 'x');
    const QString path = makeFile(u"file"_s, bytes);
    bool hasGrown = false;
    m_delegate.reaction = [&path, &hasGrown](const QString& status) {
        if (status.startsWith(u"Sending"_s) && !std::exchange(hasGrown, true)) {
            QFile file(path);
            ASSERT_TRUE(file.open(QIODevice::Append));
            file.write(QByteArray(1'000'000, 'y'));
        }
    };

    EXPECT_EQ(upload(path).last(), u"Upload succeeded"_s);

    m_delegate.reaction = nullptr;
    EXPECT_TRUE(hasGrown);
    EXPECT_TRUE(m_server.file(u"file"_s) == bytes);
}

TEST_F(UnsendableFilesTest, ALinkUploadsTheFileItLeadsToWhole)
{
    const QByteArray bytes(100'000, 'x');
    makeFile(u"target"_s, bytes);
    QFile::link(path(u"target"_s), path(u"link"_s));

    EXPECT_EQ(upload(path(u"link"_s)).last(), u"Upload succeeded"_s);

    EXPECT_TRUE(m_server.file(u"link"_s) == bytes);
}

} // namespace
