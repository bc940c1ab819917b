#pragma once

#include <QByteArray>
#include <QString>

#include <memory>
#include <openssl/evp.h>
#include <openssl/x509.h>

/// A certificate with its key, made for a test.
class TestCertificate {
public:
    struct Options {
        QByteArray subjectAlternativeName = "IP:127.0.0.1,DNS:localhost";
        QByteArray commonName = "test server";
        int validFromSeconds = -3600; ///< From now on.
        int validUntilSeconds = 24 * 3600; ///< From now on.
        bool isAuthority = false; ///< It may sign others.
    };

    /// Signed by @p issuer; by itself when that is null.
    static TestCertificate make(const Options& options, const TestCertificate* issuer = nullptr);
    static TestCertificate selfSigned() { return make({}); }

    X509* certificate() const { return m_certificate.get(); }
    EVP_PKEY* key() const { return m_key.get(); }
    /// SHA-256: 32 bytes.
    QByteArray fingerprint() const;

    QByteArray certificatePem() const;
    QByteArray keyPem() const;
    /// Writes both into the file at @p path, which only we can read.
    void writePem(const QString& path) const;

private:
    TestCertificate() = default;

    std::shared_ptr<X509> m_certificate;
    std::shared_ptr<EVP_PKEY> m_key;
};
