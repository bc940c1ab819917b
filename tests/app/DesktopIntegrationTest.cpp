#include "DesktopIntegration.h"

#include "BusName.h"
#include "Delays.h"
#include "DesktopServices.h"
#include "DropIcons.h"
#include "FakeWindowTest.h"
#include "IconName.h"
#include "PrivateBus.h"
#include "ProgramName.h"
#include "WaitFor.h"

#include <QDBusMessage>
#include <QScopeGuard>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class DesktopIntegrationTest : public FakeWindowTest {
protected:
    DesktopIntegrationTest()
        : FakeWindowTest({ { u"Address"_s, u"host"_s } }, u"Scans"_s)
    {
        m_bus.serve(m_notifications);
        m_bus.serve(m_loginManager);
        m_dock.listen(m_bus.serviceConnection());
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

    void startOne()
    {
        m_controller->uploadFiles({ makeFile(u"a"_s) });
        tick();
    }

    /// Lets the upload succeed, and the listing after it, which holds nothing hidden.
    void finishOne()
    {
        finishUpload();
        latest(FakeFTPStream::Kind::Listing).sendOpenCompleted();
        latest(FakeFTPStream::Kind::Listing)
            .sendBytes("-rw-r--r-- 1 u g 5 Jan 1 2024 a\r\n-rw-r--r-- 1 u g 5 Jan 1 2024 b\r\n");
        latest(FakeFTPStream::Kind::Listing).sendEnd();
    }

    PrivateBus m_bus;
    NotificationService m_notifications;
    LoginManager m_loginManager;
    Dock m_dock;
    bool m_isInFront = false;
    std::unique_ptr<DesktopIntegration> m_integration;
};

TEST_F(DesktopIntegrationTest, AQueueWorkedOffUnseenIsNotifiedOnce)
{
    m_controller->uploadFiles({ makeFile(u"a"_s), u"/nonexistent"_s, makeFile(u"b"_s) });
    tick();
    finishOne();
    tick();
    tick();
    finishOne();

    ASSERT_TRUE(waitFor([this] { return !m_notifications.shown.isEmpty(); }));
    EXPECT_EQ(m_notifications.shown,
              QStringList{ u"Scans: Upload finished with failures: 2 of 3 uploaded, 1 failed"_s });
}

TEST_F(DesktopIntegrationTest, WhatTheUserSeesIsNotNotified)
{
    m_isInFront = true;
    startOne();
    finishOne();
    m_isInFront = false;
    startOne();
    finishOne();

    ASSERT_TRUE(waitFor([this] { return !m_notifications.shown.isEmpty(); }));
    EXPECT_EQ(m_notifications.shown, QStringList{ u"Scans: Upload finished: “a” uploaded"_s });
}

TEST_F(DesktopIntegrationTest, ACopyIntroducesItselfAsTheUserKnowsIt)
{
    integrate(u"Photos:2024.app"_s);

    startOne();
    ASSERT_TRUE(waitFor([this] { return m_loginManager.isLocked(); }));
    finishOne();

    ASSERT_TRUE(waitFor([this] { return !m_notifications.shown.isEmpty(); }));
    EXPECT_TRUE(m_notifications.shown.constFirst().startsWith(u"Photos/2024: "_s));
    EXPECT_TRUE(m_loginManager.asked.constFirst().startsWith(u"sleep:idle, Photos/2024, "_s));
}

