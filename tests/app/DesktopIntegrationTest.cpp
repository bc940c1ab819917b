#include "DesktopIntegration.h"

#include "ApplicationService.h"
#include "DesktopServices.h"
#include "FakeFTPStream.h"
#include "NetworkManager.h"
#include "Printers.h"
#include "PrivateBus.h"
#include "ProgramCopies.h"
#include "ProgramName.h"
#include "UserDefaults.h"
#include "ViewController.h"
#include "WaitFor.h"

#include <QDBusMessage>
#include <QFile>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class DesktopIntegrationTest : public ::testing::Test {
protected:
    DesktopIntegrationTest()
    {
        setProgramFileName(u"Scans"_s);
        NetworkManager::setReachabilitySource([] { return ReachabilityFlags(ReachabilityFlag::Reachable); });
        setAddress(u"host"_s);
        m_bus.serve(m_notifications);
        m_bus.serve(m_loginManager);
        m_dock.listen(m_bus.serviceConnection());
        m_controller = std::make_unique<ViewController>(m_streams);
        integrate(u"Scans"_s);
    }
    void integrate(const QString& programName)
    {
        m_integration = std::make_unique<DesktopIntegration>(*m_controller, programName,
                                                             DesktopIntegration::Desktop{
                                                                 .sessionBus = [this] { return m_bus.connection(); },
                                                                 .systemBus = [this] { return m_bus.connection(); },
                                                                 .isInFront = [this] { return m_isInFront; },
                                                             });
    }
    ~DesktopIntegrationTest() override
    {
        NetworkManager::sharedInstance().setNetworkOperationCount(100);
        m_integration.reset();
        m_controller.reset();
        NetworkManager::sharedInstance().setNetworkOperationCount(0);
        NetworkManager::setReachabilitySource(nullptr);
        QFile::remove(UserDefaults::standard().filePath());
        setProgramFileName(QString());
    }

    static void setAddress(const QJsonValue& address)
    {
        ASSERT_TRUE(UserDefaults::standard().store({ { u"Address"_s, address } }));
    }
    QString makeFile(const QString& name)
    {
        QFile file(m_directory.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("hello");
        return file.fileName();
    }
    void startOne()
    {
        m_controller->uploadFiles({ makeFile(u"a"_s) });
        m_controller->onTick();
    }
    void finish()
    {
        FakeFTPStream& stream = m_streams.last();
        stream.sendOpenCompleted();
        while (stream.isOpen()) {
            stream.sendHasSpace();
        }
    }

    PrivateBus m_bus;
    NotificationService m_notifications;
    LoginManager m_loginManager;
    Dock m_dock;
    bool m_isInFront = false;
    QTemporaryDir m_directory;
    FakeStreamFactory m_streams;
    std::unique_ptr<ViewController> m_controller;
    std::unique_ptr<DesktopIntegration> m_integration;
};

TEST_F(DesktopIntegrationTest, AQueueWorkedOffUnseenIsNotifiedOnce)
{
    m_controller->uploadFiles({ makeFile(u"a"_s), u"/nonexistent"_s, makeFile(u"b"_s) });
    m_controller->onTick();
    finish();
    m_controller->onTick();
    m_controller->onTick();
    finish();

    ASSERT_TRUE(waitFor([this] { return !m_notifications.shown.isEmpty(); }));
    EXPECT_EQ(m_notifications.shown,
              QStringList{ u"Scans: Upload finished with failures: 2 files uploaded, 1 failed"_s });
}

TEST_F(DesktopIntegrationTest, WhatTheUserSeesIsNotNotified)
{
    m_isInFront = true;
    startOne();
    finish();
    m_isInFront = false;
    startOne();
    finish();

    ASSERT_TRUE(waitFor([this] { return !m_notifications.shown.isEmpty(); }));
    EXPECT_EQ(m_notifications.shown, QStringList{ u"Scans: Upload finished: 1 file uploaded"_s });
}

TEST_F(DesktopIntegrationTest, ACopyIntroducesItselfAsTheUserKnowsIt)
{
    integrate(u"Photos:2024.app"_s);

    startOne();
    ASSERT_TRUE(waitFor([this] { return m_loginManager.isLocked(); }));
    finish();

    ASSERT_TRUE(waitFor([this] { return !m_notifications.shown.isEmpty(); }));
    EXPECT_TRUE(m_notifications.shown.constFirst().startsWith(u"Photos/2024: "_s));
    EXPECT_TRUE(m_loginManager.asked.constFirst().startsWith(u"sleep:idle, Photos/2024, "_s));
}

