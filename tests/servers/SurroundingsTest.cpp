#include "DelayedAlert.h"
#include "Delays.h"
#include "PrivateNetwork.h"
#include "RunLoop.h"
#include "WindowServerTest.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>

#include <algorithm>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Made before the server that is to be in it.
struct InPrivateNetwork {
    PrivateNetwork network;
};

/// The window while its network goes and comes back.
class NetworkLossTest : protected InPrivateNetwork, public WindowServerTest {
protected:
    NetworkLossTest()
    {
        auto& timeouts = m_engine.timeouts();
        timeouts.connect = 500ms;
        timeouts.reply = 500ms;
        timeouts.stalledData = 500ms;
        timeouts.confirmation = 500ms;
        timeouts.reason = 100ms;
    }

    std::optional<QByteArray> arrived(const QString& name) const { return m_server.file(u"folder/"_s + name); }
};

TEST_F(NetworkLossTest, FilesFailWhileTheNetworkIsGoneAndGoUpWhenItIsBack)
{
    ASSERT_EQ(network.problem().toStdString(), "");
    const QByteArray bytes(300'000, 'x');
    m_server.add({ .on = "STOR", .steps = { "150 Go", "read 9", "silence" }, .argument = "cut off" });
    m_controller->uploadFiles({ makeFile(u"before"_s, bytes), makeFile(u"cut off"_s, bytes), makeFile(u"lost"_s) });
    ASSERT_TRUE(m_server.waitForCommand("STOR cut off"));

    network.setUp(false);
    EXPECT_TRUE(waitUntilIdle());

    EXPECT_EQ(status(), u"Stream open error"_s);
    EXPECT_TRUE(arrived(u"before"_s) == bytes);
    EXPECT_FALSE(arrived(u"lost"_s));
    EXPECT_EQ(list(), u"Stream open error"_s);

    network.setUp(true);
    m_controller->uploadFiles({ makeFile(u"after"_s, bytes), makeFile(u"last"_s, bytes) });
    EXPECT_TRUE(waitUntilIdle());

    EXPECT_EQ(status(), u"Upload succeeded"_s);
    EXPECT_TRUE(arrived(u"after"_s) == bytes);
    EXPECT_TRUE(arrived(u"last"_s) == bytes);
    EXPECT_TRUE(listedNames().contains(u"last"_s));
    EXPECT_EQ(network.problem().toStdString(), "");
}

TEST_F(NetworkLossTest, TheSameQueueGoesOnWhenTheNetworkIsBackAndTellsWhatIsLost)
{
    using Outcome = HistoryEntry::Outcome;
    QStringList files;
    for (int i = 0; i < 200; ++i) {
        files.append(makeFile(u"file %1"_s.arg(i), QByteArray::number(i)));
    }
    const auto outcomes = [this](Outcome outcome) {
        const auto& entries = m_controller->history().entries();
        return std::count_if(entries.begin(), entries.end(),
                             [outcome](const HistoryEntry& entry) { return entry.outcome == outcome; });
    };
    const auto failures = [this] {
        const auto& entries = m_controller->history().entries();
        return std::count_if(entries.begin(), entries.end(),
                             [](const HistoryEntry& entry) { return isFailure(entry.outcome); });
    };
    m_controller->uploadFiles(files);
    ASSERT_TRUE(waitFor([&outcomes] { return outcomes(Outcome::Confirmed) >= 3; }));

    network.setUp(false);
    EXPECT_TRUE(waitFor([&failures] { return failures() >= 3; }));
    network.setUp(true);
    EXPECT_TRUE(waitUntilIdle());

    EXPECT_GT(outcomes(Outcome::Waiting) + failures() + outcomes(Outcome::Confirmed), 6);
    EXPECT_EQ(failures() + outcomes(Outcome::Confirmed), files.size());
    for (const HistoryEntry& entry : m_controller->history().entries()) {
        if (entry.outcome == Outcome::Confirmed) {
            const QString name = QFileInfo(entry.path).fileName();
            EXPECT_EQ(arrived(name), name.section(u' ', 1).toUtf8()) << name.toStdString();
        }
    }
    EXPECT_EQ(status(), u"Upload succeeded"_s);
    EXPECT_EQ(m_controller->history().entries().last().outcome, Outcome::Confirmed);
    EXPECT_EQ(network.problem().toStdString(), "");
}

/// The window where nothing leads to the server, nor anywhere else.
class NoRouteTest : protected InPrivateNetwork, public WindowServerTest {
protected:
    NoRouteTest()
    {
        NetworkManager::setReachabilitySource(nullptr); // The kernel's own word.
        set({ { u"Address"_s, u"192.0.2.1"_s } });
        setDelayedAlertPresenter([this](const QString& message, const QString& text) {
            ++m_alerts;
            m_controller->showAlert(message, text);
        });
    }
    ~NoRouteTest() override { setDelayedAlertPresenter(nullptr); }

    int m_alerts = 0;
};

TEST_F(NoRouteTest, TenThousandFilesFailOneAfterTheOtherWithOneAlertThatIsAnsweredOnce)
{
    constexpr int count = 10'000;
    const QStringList alert{
        u"No Internet Connection.: There seems to be no internet connection. The operation may fail."_s
    };
    ASSERT_EQ(network.problem().toStdString(), "");
    const QString file = makeFile(u"file"_s);
    m_controller->window().setUpdatesEnabled(false); // Nobody looks, and painting takes most of the time.
    m_controller->uploadFiles(QStringList(count, file));

    // More ticks than the timer has, but over a time in which alerts fall due again and again; each is answered at
    // once.
    constexpr qint64 shortestMs = 4000;
    int answers = 0;
    QElapsedTimer clock;
    clock.start();
    const QDeadlineTimer deadline(100s);
    while ((!m_controller->fileUploadQueue().isEmpty() || m_controller->pc().isSending()) && !deadline.hasExpired()) {
        const auto done = count - m_controller->fileUploadQueue().size();
        if (done * shortestMs <= clock.elapsed() * count) {
            m_controller->onTick();
        }
        QCoreApplication::processEvents();
        // Those that are left would be looked through in each turn.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (!shownSheets().isEmpty()) {
            EXPECT_EQ(shownSheets(), alert);
            answerSheet();
            ++answers;
        }
    }
    // Blocks run in the order in which they are due, so every alert that was asked for has been shown or dropped then;
    // and the pause is over that ends a run of equal alerts.
    bool areAlertsOver = false;
    RunLoop::dispatchAfter(1000, nullptr, [&areAlertsOver] { areAlertsOver = true; });
    EXPECT_TRUE(waitFor([&areAlertsOver] { return areAlertsOver; }));

    EXPECT_GE(clock.elapsed(), shortestMs);
    EXPECT_EQ(status(), u"Stream open error"_s);
    const auto& entries = m_controller->history().entries();
    EXPECT_EQ(std::count_if(entries.begin(), entries.end(),
                            [](const HistoryEntry& entry) { return isFailure(entry.outcome); }),
              count);
    EXPECT_EQ(m_alerts, 1);
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(shownSheets(), QStringList());

    // A user who tries again is alerted again.
    m_controller->uploadFiles({ file });
    EXPECT_TRUE(waitFor([] { return !shownSheets().isEmpty(); }));
    EXPECT_EQ(shownSheets(), alert);
    answerSheet();
    passDelaysOf(*qApp); // Every alert that was asked for.
    EXPECT_EQ(m_alerts, 2);
    EXPECT_EQ(NetworkManager::sharedInstance().networkOperationCount(), 0U);
}

