#include "ApplicationService.h"

#include "BusName.h"
#include "LoopSuspension.h"
#include "Printers.h"
#include "PrivateBus.h"
#include "WaitFor.h"

#include <QDBusConnection>

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

} // namespace