TEST_F(DesktopIntegrationTest, AClickOnTheNotificationAsksForTheWindow)
{
    QSignalSpy activated(m_integration.get(), &DesktopIntegration::activated);
    startOne();
    finish();
    ASSERT_TRUE(waitFor([this] { return !m_notifications.shown.isEmpty(); }));

    // The click may be quicker than the program's knowledge of its notification's number.
    EXPECT_TRUE(waitFor([this, &activated] {
        QDBusMessage click
            = QDBusMessage::createSignal(NotificationService::path, NotificationService::name, u"ActionInvoked"_s);
        click << uint(7) << u"default"_s;
        m_bus.sendFromService(click);
        return !activated.isEmpty();
    }));
}

TEST_F(DesktopIntegrationTest, TheNotificationCountsWhatWentUpAndWhatDidNot)
{
    EXPECT_TRUE(DesktopIntegration::drainedText({ .stopped = 1, .removed = 5 }).isNull());
    EXPECT_EQ(DesktopIntegration::drainedText({ .confirmed = 1 }), u"1 file uploaded"_s);
    EXPECT_EQ(DesktopIntegration::drainedText({ .failed = 3 }), u"0 files uploaded, 3 failed"_s);
    EXPECT_EQ(DesktopIntegration::drainedText({ .confirmed = 1234, .failed = 1, .stopped = 2, .removed = 9 }),
              u"1,234 files uploaded, 1 failed, 2 stopped"_s);
}

TEST_F(DesktopIntegrationTest, TheMachineStaysAwakeWhileAFileMovesAndNotLonger)
{
    startOne();
    ASSERT_TRUE(waitFor([this] { return m_loginManager.isLocked(); }));
    EXPECT_TRUE(m_loginManager.asked.first().startsWith(u"sleep:idle, Scans, "_s));

    finish();

    EXPECT_TRUE(waitFor([this] { return !m_loginManager.isLocked(); }));
}

TEST_F(DesktopIntegrationTest, TheMachineStaysAwakeForADownloadToo)
{
    m_controller->downloadFileTo(u"x"_s, m_directory.path());

    EXPECT_TRUE(waitFor([this] { return m_loginManager.isLocked(); }));
}

TEST_F(DesktopIntegrationTest, FilesThatHaveNowhereToGoLetTheMachineSleepUntilTheyHave)
{
    setAddress(QJsonValue());
    startOne();
    EXPECT_FALSE(m_loginManager.isLocked());

    setAddress(u"host"_s);

    EXPECT_TRUE(waitFor([this] { return m_loginManager.isLocked(); }));
    EXPECT_EQ(m_loginManager.asked.size(), 1);
}

TEST_F(DesktopIntegrationTest, TheLauncherShowsHowMuchOfTheQueueIsDone)
{
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s) });
    m_controller->onTick();
    ASSERT_TRUE(waitFor([this] { return m_dock.heard.value(0).endsWith(u".desktop, 0"_s); }));

    finish();
    ASSERT_TRUE(waitFor([this] { return m_dock.heard.last().endsWith(u", 0.5"_s); }));
    finish();

    EXPECT_TRUE(waitFor([this] { return m_dock.heard.last().endsWith(u", none"_s); }));
}

TEST_F(DesktopIntegrationTest, ACopyWithoutALauncherOfItsOwnBelongsToTheProducts)
{
    const QString product = u"io.github.quillbox.Quillbox"_s;
    startOne();
    ASSERT_TRUE(waitFor([this] { return !m_dock.heard.isEmpty(); }));
    finish();

    ASSERT_TRUE(waitFor([this] { return !m_notifications.shown.isEmpty(); }));
    EXPECT_EQ(m_dock.heard.constFirst(), u"application://%1.desktop, 0"_s.arg(product));
    EXPECT_EQ(m_notifications.hints.value(u"desktop-entry"_s).toString(), product);
    EXPECT_EQ(m_notifications.icon, product);
}

TEST_F(DesktopIntegrationTest, ACopyWithALauncherShowsItsProgressThereUnderTheProductsIcon)
{
    const ProgramCopies copies(u"/nowhere"_s, ProgramCopies::Folders::standard());
    ASSERT_EQ(copies.make(u"Scans"_s, false), ProgramCopies::Outcome::Made);
    const auto remove = qScopeGuard([&copies] { EXPECT_TRUE(copies.remove(u"Scans"_s)); });
    integrate(u"Scans"_s);

    startOne();
    ASSERT_TRUE(waitFor([this] { return !m_dock.heard.isEmpty(); }));
    finish();

    ASSERT_TRUE(waitFor([this] { return !m_notifications.shown.isEmpty(); }));
    const QString own = ApplicationService::busName(u"Scans"_s);
    EXPECT_EQ(m_dock.heard.constFirst(), u"application://%1.desktop, 0"_s.arg(own));
    EXPECT_EQ(m_notifications.hints.value(u"desktop-entry"_s).toString(), own);
    EXPECT_EQ(m_notifications.icon, u"io.github.quillbox.Quillbox"_s);
}

} // namespace
