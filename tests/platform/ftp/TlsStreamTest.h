#pragma once

#include "StreamTest.h"
#include "TestCertificate.h"
#include "TlsServerEnd.h"

#include <memory>
#include <utility>

/// A stream that requires encryption, against a server whose every line the test says. The streams are told to trust
/// the server's certificate.
class TlsStreamTest : public StreamTest {
protected:
    void start(std::unique_ptr<FTPStream> stream)
    {
        EXPECT_TRUE(stream->setEncryption(FTPEncryption::Required));
        stream->setTrustedCertificates(m_trusted);
        m_recorder.start(std::move(stream));
    }
    void startSecureUpload(const QString& path, const QByteArray& data)
    {
        m_recorder.data = data;
        start(m_factory.createUploadStream(m_peer.location(path), data.size()));
    }
    void startSecureDownload(const QString& path)
    {
        m_recorder.data.clear();
        auto stream = m_factory.createDownloadStream(m_peer.location(path));
        stream->setFetchResourceInfo(true);
        start(std::move(stream));
    }
    void startSecureListing()
    {
        m_recorder.data.clear();
        start(m_factory.createListingStream(m_peer.location(u"/"_s)));
    }

    /// Greets and agrees to TLS.
    std::unique_ptr<PeerConnection> secure()
    {
        auto control = m_peer.accept();
        if (control == nullptr) {
            ADD_FAILURE() << "no control connection";
            return nullptr;
        }
        control->say("220 Ready");
        EXPECT_EQ(control->hear(), "AUTH TLS");
        control->say("234 Go on");
        EXPECT_TRUE(control->startTls(m_tls));
        return control;
    }

    /// The same, and takes the login that ends with @p rest, the commands behind the first five.
    std::unique_ptr<PeerConnection> logInSecurely(const QByteArrayList& rest)
    {
        auto control = secure();
        EXPECT_EQ(control->hear(5), (QByteArrayList{ "PBSZ 0", "PROT P", "USER anna", "PASS secret", "PWD" }));
        EXPECT_EQ(control->hear(static_cast<int>(rest.size())), rest);
        for (const char* reply : { "200 Size 0", "200 Private", "331 Password", "230 In", "257 \"/home\" is it" }) {
            control->say(reply);
        }
        return control;
    }

    /// The same, up to the encrypted data connection and the command that it belongs to.
    std::unique_ptr<PeerConnection> openSecurely(const QByteArray& command, QByteArrayList rest = { "TYPE I", "EPSV" })
    {
        auto control = logInSecurely(rest);
        for (qsizetype i = 0; i + 1 < rest.size(); ++i) {
            control->say(rest[i].startsWith("SIZE") ? m_sizeReply : QByteArray("200 Fine"));
        }
        control->say(extendedPassive());
        acceptData();
        EXPECT_EQ(control->hear(), command);
        return control;
    }
    void acceptData()
    {
        m_data = m_dataPeer.accept();
        ASSERT_NE(m_data, nullptr);
        EXPECT_TRUE(m_data->startTls(m_tls));
    }

    TestCertificate m_certificate = TestCertificate::selfSigned();
    TlsServerContext m_tls{ m_certificate };
    QList<QByteArray> m_trusted{ m_certificate.fingerprint() };
};
