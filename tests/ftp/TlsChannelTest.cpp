#include "TlsChannel.h"

#include "EnvironmentValue.h"
#include "TlsServerEnd.h"
#include "TlsTransport.h"

#include <QTemporaryFile>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <openssl/conf.h>

using namespace Qt::StringLiterals;

namespace {

/// Carries bytes to a server's end in the same test, and back.
class Line final : public TlsTransport {
public:
    explicit Line(const TlsServerContext& context)
        : server(context)
    {
    }

    qint64 receive(char* bytes, qint64 size) override
    {
        m_received += server.take();
        if (m_received.isEmpty()) {
            return isCut ? 0 : nothingYet;
        }
        const qint64 count = std::min<qint64>(size, m_received.size());
        std::memcpy(bytes, m_received.constData(), static_cast<size_t>(count));
        m_received.remove(0, count);
        return count;
    }
    bool send(const char* bytes, qint64 size) override
    {
        server.feed(QByteArray(bytes, size));
        return true;
    }

    TlsServerEnd server;
    bool isCut = false; ///< Nothing comes behind what has been sent.

private:
    QByteArray m_received;
};

/// One channel and its server.
struct Pair {
    explicit Pair(const TlsServerContext& context, const QString& host = u"127.0.0.1"_s)
        : line(context)
        , channel(line, host)
    {
    }
    Pair(const TlsServerContext& context, const TlsChannel& first)
        : line(context)
        , channel(line, first)
    {
    }

    TlsChannel::Outcome shakeHands()
    {
        TlsChannel::Outcome outcome = TlsChannel::Outcome::Waiting;
        for (int turn = 0; turn < 10 && outcome == TlsChannel::Outcome::Waiting; ++turn) {
            outcome = channel.handshake();
        }
        return outcome;
    }
    QByteArray readAll()
    {
        std::array<char, 100'000> buffer;
        const TlsChannel::ReadResult result = channel.read(buffer);
        return QByteArray(buffer.data(), result.count);
    }

