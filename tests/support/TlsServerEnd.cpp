#include "TlsServerEnd.h"

#include <gtest/gtest.h>

TlsServerContext::TlsServerContext(const TestCertificate& certificate, int version)
    : m_context(SSL_CTX_new(TLS_server_method()), &SSL_CTX_free)
{
    if (version != 0 && version < TLS1_2_VERSION) {
        SSL_CTX_set_security_level(get(), 0); // Otherwise it would not be spoken.
    }
    SSL_CTX_set_min_proto_version(get(), version);
    SSL_CTX_set_max_proto_version(get(), version);
    SSL_CTX_set_session_id_context(get(), reinterpret_cast<const unsigned char*>("test"), 4);
    EXPECT_EQ(SSL_CTX_use_certificate(get(), certificate.certificate()), 1);
    EXPECT_EQ(SSL_CTX_use_PrivateKey(get(), certificate.key()), 1);
}

TlsServerEnd::TlsServerEnd(const TlsServerContext& context)
    : m_ssl(SSL_new(context.get()), &SSL_free)
{
    BIO* const in = BIO_new(BIO_s_mem());
    BIO* const out = BIO_new(BIO_s_mem());
    BIO_set_mem_eof_return(in, -1);
    BIO_set_mem_eof_return(out, -1);
    SSL_set_bio(m_ssl.get(), in, out);
    SSL_set_accept_state(m_ssl.get());
}

void TlsServerEnd::feed(const QByteArray& bytes)
{
    if (!bytes.isEmpty()) {
        BIO_write(SSL_get_rbio(m_ssl.get()), bytes.constData(), static_cast<int>(bytes.size()));
    }
    if (!isReady()) {
        SSL_do_handshake(m_ssl.get());
    }
}

QByteArray TlsServerEnd::take()
{
    BIO* const out = SSL_get_wbio(m_ssl.get());
    QByteArray bytes(static_cast<qsizetype>(BIO_ctrl_pending(out)), Qt::Uninitialized);
    if (!bytes.isEmpty()) {
        BIO_read(out, bytes.data(), static_cast<int>(bytes.size()));
    }
    return bytes;
}

QByteArray TlsServerEnd::read()
{
    QByteArray bytes;
    char buffer[16384];
    int count = 0;
    while (isReady() && (count = SSL_read(m_ssl.get(), buffer, sizeof buffer)) > 0) {
        bytes.append(buffer, count);
    }
    return bytes;
}

void TlsServerEnd::write(const QByteArray& bytes)
{
    EXPECT_EQ(SSL_write(m_ssl.get(), bytes.constData(), static_cast<int>(bytes.size())), bytes.size());
}

void TlsServerEnd::sendClose()
{
    SSL_shutdown(m_ssl.get());
}
