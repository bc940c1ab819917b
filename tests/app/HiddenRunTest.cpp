#include "HiddenRun.h"

#include "AppDelegate.h"
#include "ApplicationService.h"
#include "BusName.h"
#include "FakeWindowTest.h"
#include "PrivateBus.h"
#include "RequestedUploads.h"
#include "UploadsClient.h"
#include "UploadsService.h"
#include "WaitFor.h"

#include <QScopeGuard>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <optional>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString nameOfHidden = u"Quillbox"_s;

/// Leads the standard output to somebody who does not read it yet. What a test finds out meanwhile it says afterwards.
class UnreadOutput {
public:
    UnreadOutput()
        : m_before(::dup(STDOUT_FILENO))
    {
        std::fflush(stdout);
        EXPECT_EQ(::pipe2(m_ends.data(), O_CLOEXEC), 0);
        EXPECT_EQ(::fcntl(m_ends[0], F_SETFL, O_NONBLOCK), 0);
        EXPECT_GT(::fcntl(m_ends[1], F_SETPIPE_SZ, 4096), 0);
        EXPECT_EQ(::fcntl(m_ends[1], F_SETFL, O_NONBLOCK), 0); // Whoever has opened it may want that.
        ::dup2(m_ends[1], STDOUT_FILENO);
        ::close(m_ends[1]);
    }
    UnreadOutput(const UnreadOutput&) = delete;
    UnreadOutput& operator=(const UnreadOutput&) = delete;
    ~UnreadOutput()
    {
        ::dup2(m_before, STDOUT_FILENO);
        ::close(m_before);
        ::close(m_ends[0]);
    }

    /// What there is now.
    QByteArray read() const
    {
        QByteArray all;
        std::array<char, 4096> bytes{};
        for (ssize_t count = 0; (count = ::read(m_ends[0], bytes.data(), bytes.size())) > 0;) {
            all.append(bytes.data(), count);
        }
        return all;
    }

private:
    int m_before;
    std::array<int, 2> m_ends{};
};

/// A program without its window, and somebody else on its bus.
class HiddenRunTest : public FakeWindowTest {
protected:
    HiddenRunTest()
    {
        m_service = new UploadsService(
            &m_object, m_bus.connection(),
            { .upload
              = [this](const PathList& files, bool areUnattended) { return m_uploads.begin(files, areUnattended); },
              .becameIdle = [this] { m_run->endIfIdle(); } });
        const QString name = busName(nameOfHidden);
        EXPECT_TRUE(m_bus.connection().registerObject(ApplicationService::objectPath(name), &m_object));
        EXPECT_TRUE(m_bus.connection().registerService(name));
    }
    void begin(const QStringList& files)
    {
        ::testing::internal::CaptureStdout();
        ::testing::internal::CaptureStderr();
        m_run.emplace(HiddenRun::Parts{ *m_controller, m_delegate, m_uploads, *m_service }, files);
        m_run->begin();
    }
    /// Lets the file @p name, of five bytes, arrive, and the server list it with @p size.
    void send(const QByteArray& name, const QByteArray& size = "5")
    {
        tick();
        finishUpload();
        list(name, size);
    }
    void list(const QByteArray& name, const QByteArray& size = "5")
    {
        FakeFTPStream& listing = latest(FakeFTPStream::Kind::Listing);
        listing.sendOpenCompleted();
        listing.sendBytes("-rw-r--r-- 1 u g " + size + " Jan 1 2024 " + name + "\r\n");
        listing.sendEnd();
        tick();
    }
    /// Whether nothing is taken any more.
    bool isEnding() { return !m_delegate.upload({}); }
    bool ends()
    {
        return waitFor([this] { return isEnding(); });
    }
    /// The exit status.
    int finish()
    {
        const int status = m_run->finish();
        m_out = ::testing::internal::GetCapturedStdout();
        m_err = ::testing::internal::GetCapturedStderr();
        return status;
    }
    std::string line(const QString& path, const char* words) { return path.toStdString() + '\t' + words + '\n'; }

    PrivateBus m_bus;
    QObject m_object;
    AppDelegate m_delegate{ *m_controller };
    RequestedUploads m_uploads{ *m_controller, m_delegate };
    UploadsService* m_service = nullptr; ///< The object's.
    std::optional<HiddenRun> m_run;
    std::string m_out;
    std::string m_err;
};

TEST_F(HiddenRunTest, ItEndsWithALineForEachFileWhenItsFilesAreOver)
{
    const QString path = makeFile(u"a"_s);
    begin({ path });
    EXPECT_FALSE(m_controller->window().isVisible());

    send("a");

    EXPECT_TRUE(ends());
    EXPECT_EQ(finish(), 0);
    EXPECT_EQ(m_out, line(path, "Confirmed by the server"));
    EXPECT_EQ(m_err, "");
}

TEST_F(HiddenRunTest, AFileThatHasNotArrivedIsAFailure)
{
    begin({ u"/gone"_s });
    tick();

    EXPECT_TRUE(ends());
    EXPECT_EQ(finish(), 1);
    EXPECT_EQ(m_out, "/gone\tNot found\n");
}

