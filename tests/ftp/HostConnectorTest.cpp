#include "HostConnector.h"

#include "CheckRows.h"
#include "NoThreadLeft.h"
#include "ScriptedPeer.h"
#include "WaitFor.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

QList<QHostAddress> addresses(const QStringList& texts)
{
    QList<QHostAddress> found;
    for (const QString& text : texts) {
        found.append(QHostAddress(text));
    }
    return found;
}

TEST(HostConnectorTest, TheFamiliesTakeTurnsAndTheAddressThatAnsweredLastComesFirst)
{
    checkRows<QStringList(QStringList, QString)>(
        {
            { "none", {}, u""_s, {} },
            { "IPv6 first", { u"192.0.2.1"_s, u"::1"_s }, u""_s, { u"::1"_s, u"192.0.2.1"_s } },
            { "in turns",
              { u"192.0.2.1"_s, u"192.0.2.2"_s, u"::1"_s, u"::2"_s, u"::3"_s },
              u""_s,
              { u"::1"_s, u"192.0.2.1"_s, u"::2"_s, u"192.0.2.2"_s, u"::3"_s } },
            { "none twice", { u"::1"_s, u"::1"_s, u"192.0.2.1"_s }, u""_s, { u"::1"_s, u"192.0.2.1"_s } },
            { "preferred", { u"::1"_s, u"192.0.2.1"_s }, u"192.0.2.1"_s, { u"192.0.2.1"_s, u"::1"_s } },
            { "no longer the host's", { u"::1"_s }, u"192.0.2.1"_s, { u"::1"_s } },
        },
        [](const QStringList& texts, const QString& preferred) {
            QStringList ordered;
            for (const QHostAddress& address : inOrderOfAttempts(addresses(texts), QHostAddress(preferred))) {
                ordered.append(address.toString());
            }
            return ordered;
        });
}

TEST(HostConnectorTest, AThreadThatIsMissingForTheLookUpIsWaitedFor)
{
    ScriptedPeer peer;
    HostConnector connector(u"localhost"_s, peer.port());
    const QSignalSpy connected(&connector, &HostConnector::connected);
    const QSignalSpy failed(&connector, &HostConnector::failed);
    {
        const NoThreadLeft none;
        connector.start();
        EXPECT_TRUE(waitFor([&] { return connector.isShort() || !failed.isEmpty(); }));
        EXPECT_TRUE(connector.isHostKnown());
        EXPECT_TRUE(failed.isEmpty());
    }

    EXPECT_TRUE(waitFor([&] { return !connected.isEmpty(); }));
}

} // namespace
