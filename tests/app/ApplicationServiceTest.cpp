#include "ApplicationService.h"

#include "BusName.h"
#include "IconSettings.h"
#include "LoopSuspension.h"
#include "Printers.h"
#include "PrivateBus.h"
#include "WaitFor.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>

#include <gtest/gtest.h>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

TEST(ApplicationServiceTest, OpenTakesLocalFilesAndBringsTheWindowToTheFront)
{
    QObject parent;
    QList<QStringList> opened;
    QStringList others;
    QStringList acted;
    int activated = 0;
    ApplicationService service(&parent,
                               {
                                   .activate = [&activated] { ++activated; },
                                   .open =
                                       [&opened, &others](const PathList& files, const QStringList& rest) {
                                           opened.append(files.toStringList());
                                           others += rest;
                                           return true;
                                       },
                                   .action = [&acted](const QString& name) { acted.append(name); },
                               });

    service.Open({ u"file:///a%20b"_s, u"http://host/c"_s, u"file://localhost/%C3%A9"_s, u"file:///%E9"_s }, {}, {});

    EXPECT_EQ(opened, QList<QStringList>{ QStringList({ u"/a b"_s, u"/é"_s, u"/"_s + QChar(0xdce9) }) });
    EXPECT_EQ(activated, 1);
    service.Activate({}, {});
    EXPECT_EQ(acted, QStringList());
    service.ActivateAction(u"preferences"_s, {}, {}, {});
    EXPECT_EQ(acted, QStringList{ u"preferences"_s });
    EXPECT_EQ(activated, 3);
    service.Open({ u"http://host/c"_s }, {}, {});
    EXPECT_EQ(activated, 4);
    EXPECT_EQ(opened.size(), 2);
    EXPECT_EQ(opened.last(), QStringList());
    EXPECT_EQ(others, (QStringList{ u"http://host/c"_s, u"http://host/c"_s }));
}

TEST(ApplicationServiceTest, CallsThatComeWhileTheLoopIsHeldAreServedAfterwardsInTheirOrder)
{
    QObject parent;
    QStringList served;
    ApplicationService service(&parent,
                               {
                                   .activate = [&served] { served.append(u"activate"_s); },
                                   .open =
                                       [&served](const PathList& files, const QStringList& /*others*/) {
                                           served.append(u"open "_s + files.toStringList().join(u' '));
                                           return true;
                                       },
                                   .action = [&served](const QString& name) { served.append(name); },
                               });
    const QDBusMessage call = QDBusMessage::createMethodCall(u"io.github.test"_s, u"/test"_s, QString(), u"Open"_s);
    {
        const LoopSuspension suspension;

        service.Open({ u"file:///a"_s }, {}, call);
        service.ActivateAction(u"act"_s, {}, {}, {});
        service.Open({ u"file:///b"_s, u"file:///c"_s }, {}, {});
        drainEventLoop();

        EXPECT_EQ(served, QStringList());
        EXPECT_TRUE(call.isDelayedReply());
    }

    drainEventLoop();

    EXPECT_EQ(served,
              (QStringList{ u"activate"_s, u"open /a"_s, u"activate"_s, u"act"_s, u"activate"_s, u"open /b /c"_s }));
}

TEST(ApplicationServiceTest, WithoutASessionBusNothingIsHandedOver)
{
    const QDBusConnection none(u"none"_s);

    EXPECT_EQ(ApplicationService::handOver(none, u"Quillbox"_s, { u"/a"_s }, {}),
              ApplicationService::HandOver::NobodyRuns);
    EXPECT_FALSE(ApplicationService::isRunning(none, u"Quillbox"_s));
}

/// What is answered of a program with that name, from the loop.
std::optional<bool> runs(const QDBusConnection& bus, const QString& programName)
{
    QObject context;
    std::optional<bool> isRunning;
    bool isAnswered = false;
    ApplicationService::askWhetherRuns(bus, programName, &context, [&](std::optional<bool> answer) {
        isRunning = answer;
        isAnswered = true;
    });
    EXPECT_FALSE(isAnswered);
    EXPECT_TRUE(waitFor([&isAnswered] { return isAnswered; }));
    return isRunning;
}

TEST(ApplicationServiceTest, WhetherAProgramRunsIsKnownWhereThereIsASessionBusAlone)
{
    const PrivateBus bus;
    ASSERT_TRUE(bus.serviceConnection().registerService(busName(u"Scans"_s)));

    EXPECT_EQ(runs(bus.connection(), u"Scans"_s), true);
    EXPECT_EQ(runs(bus.connection(), u"scans"_s), false);
    EXPECT_EQ(runs(QDBusConnection(u"none"_s), u"Scans"_s), std::nullopt);
}

class OfAFormerIconTest : public ::testing::Test {
protected:
    ~OfAFormerIconTest() override { useServer(Server::Main); }

    enum class Server { Main, Own };
    /// Which one the program of a test has, from here on.
    static void useServer(Server server) { IconSettings::use(server == Server::Own ? m_program : QString()); }
    bool beginToRun() { return m_service.registerFor(m_bus.connection(), m_program); }
    bool isOther() { return ApplicationService::hasOtherServer(m_bus.serviceConnection(), m_program); }
    QString holderOfOwnServer() { return m_bus.connection().interface()->serviceOwner(m_ownServer).value(); }

    static inline const QString m_program = u"Scans"_s;
    const QString m_ownServer = busName(m_program) + u".OwnServer"_s;
    PrivateBus m_bus;
    QObject m_parent;
    ApplicationService m_service{ &m_parent, {} };
};

TEST_F(OfAFormerIconTest, AProgramHasAnotherServerWhenOneOfTheTwoHasItsOwn)
{
    for (const Server first : { Server::Main, Server::Own }) {
        useServer(first);
        ASSERT_TRUE(beginToRun());
        for (const Server second : { Server::Main, Server::Own }) {
            useServer(second);
            EXPECT_EQ(isOther(), first != second);
        }
        m_bus.connection().unregisterService(busName(m_program));
        for (const Server second : { Server::Main, Server::Own }) {
            useServer(second);
            EXPECT_FALSE(isOther());
        }
        m_bus.connection().unregisterService(m_ownServer);
        m_bus.connection().unregisterObject(ApplicationService::objectPath(busName(m_program)));
    }
    EXPECT_FALSE(ApplicationService::hasOtherServer(QDBusConnection(u"none"_s), m_program));
}

TEST_F(OfAFormerIconTest, AnotherStartThatHasAServerOfItsOwnDoesNotMakeItTheFirstOnes)
{
    ASSERT_TRUE(beginToRun());
    useServer(Server::Own);

    ASSERT_TRUE(m_bus.serviceConnection().registerService(m_ownServer));

    EXPECT_TRUE(isOther());
}

TEST_F(OfAFormerIconTest, WhoFindsTheNameTakenSaysNothingOfItsServer)
{
    ASSERT_TRUE(m_bus.serviceConnection().registerService(busName(m_program)));
    useServer(Server::Own);

    EXPECT_FALSE(beginToRun());

    EXPECT_EQ(holderOfOwnServer(), QString());
}

TEST_F(OfAFormerIconTest, OfTwoThatStartAtOnceTheOneWithTheNameKeepsTheOther)
{
    ASSERT_TRUE(m_bus.serviceConnection().registerService(m_ownServer));
    useServer(Server::Own);
    ASSERT_TRUE(beginToRun());

    m_bus.serviceConnection().unregisterService(m_ownServer);

    EXPECT_EQ(holderOfOwnServer(), m_bus.connection().baseService());
    EXPECT_FALSE(isOther());
}

} // namespace
