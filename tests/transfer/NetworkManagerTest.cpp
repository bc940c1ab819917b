#include "NetworkManager.h"

#include "CheckRows.h"
#include "StandardFolders.h"
#include "TransferTest.h"

#include <QDir>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QThread>

#include <memory>
#include <thread>
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

class NetworkManagerTest : public TransferTest {
protected:
    static void disconnect()
    {
        NetworkManager::setReachabilitySource([] { return ReachabilityFlags(); });
    }

    NetworkManager& m_manager = NetworkManager::sharedInstance();
};

using NetworkManagerDeathTest = NetworkManagerTest;

TEST_F(NetworkManagerTest, ThereIsOneForAllThreads)
{
    NetworkManager* other = nullptr;
    std::thread([&other] { other = &NetworkManager::sharedInstance(); }).join();

    EXPECT_EQ(other, &m_manager);
}

TEST_F(NetworkManagerTest, ConnectivityFollowsTheFlags)
{
    EXPECT_TRUE(NetworkManager::hasConnectivity());
    disconnect();
    EXPECT_FALSE(NetworkManager::hasConnectivity());
    NetworkManager::setReachabilitySource(
        [] { return ReachabilityFlag::Reachable | ReachabilityFlag::ConnectionRequired; });
    EXPECT_FALSE(NetworkManager::hasConnectivity());
    NetworkManager::setReachabilitySource([] { return std::optional<ReachabilityFlags>(); });
    EXPECT_FALSE(NetworkManager::hasConnectivity());
}

TEST_F(NetworkManagerTest, AddressesBecomeLocations)
{
    checkRows<QString(QString)>(
        {
            { u"host/pub"_s, u"ftp://host/pub"_s },
            { u"  host\t"_s, u"ftp://host"_s },
            { u"ftp://host/dir"_s, u"ftp://host/dir"_s },
            { u"FTP://host/dir"_s, u"FTP://host/dir"_s },
            { u"Ftp://Host/dir/"_s, u"Ftp://Host/dir/"_s },
            { u"host:2121/a%20b"_s, u"ftp://host:2121/a%20b"_s },
            { u"[::1]:2121/"_s, u"ftp://[::1]:2121/"_s },
            { u"ftp://host/http://x"_s, u"ftp://host/http://x"_s },
        },
        [this](const QString& address) { return m_manager.smartURLForString(address); });
}

TEST_F(NetworkManagerTest, WhatIsNoFTPAddressGivesNothing)
{
    for (const QString& address :
         { u""_s, u"   \t"_s, u"http://host"_s, u"sftp://host"_s, u"ftps://host"_s, u"://host"_s, u" ftp ://host"_s,
           u"host/a b"_s, u"host\n"_s, u"\nhost"_s, u"ho<st"_s, u"host/%zz"_s, u"host/\u00e9"_s, u"x/http://host"_s,
           u"\u00a0host"_s, u"host\u3000"_s }) {
        EXPECT_TRUE(m_manager.smartURLForString(address).isNull()) << address.toStdString();
    }
    EXPECT_TRUE(m_manager.smartURLForString(QString()).isNull());
}

TEST_F(NetworkManagerTest, WithoutAConnectionTheUserIsWarnedASecondLaterAndTheLocationAnsweredAllTheSame)
{
    disconnect();

    EXPECT_EQ(m_manager.smartURLForString(u"host"_s), u"ftp://host"_s);

    EXPECT_TRUE(m_alerts.isEmpty());
    EXPECT_EQ(delaysOf(*QCoreApplication::instance()), QList<int>{ 1000 });
    passAlertDelays();
    EXPECT_EQ(
        m_alerts,
        QStringList{ u"No Internet Connection.|There seems to be no internet connection. The operation may fail."_s });
}

TEST_F(NetworkManagerTest, WithoutAConnectionBlanksAreWarnedOfTooButNothingIsNot)
{
    disconnect();

    EXPECT_TRUE(m_manager.smartURLForString(QString()).isNull());
    EXPECT_TRUE(m_manager.smartURLForString(u" "_s).isNull());

    passAlertDelays();
    EXPECT_EQ(m_alerts.size(), 1);
}

TEST_F(NetworkManagerTest, WithAConnectionNobodyIsWarned)
{
    EXPECT_EQ(m_manager.smartURLForString(u"host"_s), u"ftp://host"_s);

    passAlertDelays();
    EXPECT_TRUE(m_alerts.isEmpty());
}

