#include "Notifier.h"

#include "DesktopServices.h"
#include "Printers.h"
#include "PrivateBus.h"
#include "WaitFor.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class NotifierTest : public ::testing::Test {
protected:
    void serve() { m_bus.serve(m_service); }
    bool isAnswered() const { return m_notifier.findChildren<QDBusPendingCallWatcher*>().isEmpty(); }
    void showOne()
    {
        const auto before = m_service.shown.size();
        m_notifier.show(u"Done"_s, u"2 files uploaded"_s);
        ASSERT_TRUE(waitFor([this, before] { return m_service.shown.size() > before && isAnswered(); }));
    }
    void invoke(uint id, const QString& action)
    {
        QDBusMessage message
            = QDBusMessage::createSignal(NotificationService::path, NotificationService::name, u"ActionInvoked"_s);
        message << id << action;
        m_bus.sendFromService(message);
    }

    PrivateBus m_bus;
    NotificationService m_service;
    Notifier m_notifier{
        m_bus.connection(),
        { .name = u"Scans"_s, .icon = u"org.example.Scanner"_s, .desktopEntry = u"org.example.Scans"_s }
    };
    QSignalSpy m_activated{ &m_notifier, &Notifier::activated };
};

TEST_F(NotifierTest, TheServiceIsToldWhoSaysWhat)
{
    serve();

    showOne();

    EXPECT_EQ(m_service.shown, QStringList{ u"Scans: Done: 2 files uploaded"_s });
    EXPECT_EQ(m_service.icon, u"org.example.Scanner"_s);
    EXPECT_EQ(m_service.hints.value(u"desktop-entry"_s).toString(), u"org.example.Scans"_s);
}

TEST_F(NotifierTest, ANewOneTakesThePlaceOfTheOneBefore)
{
    serve();
    showOne();

    showOne();

    EXPECT_EQ(m_service.replaced, (QList<uint>{ 0, 7 }));
}

TEST_F(NotifierTest, AClickOnItIsReportedAndOneOnAnotherProgramsIsNot)
{
    serve();
    invoke(0, u"default"_s); // What is not shown yet has no number.
    showOne();
    EXPECT_TRUE(m_activated.isEmpty()); // The service has sent the click first.

    invoke(8, u"default"_s);
    invoke(7, u"other"_s);
    invoke(7, u"default"_s);
    ASSERT_TRUE(waitFor([this] { return !m_activated.isEmpty(); }));
    EXPECT_EQ(m_activated.size(), 1);
}

TEST_F(NotifierTest, WithoutAServiceNothingHappens)
{
    m_notifier.show(u"Done"_s, QString());
    ASSERT_TRUE(waitFor([this] { return isAnswered(); }));

    serve();
    showOne();
    EXPECT_EQ(m_service.replaced, QList<uint>{ 0 });
}

TEST_F(NotifierTest, WhatAServiceHasShownIsNotReplacedAfterItWasGone)
{
    serve();
    showOne();
    QDBusConnection service = m_bus.serviceConnection();
    ASSERT_TRUE(service.unregisterService(NotificationService::name));
    m_notifier.show(u"Done"_s, QString());
    ASSERT_TRUE(waitFor([this] { return isAnswered(); }));

    ASSERT_TRUE(service.registerService(NotificationService::name));
    showOne();

    EXPECT_EQ(m_service.replaced, (QList<uint>{ 0, 0 }));
}

} // namespace