    Line line;
    TlsChannel channel;
};

constexpr std::array versions{ TLS1_2_VERSION, TLS1_3_VERSION };

/// What is wrong with @p certificate when @p host shows it.
QList<CertificateProblem> problemsOf(const TestCertificate& certificate, const QString& host = u"127.0.0.1"_s)
{
    const TlsServerContext context(certificate);
    Pair pair(context, host);
    EXPECT_EQ(pair.shakeHands(), TlsChannel::Outcome::Done);
    return pair.channel.certificate().problems;
}

TEST(TlsChannelTest, BytesPassBothWaysInTls12And13)
{
    for (const int version : versions) {
        const TlsServerContext context(TestCertificate::selfSigned(), version);
        Pair pair(context);
        ASSERT_EQ(pair.shakeHands(), TlsChannel::Outcome::Done);
        const QByteArray large(70'000, 'x');

        EXPECT_TRUE(pair.channel.write(large));
        EXPECT_EQ(pair.line.server.read(), large);
        pair.line.server.write("hello");
        EXPECT_EQ(pair.channel.peek(), TlsChannel::Outcome::Done);
        EXPECT_EQ(pair.readAll(), "hello");

        EXPECT_EQ(pair.line.server.version(), version);
        EXPECT_EQ(pair.channel.peek(), TlsChannel::Outcome::Waiting);
        EXPECT_FALSE(pair.channel.mayHaveMore());
    }
}

/// A system on which programs speak TLS 1.0 and 1.1 unless they decide otherwise.
class LenientSystem {
public:
    LenientSystem()
    {
        QTemporaryFile settings;
        EXPECT_TRUE(settings.open());
        settings.write("openssl_conf = all\n[all]\nssl_conf = tls\n[tls]\nsystem_default = lenient\n"
                       "[lenient]\nMinProtocol = TLSv1\nCipherString = DEFAULT:@SECLEVEL=0\n");
        settings.close();
        EXPECT_EQ(CONF_modules_load_file(settings.fileName().toLocal8Bit().constData(), "openssl_conf", 0), 1);
    }
    LenientSystem(const LenientSystem&) = delete;
    LenientSystem& operator=(const LenientSystem&) = delete;
    ~LenientSystem() { CONF_modules_load_file(nullptr, nullptr, 0); }
};

/// Whether a client that takes any version comes to terms with a server of @p context.
bool isSpokenWithOthers(const TlsServerContext& context)
{
    const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> any(SSL_CTX_new(TLS_client_method()), &SSL_CTX_free);
    const std::unique_ptr<SSL, decltype(&SSL_free)> client(SSL_new(any.get()), &SSL_free);
    BIO* const in = BIO_new(BIO_s_mem());
    BIO* const out = BIO_new(BIO_s_mem());
    SSL_set_bio(client.get(), in, out);
    SSL_set_connect_state(client.get());
    TlsServerEnd server(context);
    for (int turn = 0; turn < 10 && SSL_do_handshake(client.get()) != 1; ++turn) {
        QByteArray bytes(static_cast<qsizetype>(BIO_ctrl_pending(out)), Qt::Uninitialized);
        BIO_read(out, bytes.data(), static_cast<int>(bytes.size()));
        server.feed(bytes);
        const QByteArray answer = server.take();
        BIO_write(in, answer.constData(), static_cast<int>(answer.size()));
    }
    return SSL_is_init_finished(client.get()) == 1;
}

TEST(TlsChannelTest, OlderVersionsAreNotSpokenWhereTheSystemAllowsThemEither)
{
    const LenientSystem system;
    for (const int version : { TLS1_VERSION, TLS1_1_VERSION }) {
        const TlsServerContext context(TestCertificate::selfSigned(), version);
        ASSERT_TRUE(isSpokenWithOthers(context));
        Pair pair(context);

        EXPECT_EQ(pair.shakeHands(), TlsChannel::Outcome::Broken);
        EXPECT_FALSE(pair.channel.write(QByteArray("PASS secret")));
    }
}

TEST(TlsChannelTest, APeerThatDoesNotSpeakTlsBreaksIt)
{
    class Talker final : public TlsTransport {
    public:
        qint64 receive(char* bytes, qint64 size) override
        {
            std::memset(bytes, '2', static_cast<size_t>(size));
            return size;
        }
        bool send(const char* /*bytes*/, qint64 /*size*/) override { return true; }
    };
    Talker talker;
    TlsChannel channel(talker, u"127.0.0.1"_s);

    EXPECT_EQ(channel.handshake(), TlsChannel::Outcome::Broken);
    EXPECT_EQ(channel.handshake(), TlsChannel::Outcome::Broken);
}

TEST(TlsChannelTest, AnEndThatWasSaidIsToldFromOneThatWasNot)
{
    for (const int version : versions) {
        for (const bool isSaid : { true, false }) {
            const TlsServerContext context(TestCertificate::selfSigned(), version);
            Pair pair(context);
            pair.shakeHands();
            pair.line.server.write("the end");
            if (isSaid) {
                pair.line.server.sendClose();
            }
            pair.line.isCut = true;

            EXPECT_EQ(pair.readAll(), "the end");
            EXPECT_EQ(pair.channel.peek(), isSaid ? TlsChannel::Outcome::Ended : TlsChannel::Outcome::Broken);
        }
    }
}

TEST(TlsChannelTest, OurOwnEndIsSaid)
{
    const TlsServerContext context(TestCertificate::selfSigned());
    Pair pair(context);
    pair.shakeHands();
    pair.channel.write(QByteArray("all"));

    pair.channel.sendClose();

    EXPECT_EQ(pair.line.server.read(), "all");
    EXPECT_TRUE(pair.line.server.hasClientClosed());
}

TEST(TlsChannelTest, AFurtherChannelTakesUpTheSessionAgainAndAgain)
{
    for (const int version : versions) {
        const TlsServerContext context(TestCertificate::selfSigned(), version);
        Pair first(context);
        first.shakeHands();
        first.channel.peek(); // Takes in the ticket behind the handshake.

        for (int round = 0; round < 3; ++round) {
            // Dropped without a word each time, which must not cost the session.
            Pair next(context, first.channel);
            EXPECT_EQ(next.shakeHands(), TlsChannel::Outcome::Done);
            EXPECT_TRUE(next.channel.isResumed());
            EXPECT_TRUE(next.line.server.isResumed());
            EXPECT_EQ(next.channel.certificate().fingerprint, first.channel.certificate().fingerprint);
        }
    }
}

TEST(TlsChannelTest, AFurtherChannelToAnotherPeerIsBroken)
{
    const TlsServerContext context(TestCertificate::selfSigned());
    const TlsServerContext other(TestCertificate::selfSigned());
    Pair first(context);
    first.shakeHands();

    Pair next(other, first.channel);

    EXPECT_EQ(next.shakeHands(), TlsChannel::Outcome::Broken);
}

TEST(TlsChannelTest, WhatIsWrongWithACertificateIsNamed)
{
    using enum CertificateProblem;
    const TestCertificate authority = TestCertificate::make({ .commonName = "authority", .isAuthority = true });
    const TestCertificate::Options named{ .subjectAlternativeName = "DNS:ftp.example" };
    const TestCertificate::Options wide{ .subjectAlternativeName = "DNS:*.example.org" };
    const TestCertificate::Options partial{ .subjectAlternativeName = "DNS:ft*.example.org" };
    const TestCertificate::Options old{ .validFromSeconds = -7200, .validUntilSeconds = -3600 };
    const TestCertificate::Options early{ .validFromSeconds = 3600, .validUntilSeconds = 7200 };

    EXPECT_THAT(problemsOf(TestCertificate::selfSigned()), testing::ElementsAre(SelfSigned));
    EXPECT_THAT(problemsOf(TestCertificate::make({}, &authority)), testing::ElementsAre(UnknownIssuer));
    EXPECT_THAT(problemsOf(TestCertificate::make(old)), testing::ElementsAre(SelfSigned, Expired));
    EXPECT_THAT(problemsOf(TestCertificate::make(early)), testing::ElementsAre(SelfSigned, NotYetValid));
    EXPECT_THAT(problemsOf(TestCertificate::make(named)), testing::ElementsAre(SelfSigned, WrongHost));
    EXPECT_THAT(problemsOf(TestCertificate::make(named), u"ftp.example"_s), testing::ElementsAre(SelfSigned));
    EXPECT_THAT(problemsOf(TestCertificate::make(named), u"FTP.Example."_s), testing::ElementsAre(SelfSigned));
    EXPECT_THAT(problemsOf(TestCertificate::make(named), u"www.example"_s),
                testing::ElementsAre(SelfSigned, WrongHost));
    EXPECT_THAT(problemsOf(TestCertificate::make(wide), u"ftp.example.org"_s), testing::ElementsAre(SelfSigned));
    EXPECT_THAT(problemsOf(TestCertificate::make(wide), u"a.ftp.example.org"_s),
                testing::ElementsAre(SelfSigned, WrongHost));
    EXPECT_THAT(problemsOf(TestCertificate::make(partial), u"ftp.example.org"_s),
                testing::ElementsAre(SelfSigned, WrongHost));
}

TEST(TlsChannelTest, ACertificateOfAnAuthorityInTheSystemsStoreIsGoodForItsHostAlone)
{
    const TestCertificate authority = TestCertificate::make({ .commonName = "authority", .isAuthority = true });
    QTemporaryFile store;
    ASSERT_TRUE(store.open());
    store.write(authority.certificatePem());
    store.close();
    const EnvironmentValue certificates("SSL_CERT_FILE", store.fileName().toLocal8Bit());
    const TestCertificate good = TestCertificate::make({ .subjectAlternativeName = "DNS:ftp.example" }, &authority);

    EXPECT_TRUE(problemsOf(good, u"ftp.example"_s).isEmpty());
    EXPECT_THAT(problemsOf(good, u"ftp.example.org"_s), testing::ElementsAre(CertificateProblem::WrongHost));
}

TEST(TlsChannelTest, TheCertificateIsToldAsItIs)
{
    const TestCertificate made = TestCertificate::make({ .commonName = "Gr\xC3\xB6\xC3\x9F"
                                                                       "e\nline" });
    const TlsServerContext context(made);
    Pair pair(context);
    pair.shakeHands();

    const ServerCertificate shown = pair.channel.certificate();

    EXPECT_EQ(shown.fingerprint, made.fingerprint());
    EXPECT_EQ(shown.fingerprint.size(), 32);
    EXPECT_EQ(shown.fingerprintText().size(), 95);
    EXPECT_EQ(shown.subject, u"CN=Größe\\0Aline"_s);
    EXPECT_EQ(shown.issuer, shown.subject);
    EXPECT_EQ(shown.validFrom.secsTo(shown.validUntil), 25 * 3600);
}

} // namespace
