#include "TestCertificate.h"

#include <QFile>

#include <gtest/gtest.h>

#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

namespace {

void addExtension(X509* certificate, int kind, const QByteArray& value)
{
    X509V3_CTX context;
    X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, &context, kind, value.constData());
    ASSERT_NE(extension, nullptr);
    X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
}

template <typename Write> QByteArray pem(Write write)
{
    BIO* const memory = BIO_new(BIO_s_mem());
    EXPECT_EQ(write(memory), 1);
    char* bytes = nullptr;
    const long length = BIO_get_mem_data(memory, &bytes);
    const QByteArray text(bytes, length);
    BIO_free(memory);
    return text;
}

} // namespace

TestCertificate TestCertificate::make(const Options& options, const TestCertificate* issuer)
{
    TestCertificate made;
    made.m_key.reset(EVP_EC_gen("P-256"), &EVP_PKEY_free);
    made.m_certificate.reset(X509_new(), &X509_free);
    X509* const certificate = made.m_certificate.get();
    X509_set_version(certificate, 2); // That is version 3.
    long serial = 0;
    RAND_bytes(reinterpret_cast<unsigned char*>(&serial), 4);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), serial);
    X509_gmtime_adj(X509_getm_notBefore(certificate), options.validFromSeconds);
    X509_gmtime_adj(X509_getm_notAfter(certificate), options.validUntilSeconds);
    X509_set_pubkey(certificate, made.key());
    X509_NAME* const name = X509_get_subject_name(certificate);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(options.commonName.constData()), -1, -1, 0);
    X509_set_issuer_name(certificate, issuer != nullptr ? X509_get_subject_name(issuer->certificate()) : name);
    if (options.isAuthority) {
        addExtension(certificate, NID_basic_constraints, "critical,CA:TRUE");
    } else {
        addExtension(certificate, NID_subject_alt_name, options.subjectAlternativeName);
    }
    EXPECT_NE(X509_sign(certificate, issuer != nullptr ? issuer->key() : made.key(), EVP_sha256()), 0);
    return made;
}

QByteArray TestCertificate::fingerprint() const
{
    QByteArray digest(EVP_MAX_MD_SIZE, Qt::Uninitialized);
    unsigned int length = 0;
    X509_digest(certificate(), EVP_sha256(), reinterpret_cast<unsigned char*>(digest.data()), &length);
    return digest.first(length);
}

QByteArray TestCertificate::certificatePem() const
{
    return pem([this](BIO* memory) { return PEM_write_bio_X509(memory, certificate()); });
}

QByteArray TestCertificate::keyPem() const
{
    return pem(
        [this](BIO* memory) { return PEM_write_bio_PrivateKey(memory, key(), nullptr, nullptr, 0, nullptr, nullptr); });
}

void TestCertificate::writePem(const QString& path) const
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.setPermissions(QFile::ReadOwner | QFile::WriteOwner)
                && file.write(certificatePem() + keyPem()) > 0);
}