/// Files that change between their being dropped and their turn.
class ChangedFilesTest : public WindowServerTest {
protected:
    /// The descriptor of a local socket that others can connect to at @p path, or -1.
    static int listeningAt(const QString& path)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray name = QFile::encodeName(path);
        if (static_cast<size_t>(name.size()) >= sizeof address.sun_path) {
            return -1;
        }
        std::copy(name.begin(), name.end(), static_cast<char*>(address.sun_path));
        const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0
            || ::listen(descriptor, 1) != 0) {
            ::close(descriptor);
            return -1;
        }
        return descriptor;
    }
};

TEST_F(ChangedFilesTest, WhatBecomesUnsendableInTheQueueIsIgnoredAndTheRestGoesUp)
{
    const QString first = makeFile(u"first"_s);
    const QString vanished = makeFile(u"vanished"_s);
    const QString pipe = makeFile(u"pipe"_s);
    const QString folder = makeFile(u"became a folder"_s);
    const QString device = makeFile(u"device"_s);
    const QString socketPath = makeFile(u"socket"_s);
    const QString unreadable = makeFile(u"unreadable"_s);
    const QString grown = makeFile(u"grown"_s);
    const QString shrunk = makeFile(u"shrunk"_s, "much content");
    const QString last = makeFile(u"last"_s);
    m_controller->uploadFiles({ first, vanished, pipe, folder, device, socketPath, unreadable, grown, shrunk, last });

    QFile::remove(vanished);
    QFile::remove(pipe);
    ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    QFile::remove(folder);
    ASSERT_TRUE(QDir().mkdir(folder));
    QFile::remove(device);
    ASSERT_TRUE(QFile::link(u"/dev/zero"_s, device));
    QFile::remove(socketPath);
    const int socket = listeningAt(socketPath);
    ASSERT_GE(socket, 0);
    QFile::remove(unreadable);
    ASSERT_TRUE(QFile::link(u"/proc/sys/vm/drop_caches"_s, unreadable)); // A plain file that not even root can read.
    makeFile(u"grown"_s, "hello and more");
    makeFile(u"shrunk"_s, "little");

    EXPECT_TRUE(waitUntilIdle());
    ::close(socket);
    using Outcome = HistoryEntry::Outcome;
    QList<std::pair<Outcome, QString>> endings;
    for (const HistoryEntry& entry : m_controller->history().entries()) {
        endings.append({ entry.outcome, entry.status });
    }
    const std::pair<Outcome, QString> sent(Outcome::Confirmed, QString());
    const std::pair<Outcome, QString> unopened(Outcome::NotPlainFile, u"Can not create output file."_s);
    const std::pair<Outcome, QString> unread(Outcome::NotReadable, u"Can not create output file."_s);
    EXPECT_EQ(endings,
              (QList{ sent, std::pair(Outcome::NotFound, QString()), unopened, unopened, unopened, unopened, unread,
                      sent, sent, sent }));
    EXPECT_EQ(status(), u"Upload succeeded"_s);
    EXPECT_EQ(m_server.file(u"folder/first"_s), QByteArray("hello"));
    EXPECT_EQ(m_server.file(u"folder/grown"_s), QByteArray("hello and more"));
    EXPECT_EQ(m_server.file(u"folder/shrunk"_s), QByteArray("little"));
    EXPECT_EQ(m_server.file(u"folder/last"_s), QByteArray("hello"));
    QStringList listed = listedNames();
    listed.sort();
    EXPECT_EQ(listed, (QStringList{ u"first"_s, u"grown"_s, u"last"_s, u"shrunk"_s }));
    EXPECT_EQ(NetworkManager::sharedInstance().networkOperationCount(), 0U);
}

} // namespace