TEST_F(NetworkManagerTest, AnAlertThatIsAskedForWithoutAPauseIsShownOnceASecondAfterTheFirstRequest)
{
    const auto askAgainAndAgain = [this] {
        QElapsedTimer clock;
        QElapsedTimer sinceRequest;
        clock.start();
        sinceRequest.start();
        while (clock.elapsed() < 2500) {
            if (sinceRequest.restart() > 500) {
                return false; // The machine was too busy, and this may count as a pause.
            }
            ShowAlertAfterDelay(u"a"_s, u"b"_s);
            EXPECT_FALSE(waitFor([this] { return m_alerts.size() > 1; }, 10ms));
        }
        return true;
    };
    while (!askAgainAndAgain()) {
        passAlertDelays();
        m_alerts.clear();
    }
    EXPECT_EQ(m_alerts, QStringList{ u"a|b"_s });
    ShowAlertAfterDelay(u"a"_s, u"another text"_s);

    passAlertDelays();
    EXPECT_EQ(m_alerts, (QStringList{ u"a|b"_s, u"a|another text"_s }));
}

TEST_F(NetworkManagerTest, AnAlertIsShownAgainToWhomeverTriesAgainAfterIt)
{
    for (int tries = 1; tries <= 3; ++tries) {
        ShowAlertAfterDelay(u"a"_s, u"b"_s);

        EXPECT_TRUE(waitFor([this, tries] { return m_alerts.size() == tries; }));
    }
}

TEST_F(NetworkManagerTest, AnAlertThatWasShownIsShownAgainAlsoToWhomeverTriesAgainSoon)
{
    ShowAlertAfterDelay(u"a"_s, u"b"_s);
    passAlertDelays();
    EXPECT_EQ(m_alerts.size(), 1);
    EXPECT_FALSE(waitFor([this] { return m_alerts.size() > 1; }, 300ms)); // To read it, and to answer.

    ShowAlertAfterDelay(u"a"_s, u"b"_s);
    passAlertDelays();

    EXPECT_EQ(m_alerts.size(), 2);
}

TEST_F(NetworkManagerTest, AlertsAreDroppedWhenNobodyShowsThem)
{
    ShowAlertAfterDelay(u"a"_s, u"b"_s);
    setDelayedAlertPresenter(nullptr);

    passAlertDelays();

    EXPECT_TRUE(m_alerts.isEmpty());
}

TEST_F(NetworkManagerTest, AlertsOfOtherThreadsAreShownOnTheMainThread)
{
    QThread* shownOn = nullptr;
    setDelayedAlertPresenter(
        [&shownOn](const QString& /*message*/, const QString& /*informative*/) { shownOn = QThread::currentThread(); });
    const std::unique_ptr<QThread> thread(QThread::create([] { ShowAlertAfterDelay(u"a"_s, u"b"_s); }));

    thread->start();
    thread->wait();

    ASSERT_TRUE(waitFor([&shownOn] { return shownOn != nullptr; }));
    EXPECT_EQ(shownOn, QThread::currentThread());
}

TEST_F(NetworkManagerTest, AlertsOfThreadsWithoutAnEventLoopAreShownToo)
{
    std::thread([] { ShowAlertAfterDelay(u"a"_s, u"b"_s); }).join();

    EXPECT_TRUE(waitFor([this] { return !m_alerts.isEmpty(); }));
    EXPECT_EQ(m_alerts, QStringList{ u"a|b"_s });
}

TEST_F(NetworkManagerTest, ADownloadGoesWhereItIsWanted)
{
    EXPECT_EQ(m_manager.pathForDownloadFileWithFilename(u"name.ext"_s, u"/tmp/x.bin"_s), u"/tmp/x.bin"_s);
    EXPECT_EQ(m_manager.pathForDownloadFileWithFilename(u"a/b"_s, u"/tmp/x.bin"_s), u"/tmp/x.bin"_s);

    const QString emptyPath = m_manager.pathForDownloadFileWithFilename(u"name.ext"_s, u""_s);
    EXPECT_TRUE(emptyPath.isEmpty() && !emptyPath.isNull());
}

TEST_F(NetworkManagerTest, ADownloadWithoutAPlaceGoesToTheDownloadsFolderUnderANameOfItsOwn)
{
    const QString one = m_manager.pathForDownloadFileWithFilename(u"name.ext"_s, QString());
    const QString two = m_manager.pathForDownloadFileWithFilename(u"name.ext"_s, QString());

    const QRegularExpression form(u"^%1/[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}-name\\.ext$"_s.arg(
        QRegularExpression::escape(downloadsDirectoryPath())));
    EXPECT_TRUE(form.match(one).hasMatch()) << one.toStdString();
    EXPECT_TRUE(form.match(two).hasMatch()) << two.toStdString();
    EXPECT_NE(one, two);
}