TEST_F(DesktopIntegrationTest, AClickOnTheNotificationAsksForTheWindow)
{
    QSignalSpy activated(m_integration.get(), &DesktopIntegration::activated);
    startOne();
    finishOne();
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

TEST_F(DesktopIntegrationTest, TheNotificationWaitsForTheListingAndSaysWhatItHasFound)
{
    startOne();
    finishUpload();
    latest(FakeFTPStream::Kind::Listing).sendOpenCompleted();
    latest(FakeFTPStream::Kind::Listing).sendBytes("-rw-r--r-- 1 u g 2 Jan 1 2024 a\r\n");
    EXPECT_EQ(delaysOf(*m_integration), QList<int>{ 5000 });
    latest(FakeFTPStream::Kind::Listing).sendEnd();
    EXPECT_EQ(delaysOf(*m_integration), QList<int>{ 0 });

    ASSERT_TRUE(waitFor([this] { return !m_notifications.shown.isEmpty(); }));
    EXPECT_EQ(m_notifications.shown, QStringList{ u"Scans: Upload finished with failures: “a” not uploaded whole"_s });
}

TEST_F(DesktopIntegrationTest, TheNotificationWaitsFiveSecondsAtMostForAListing)
{
    startOne();
    finishUpload();
    EXPECT_EQ(delaysOf(*m_integration), QList<int>{ 5000 });
    EXPECT_TRUE(m_notifications.shown.isEmpty());

    passDelaysOf(*m_integration);

    ASSERT_TRUE(m_controller->lc().isReceiving());
    ASSERT_TRUE(waitFor([this] { return !m_notifications.shown.isEmpty(); }));
    EXPECT_EQ(m_notifications.shown, QStringList{ u"Scans: Upload finished: “a” uploaded"_s });
}

TEST_F(DesktopIntegrationTest, TheNotificationWaitsForAListingThatBeganBehindTheConfirmation)
{
    m_controller->listFTPDestination();
    startOne();
    finishUpload();

    latest(FakeFTPStream::Kind::Listing).sendOpenCompleted();
    latest(FakeFTPStream::Kind::Listing).sendEnd();
    EXPECT_EQ(delaysOf(*m_integration), QList<int>{ 5000 });

    tick();
    ASSERT_EQ(count(FakeFTPStream::Kind::Listing), 2);
    latest(FakeFTPStream::Kind::Listing).sendOpenCompleted();
    latest(FakeFTPStream::Kind::Listing).sendEnd();
    EXPECT_EQ(delaysOf(*m_integration), QList<int>{ 0 });
}

TEST_F(DesktopIntegrationTest, NothingIsWaitedForWhenAnotherDestinationIsInForce)
{
    startOne();
    finishUpload();

    set(u"Address"_s, u"other"_s);
    m_controller->destinationSet();

    EXPECT_EQ(delaysOf(*m_integration), QList<int>{ 0 });
}

TEST_F(DesktopIntegrationTest, TheNotificationOfAQueueComesAtTheLatestWithTheNextOne)
{
    startOne();
    finishUpload();

    m_controller->uploadFiles({ makeFile(u"b"_s) });

    EXPECT_EQ(delaysOf(*m_integration), QList<int>());
    ASSERT_TRUE(waitFor([this] { return !m_notifications.shown.isEmpty(); }));
    EXPECT_EQ(m_notifications.shown, QStringList{ u"Scans: Upload finished: “a” uploaded"_s });
}

TEST_F(DesktopIntegrationTest, WhatTheUserHasEndedIsNotNotified)
{
    startOne();
    m_controller->stopButtonAction();
    startOne();
    finishOne();

    ASSERT_TRUE(waitFor([this] { return !m_notifications.shown.isEmpty(); }));
    EXPECT_EQ(m_notifications.shown, QStringList{ u"Scans: Upload finished: “a” uploaded"_s });
}

TEST_F(DesktopIntegrationTest, AQueueOfFilesThatAreTriedAgainByThemselvesIsNotifiedWhenTheyHaveArrived)
{
    set(u"RetryFailedFiles"_s, true);
    startOne();
    upload().sendRefusal(421);
    ASSERT_TRUE(waitFor([this] { return !m_notifications.shown.isEmpty(); }));
    m_controller->tries().tryNow();
    tick();
    finishOne();

    EXPECT_TRUE(
        waitFor([this] { return m_notifications.shown.constLast() == u"Scans: Upload finished: “a” uploaded"_s; }));
}

TEST_F(DesktopIntegrationTest, AQueueOfFilesThatAreTriedAgainByThemselvesInVainIsNotNotified)
{
    set(u"RetryFailedFiles"_s, true);
    startOne();
    upload().sendRefusal(421);
    ASSERT_TRUE(waitFor([this] { return !m_notifications.shown.isEmpty(); }));
    m_controller->tries().tryNow();
    tick();
    upload().sendRefusal(421);
    startOne();
    finishOne();

    ASSERT_TRUE(
        waitFor([this] { return m_notifications.shown.constLast().startsWith(u"Scans: Upload finished: "_s); }));
    EXPECT_EQ(m_notifications.shown.size(), 2);
}

TEST_F(DesktopIntegrationTest, TheMachineStaysAwakeWhileAFileMovesAndNotLonger)
{
    startOne();
    ASSERT_TRUE(waitFor([this] { return m_loginManager.isLocked(); }));
    EXPECT_TRUE(m_loginManager.asked.first().startsWith(u"sleep:idle, Scans, "_s));

    finishUpload();

    EXPECT_TRUE(waitFor([this] { return !m_loginManager.isLocked(); }));
}

TEST_F(DesktopIntegrationTest, TheMachineStaysAwakeBetweenTwoFiles)
{
    emit m_controller->activityChanged({ .isMoving = false, .isWaiting = true });

    EXPECT_TRUE(waitFor([this] { return m_loginManager.isLocked(); }));
}

TEST_F(DesktopIntegrationTest, TheMachineStaysAwakeForADownloadToo)
{
    m_controller->items().downloadFile(u"x"_s, m_directory.path());

    EXPECT_TRUE(waitFor([this] { return m_loginManager.isLocked(); }));
}

TEST_F(DesktopIntegrationTest, FilesThatHaveNowhereToGoLetTheMachineSleepUntilTheyHave)
{
    unset(u"Address"_s);
    startOne();
    EXPECT_FALSE(m_loginManager.isLocked());

    set(u"Address"_s, u"host"_s);

    EXPECT_TRUE(waitFor([this] { return m_loginManager.isLocked(); }));
    EXPECT_EQ(m_loginManager.asked.size(), 1);
}

TEST_F(DesktopIntegrationTest, TheLauncherShowsHowMuchOfTheQueueIsDone)
{
    m_controller->uploadFiles({ makeFile(u"a"_s), makeFile(u"b"_s) });
    tick();
    ASSERT_TRUE(waitFor([this] { return m_dock.heard.value(0).endsWith(u".desktop, 0"_s); }));

    finishUpload();
    ASSERT_TRUE(waitFor([this] { return m_dock.heard.last().endsWith(u", 0.5"_s); }));
    finishUpload();

    EXPECT_TRUE(waitFor([this] { return m_dock.heard.last().endsWith(u", none"_s); }));
}

TEST_F(DesktopIntegrationTest, ACopyWithoutALauncherOfItsOwnBelongsToTheProducts)
{
    const QString product = u"io.github.quillbox.Quillbox"_s;
    startOne();
    ASSERT_TRUE(waitFor([this] { return !m_dock.heard.isEmpty(); }));
    finishOne();

    ASSERT_TRUE(waitFor([this] { return !m_notifications.shown.isEmpty(); }));
    EXPECT_EQ(m_dock.heard.constFirst(), u"application://%1.desktop, 0"_s.arg(product));
    EXPECT_EQ(m_notifications.hints.value(u"desktop-entry"_s).toString(), product);
    EXPECT_EQ(m_notifications.icon, product);
}

TEST_F(DesktopIntegrationTest, ACopyWithALauncherShowsItsProgressThereUnderTheProductsIcon)
{
    const DropIcons icons(u"/nowhere"_s, DropIcons::Folders::standard());
    ASSERT_EQ(icons.make({ .name = u"Scans"_s }), DropIcons::Outcome::Made);
    const auto remove = qScopeGuard([&icons] { EXPECT_TRUE(icons.remove({ .name = u"Scans"_s })); });
    integrate(u"Scans"_s);

    startOne();
    ASSERT_TRUE(waitFor([this] { return !m_dock.heard.isEmpty(); }));
    finishOne();

    ASSERT_TRUE(waitFor([this] { return !m_notifications.shown.isEmpty(); }));
    const QString own = busName(u"Scans"_s);
    EXPECT_EQ(m_dock.heard.constFirst(), u"application://%1.desktop, 0"_s.arg(own));
    EXPECT_EQ(m_notifications.hints.value(u"desktop-entry"_s).toString(), own);
    EXPECT_EQ(m_notifications.icon, u"io.github.quillbox.Quillbox"_s);
}

} // namespace