TEST_F(HiddenRunTest, WhatTheServerListsOtherwiseIsAFailureAndTold)
{
    const QString path = makeFile(u"a"_s);
    begin({ path });

    send("a", "3");

    EXPECT_TRUE(ends());
    EXPECT_EQ(finish(), 1);
    EXPECT_EQ(m_out, line(path, "Confirmed by the server"));
    EXPECT_EQ(m_err, line(path, "Confirmed, but 3 bytes listed, not 5"));
}

TEST_F(HiddenRunTest, AnAlertIsALineOnTheStandardError)
{
    begin({ makeFile(u"a"_s) });

    m_controller->showAlert(u"Title"_s, u"One.\n\nTwo."_s);

    finish();
    EXPECT_EQ(m_err, "Quillbox: Title. One. Two.\n");
}

TEST_F(HiddenRunTest, EndedEarlyItSaysOfEachFileWhatIsKnown)
{
    const QString path = makeFile(u"a"_s);
    begin({ u"/gone"_s, path });
    tick();
    tick();

    std::raise(SIGTERM);

    EXPECT_TRUE(ends());
    EXPECT_EQ(finish(), 1);
    EXPECT_EQ(m_out, "/gone\tNot found\n" + line(path, "Not confirmed: Quillbox ended"));
}

TEST_F(HiddenRunTest, WhatIsNotTakenIsSaidAndTheProgramEnds)
{
    m_delegate.quit();

    begin({ u"/a"_s, u"/b"_s });

    EXPECT_EQ(finish(), 1);
    EXPECT_EQ(m_out, "/a\tNot taken\n/b\tNot taken\n");
}

TEST_F(HiddenRunTest, ItGoesOnUntilTheFilesOfOthersAreOver)
{
    begin({ u"/gone"_s });
    UploadsClient other(m_bus.serviceConnection(), nameOfHidden);
    QSignalSpy taken(&other, &UploadsClient::taken);
    QSignalSpy ended(&other, &UploadsClient::ended);
    QSignalSpy over(&other, &UploadsClient::over);
    other.upload({ makeFile(u"b"_s) }, true);
    ASSERT_TRUE(waitFor([&taken] { return !taken.isEmpty(); }));
    tick();
    tick();
    finishUpload();
    ASSERT_TRUE(waitFor([&ended] { return !ended.isEmpty(); })); // By then our own file is over.
    EXPECT_FALSE(m_run->isIdle());

    list("b");

    EXPECT_TRUE(waitFor([&over] { return !over.isEmpty(); }));
    EXPECT_TRUE(ends());
    finish();
}

TEST_F(HiddenRunTest, ItGoesOnWhileFilesAreQueuedThatNobodyWaitsFor)
{
    begin({ u"/gone"_s });
    const auto later = m_uploads.begin({ u"/gone too"_s }, true);
    m_delegate.upload({ { makeFile(u"b"_s) } });
    tick();
    tick();
    ASSERT_TRUE(waitFor([&later] { return later->isOver(); })); // By then our own file is over.

    EXPECT_FALSE(m_run->isIdle());
    finish();
}

TEST_F(HiddenRunTest, ItStaysWhenItsWindowHasBeenShown)
{
    begin({ u"/gone"_s });
    m_delegate.showMainWindow();
    EXPECT_TRUE(m_controller->window().isVisible());
    tick();
    drainEventLoop();

    EXPECT_FALSE(m_run->isIdle());
    finish();
}

TEST_F(HiddenRunTest, ItGoesOnUntilItsLinesAreRead)
{
    constexpr int count = 100; // More than the pipe holds.
    QStringList files;
    for (int i = 0; i < count; ++i) {
        files.append(u"/gone/%1/%2"_s.arg(QString(200, u'x')).arg(i));
    }
    bool endedEarly = true;
    bool endedWithOthers = true;
    bool hasEnded = false;
    QByteArray read;
    {
        const UnreadOutput output;
        m_run.emplace(HiddenRun::Parts{ *m_controller, m_delegate, m_uploads, *m_service }, files);
        m_run->begin();
        waitFor([this] {
            tick();
            return m_run->isIdle();
        });
        drainEventLoop();
        endedEarly = isEnding();
        m_delegate.upload({ { makeFile(u"b"_s) } });
        waitFor([&] {
            read += output.read();
            return read.count('\n') == count;
        });
        drainEventLoop();
        endedWithOthers = isEnding();
        tick();
        finishUpload();
        hasEnded = ends();
        m_run->finish();
        read += output.read();
    }

    EXPECT_FALSE(endedEarly);
    EXPECT_FALSE(endedWithOthers);
    EXPECT_TRUE(hasEnded);
    EXPECT_EQ(read.count('\n'), count);
}

TEST_F(HiddenRunTest, ThatNobodyReadsItsLinesDoesNotEndIt)
{
    const auto before = std::signal(SIGPIPE, SIG_DFL);
    const auto restore = qScopeGuard([before] { std::signal(SIGPIPE, before); });

    begin({ u"/gone"_s });

    EXPECT_EQ(std::signal(SIGPIPE, SIG_DFL), SIG_IGN);
    finish();
}

} // namespace