TEST_F(NetworkManagerTest, ANameTooLongForTheDownloadsFolderLosesTheEndOfItsStemAndWhatActsUnseenIsShown)
{
    checkRows<void(QString, QString)>(
        {
            { QString(214, u'n') + u".ext"_s, QString(214, u'n') + u".ext"_s },
            { QString(215, u'n') + u".ext"_s, QString(214, u'n') + u".ext"_s },
            { QString(80, u'\u6587') + u".ext"_s, QString(71, u'\u6587') + u".ext"_s },
            { u"ann\u202efdp.exe\u001b"_s, u"ann\u27e8U+202E\u27e9fdp.exe\u241b"_s },
        },
        [this](const QString& name, const QString& expected) {
            QFile file(m_manager.pathForDownloadFileWithFilename(name, QString()));

            EXPECT_TRUE(file.open(QIODevice::WriteOnly));
            EXPECT_TRUE(file.fileName().endsWith(u'-' + expected)) << file.fileName().toStdString();
            EXPECT_TRUE(file.remove());
        });
}

TEST_F(NetworkManagerTest, AMissingDownloadsFolderIsMade)
{
    const QDir downloads(downloadsDirectoryPath());
    ASSERT_TRUE(QDir(downloads).removeRecursively());

    const QString place = m_manager.pathForDownloadFileWithFilename(u"name.ext"_s, QString());

    EXPECT_TRUE(downloads.exists());
    QFile file(place);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << place.toStdString();
    EXPECT_TRUE(file.remove());
}

TEST_F(NetworkManagerTest, WhereNoDownloadsFolderCanBeMadeThereIsNoPlace)
{
    QDir downloads(downloadsDirectoryPath());
    ASSERT_TRUE(downloads.removeRecursively());
    QFile inItsWay(downloads.path());
    ASSERT_TRUE(inItsWay.open(QIODevice::WriteOnly));

    EXPECT_TRUE(m_manager.pathForDownloadFileWithFilename(u"name.ext"_s, QString()).isNull());

    EXPECT_TRUE(inItsWay.remove());
    EXPECT_TRUE(downloads.mkpath(downloads.path()));
}

TEST_F(NetworkManagerTest, ANameThatIsNoFileNameHasNoPlace)
{
    for (const QString& name : { u"/"_s, u"../a"_s, u"a/b"_s, u"a\u0000b"_s, u"."_s, u".."_s, u""_s, QString() }) {
        EXPECT_TRUE(m_manager.pathForDownloadFileWithFilename(name, QString()).isNull()) << name.toStdString();
    }
}

TEST_F(NetworkManagerTest, TheCountIsWhatHasStartedAndNotStopped)
{
    m_manager.setNetworkOperationCount(0);

    m_manager.didStartNetworkOperation();
    m_manager.didStartNetworkOperation();
    EXPECT_EQ(m_manager.networkOperationCount(), 2U);
    m_manager.didStopNetworkOperation();
    m_manager.didStopNetworkOperation();

    EXPECT_EQ(m_manager.networkOperationCount(), 0U);
}

TEST_F(NetworkManagerDeathTest, AStopWithoutAStartEndsTheProcess)
{
    m_manager.setNetworkOperationCount(0);

    EXPECT_DEATH(m_manager.didStopNetworkOperation(),
                 "^Assertion failed: self\\.networkOperationCount > 0, "
                 "-\\[NetworkManager didStopNetworkOperation\\], NetworkManager\n$");
}

TEST_F(NetworkManagerDeathTest, CountingOnAnotherThreadEndsTheProcess)
{
    const auto onAnotherThread = [](const std::function<void()>& action) {
        const std::unique_ptr<QThread> thread(QThread::create(action));
        thread->start();
        thread->wait();
    };

    EXPECT_DEATH(onAnotherThread([this] { m_manager.didStartNetworkOperation(); }),
                 "Assertion failed: \\[NSThread isMainThread\\], "
                 "-\\[NetworkManager didStartNetworkOperation\\], NetworkManager\n");
    EXPECT_DEATH(onAnotherThread([this] { m_manager.didStopNetworkOperation(); }),
                 "Assertion failed: \\[NSThread isMainThread\\], "
                 "-\\[NetworkManager didStopNetworkOperation\\], NetworkManager\n");
}

} // namespace
