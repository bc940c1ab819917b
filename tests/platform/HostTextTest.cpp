#include "HostText.h"

#include "Printers.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(HostTextTest, HostsAndAddressesStaySpelledAsTheyAre)
{
    for (const QString& address :
         { u"host"_s, u"Ftp.Example.COM"_s, u"my_nas.local"_s, u"a-b.example"_s, u"example.org."_s, u"192.0.2.7"_s,
           u"host:2121"_s, u"host:1"_s, u"192.0.2.7:65535"_s, u"[::1]"_s, u"[2001:DB8::1]:2121"_s,
           u"[::ffff:192.0.2.7]"_s, u"3com.example"_s, u"1.example"_s, u"xn--bcher-kva.example"_s,
           QString(63, u'a') }) {
        EXPECT_EQ(hostText(address), address);
    }
}

TEST(HostTextTest, NamesBeyondASCIITakeTheirASCIIForm)
{
    EXPECT_EQ(hostText(u"b\u00fccher.example"_s), u"xn--bcher-kva.example"_s);
    EXPECT_EQ(hostText(u"b\u00fccher.example:2121"_s), u"xn--bcher-kva.example:2121"_s);
}

TEST(HostTextTest, EverythingElseIsNoHost)
{
    for (const QString& address : { u""_s,
                                    u" "_s,
                                    u" host"_s,
                                    u"host "_s,
                                    u"my host"_s,
                                    u"host\t"_s,
                                    u"host\n"_s,
                                    u"host\r"_s,
                                    u"host\r\nSITE"_s,
                                    u"\r\nhost"_s,
                                    u"host%0d%0a"_s,
                                    u"%0d%0ahost"_s,
                                    u"host%00"_s,
                                    u"|host"_s,
                                    u"host|id"_s,
                                    u"*"_s,
                                    u"*.host"_s,
                                    u"~"_s,
                                    u"~host"_s,
                                    u"host~"_s,
                                    u"host;type=a"_s,
                                    u"host;type=a:21"_s,
                                    u"host:21;type=a"_s,
                                    u"host/dir"_s,
                                    u"user@host"_s,
                                    u"ftp://host"_s,
                                    u"host?"_s,
                                    u"host#"_s,
                                    u"ho%73t"_s,
                                    u"."_s,
                                    u".."_s,
                                    u".host"_s,
                                    u"a..b"_s,
                                    u"host.."_s,
                                    u"-host"_s,
                                    u"host-"_s,
                                    u"host:"_s,
                                    u"host:0"_s,
                                    u"host:65536"_s,
                                    u"host:99999999999"_s,
                                    u"host:-1"_s,
                                    u"host:+1"_s,
                                    u"host:ftp"_s,
                                    u"host: 21"_s,
                                    u"host:21:21"_s,
                                    u":21"_s,
                                    u"::1"_s,
                                    u"[::1"_s,
                                    u"[]"_s,
                                    u"[host]"_s,
                                    u"[192.0.2.7]"_s,
                                    u"[::1]x"_s,
                                    u"[::1]:"_s,
                                    u"[::1]:0"_s,
                                    u"[fe80::1%eth0]"_s,
                                    u"[fe80::1%25eth0]"_s,
                                    u"256.1.1.1"_s,
                                    u"1.2.3"_s,
                                    u"1.2.3.4.5"_s,
                                    u"192.0.2.07"_s,
                                    u"1234"_s,
                                    u"192.0.2.7."_s,
                                    u"b\u00fc cher"_s,
                                    u"\u00fc..de"_s,
                                    u"\u00fc/x"_s,
                                    u"a\u0000b"_s,
                                    u"[::1\u0000]"_s,
                                    QString(64, u'a'),
                                    QStringLiteral("a.").repeated(127) + u"a"_s }) {
        EXPECT_TRUE(hostText(address).isNull()) << address.toStdString();
    }
    EXPECT_TRUE(hostText(QString()).isNull());
    EXPECT_TRUE(hostText(QString(QChar(0xd800)) + u".de"_s).isNull());
}

} // namespace
