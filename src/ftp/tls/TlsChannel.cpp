#include "TlsChannel.h"

#include "FTPLog.h"
#include "SystemCertificates.h"
#include "TlsTransport.h"

#include <QHostAddress>
#include <QUrl>
#include <QtEndian>

#include <algorithm>
#include <ctime>
#include <limits>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <utility>

namespace {

/// Several records are received by one system call.
constexpr size_t receiveBufferSize = size_t(64) * 1024;

template <auto function> struct Releaser {
    template <typename T> void operator()(T* object) const { function(object); }
};
using Context = std::unique_ptr<SSL_CTX, Releaser<&SSL_CTX_free>>;
using Session = std::unique_ptr<SSL_SESSION, Releaser<&SSL_SESSION_free>>;
using Certificate = std::unique_ptr<X509, Releaser<&X509_free>>;
using Names = std::unique_ptr<GENERAL_NAMES, Releaser<&GENERAL_NAMES_free>>;
using MemoryBio = std::unique_ptr<BIO, Releaser<&BIO_free>>;

TlsTransport& transportOf(BIO* bio)
{
    return *static_cast<TlsTransport*>(BIO_get_data(bio));
}

int receiveThroughTransport(BIO* bio, char* bytes, int size)
{
    BIO_clear_retry_flags(bio);
    const qint64 count = transportOf(bio).receive(bytes, size);
    if (count == TlsTransport::nothingYet) {
        BIO_set_retry_read(bio);
    }
    return static_cast<int>(count);
}

int sendThroughTransport(BIO* bio, const char* bytes, int size)
{
    BIO_clear_retry_flags(bio);
    return transportOf(bio).send(bytes, size) ? size : -1;
}

long controlTransport(BIO* /*bio*/, int command, long /*number*/, void* /*pointer*/)
{
    return command == BIO_CTRL_FLUSH ? 1 : 0;
}

/// How OpenSSL reaches a TlsTransport.
const BIO_METHOD* transportMethod()
{
    static const BIO_METHOD* const method = [] {
        BIO_METHOD* const made = BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "transport");
        BIO_meth_set_read(made, receiveThroughTransport);
        BIO_meth_set_write(made, sendThroughTransport);
        BIO_meth_set_ctrl(made, controlTransport);
        return made;
    }();
    return method;
}

/// Null where OpenSSL has nothing to encrypt with, as its configuration may have it.
Context newContext()
{
    Context context(SSL_CTX_new(TLS_client_method()));
    if (context == nullptr) {
        return context;
    }
    SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION);
    SSL_CTX_set_options(context.get(), SSL_OP_NO_RENEGOTIATION);
    SSL_CTX_set_mode(context.get(), SSL_MODE_RELEASE_BUFFERS);
    SSL_CTX_set1_cert_store(context.get(), SystemCertificates::store());
    SSL_CTX_set_read_ahead(context.get(), 1);
    SSL_CTX_set_default_read_buffer_len(context.get(), receiveBufferSize);
    return context;
}

CertificateProblem problemOf(int error)
{
    switch (error) {
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
        return CertificateProblem::SelfSigned;
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
    case X509_V_ERR_CERT_UNTRUSTED:
        return CertificateProblem::UnknownIssuer;
    case X509_V_ERR_CERT_HAS_EXPIRED:
        return CertificateProblem::Expired;
    case X509_V_ERR_CERT_NOT_YET_VALID:
        return CertificateProblem::NotYetValid;
    case X509_V_ERR_HOSTNAME_MISMATCH:
    case X509_V_ERR_IP_ADDRESS_MISMATCH:
        return CertificateProblem::WrongHost;
    case X509_V_ERR_CERT_REVOKED:
        return CertificateProblem::Revoked;
    default:
        return CertificateProblem::Invalid;
    }
}

/// A name as people read it, in UTF-8 and with what cannot be printed escaped.
QString textOf(const X509_NAME* name)
{
    const MemoryBio memory(BIO_new(BIO_s_mem()));
    const unsigned long utf8 = (XN_FLAG_ONELINE & ~XN_FLAG_SPC_EQ) & ~static_cast<unsigned long>(ASN1_STRFLGS_ESC_MSB);
    X509_NAME_print_ex(memory.get(), name, 0, utf8);
    char* bytes = nullptr;
    const long length = BIO_get_mem_data(memory.get(), &bytes);
    return QString::fromUtf8(bytes, length);
}

QString textOf(const ASN1_STRING* text)
{
    return QString::fromLatin1(reinterpret_cast<const char*>(ASN1_STRING_get0_data(text)), ASN1_STRING_length(text));
}

QString addressTextOf(const ASN1_OCTET_STRING* address)
{
    const unsigned char* const bytes = ASN1_STRING_get0_data(address);
    switch (ASN1_STRING_length(address)) {
    case 4:
        return QHostAddress(qFromBigEndian<quint32>(bytes)).toString();
    case 16:
        return QHostAddress(bytes).toString();
    default:
        return {};
    }
}

/// The names and addresses that a certificate was issued for, as many as anybody would read.
QStringList hostsOf(const X509* certificate)
{
    constexpr int most = 20;
    const Names names(
        static_cast<GENERAL_NAMES*>(X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)));
    const int count = names == nullptr ? 0 : std::min(sk_GENERAL_NAME_num(names.get()), most);
    QStringList hosts;
    for (int i = 0; i < count; ++i) {
        const GENERAL_NAME* const name = sk_GENERAL_NAME_value(names.get(), i);
        if (name->type == GEN_DNS) {
            hosts.append(textOf(name->d.dNSName));
        } else if (name->type == GEN_IPADD) {
            hosts.append(addressTextOf(name->d.iPAddress));
        }
    }
    hosts.removeAll(QString());
    return hosts;
}

QDateTime timeOf(const ASN1_TIME* time)
{
    std::tm parts{};
    if (ASN1_TIME_to_tm(time, &parts) != 1) {
        return {};
    }
    return QDateTime(QDate(parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday),
                     QTime(parts.tm_hour, parts.tm_min, parts.tm_sec), Qt::UTC);
}

Certificate peerCertificate(const SSL* ssl)
{
    return Certificate(SSL_get1_peer_certificate(ssl));
}

QByteArray fingerprintOf(const X509* certificate)
{
    QByteArray digest(EVP_MAX_MD_SIZE, Qt::Uninitialized);
    unsigned int length = 0;
    const bool isKnown = certificate != nullptr
        && X509_digest(certificate, EVP_sha256(), reinterpret_cast<unsigned char*>(digest.data()), &length) == 1;
    return isKnown ? digest.first(length) : QByteArray();
}

int sizeForCall(qsizetype size)
{
    return static_cast<int>(std::min<qsizetype>(size, std::numeric_limits<int>::max()));
}

} // namespace

void TlsChannel::Release::operator()(ssl_st* ssl) const
{
    SSL_free(ssl);
}

TlsChannel::TlsChannel(TlsTransport& transport, QString host)
    : m_host(std::move(host))
    , m_ssl(SSL_new(newContext().get()))
{
    prepare(transport);
}

TlsChannel::TlsChannel(TlsTransport& transport, const TlsChannel& first)
    : m_host(first.m_host)
    , m_ssl(SSL_new(SSL_get_SSL_CTX(first.m_ssl.get())))
    , m_expected(fingerprintOf(peerCertificate(first.m_ssl.get()).get()))
{
    prepare(transport);
    // A copy: a channel that is dropped in mid transfer takes its session out of use.
    if (const Session session{ SSL_get1_session(first.m_ssl.get()) }) {
        const Session copy{ SSL_SESSION_dup(session.get()) };
        SSL_set_session(m_ssl.get(), copy.get());
    }
}

TlsChannel::~TlsChannel() = default;

void TlsChannel::prepare(TlsTransport& transport)
{
    m_broken = m_ssl == nullptr;
    if (m_broken) {
        qCDebug(ftpLog, "TLS: OpenSSL cannot encrypt here");
        return;
    }
    BIO* const bio = BIO_new(transportMethod());
    BIO_set_data(bio, &transport);
    BIO_set_init(bio, 1);
    SSL_set_bio(m_ssl.get(), bio, bio); // Owns it from here.
    SSL_set_app_data(m_ssl.get(), this);
    SSL_set_verify(m_ssl.get(), SSL_VERIFY_PEER, &TlsChannel::noteProblem);
    setHostToVerify();
    SSL_set_connect_state(m_ssl.get());
}

void TlsChannel::setHostToVerify()
{
    X509_VERIFY_PARAM* const parameters = SSL_get0_param(m_ssl.get());
    const QHostAddress address(m_host);
    if (!address.isNull()) {
        QHostAddress plain(address);
        plain.setScopeId({});
        m_broken = X509_VERIFY_PARAM_set1_ip_asc(parameters, plain.toString().toLatin1().constData()) != 1;
        return;
    }
    // An ending dot says that the name is complete; certificates have none.
    const QString name = m_host.endsWith(u'.') ? m_host.chopped(1) : m_host;
    const QByteArray encoded = QUrl::toAce(name);
    const QByteArray bytes = encoded.isEmpty() ? name.toUtf8() : encoded;
    X509_VERIFY_PARAM_set_hostflags(parameters, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
    // A name that cannot be compared with a certificate must not pass for one that need not be.
    m_broken = X509_VERIFY_PARAM_set1_host(parameters, bytes.constData(), static_cast<size_t>(bytes.size())) != 1;
    SSL_set_tlsext_host_name(m_ssl.get(), bytes.constData());
}

/// Called for each certificate of the chain and for each thing that is wrong. Always goes on, so that all are known.
int TlsChannel::noteProblem(int isGood, X509_STORE_CTX* store)
{
    if (isGood == 0) {
        const auto* const ssl
            = static_cast<const SSL*>(X509_STORE_CTX_get_ex_data(store, SSL_get_ex_data_X509_STORE_CTX_idx()));
        auto* const channel = static_cast<TlsChannel*>(SSL_get_app_data(ssl));
        const CertificateProblem problem = problemOf(X509_STORE_CTX_get_error(store));
        if (!channel->m_problems.contains(problem)) {
            channel->m_problems.append(problem);
        }
    }
    return 1;
}

TlsChannel::Outcome TlsChannel::handshake()
{
    if (m_broken) {
        return Outcome::Broken;
    }
    ERR_clear_error();
    Outcome outcome = outcomeOf(SSL_do_handshake(m_ssl.get()));
    if (outcome == Outcome::Done) {
        std::sort(m_problems.begin(), m_problems.end());
        const QByteArray fingerprint = fingerprintOf(peerCertificate(m_ssl.get()).get());
        if (fingerprint.isEmpty() || (!m_expected.isEmpty() && fingerprint != m_expected)) {
            qCDebug(ftpLog, "TLS: the peer is not the one that was expected");
            m_broken = true;
            outcome = Outcome::Broken;
        }
    } else if (outcome == Outcome::Ended) {
        m_broken = true;
        outcome = Outcome::Broken;
    }
    m_latest = outcome;
    return outcome;
}

TlsChannel::Outcome TlsChannel::peek()
{
    if (m_broken) {
        return Outcome::Broken;
    }
    char byte = 0;
    ERR_clear_error();
    m_latest = outcomeOf(SSL_peek(m_ssl.get(), &byte, 1));
    return m_latest;
}

TlsChannel::ReadResult TlsChannel::read(std::span<char> buffer)
{
    if (m_broken) {
        return { .outcome = Outcome::Broken };
    }
    ERR_clear_error();
    const int count = SSL_read(m_ssl.get(), buffer.data(), sizeForCall(static_cast<qsizetype>(buffer.size())));
    m_latest = outcomeOf(count);
    return { .outcome = m_latest, .count = std::max(count, 0) };
}

bool TlsChannel::mayHaveMore() const
{
    switch (m_latest) {
    case Outcome::Done:
        return SSL_has_pending(m_ssl.get()) == 1; // Maybe a part of a record only.
    case Outcome::Waiting:
        return false;
    case Outcome::Ended:
    case Outcome::Broken:
        return true;
    }
    return false;
}

bool TlsChannel::write(std::span<const char> data)
{
    if (m_broken) {
        return false;
    }
    ERR_clear_error();
    const int size = sizeForCall(static_cast<qsizetype>(data.size()));
    return size == 0 || outcomeOf(SSL_write(m_ssl.get(), data.data(), size)) == Outcome::Done;
}

void TlsChannel::sendClose()
{
    if (!m_broken) {
        ERR_clear_error();
        SSL_shutdown(m_ssl.get());
    }
}

TlsChannel::Outcome TlsChannel::outcomeOf(int result)
{
    switch (SSL_get_error(m_ssl.get(), result)) {
    case SSL_ERROR_NONE:
        return Outcome::Done;
    case SSL_ERROR_WANT_READ:
        return Outcome::Waiting;
    case SSL_ERROR_ZERO_RETURN:
        return Outcome::Ended;
    default:
        break;
    }
    const unsigned long error = ERR_peek_last_error();
    const char* const reason = error != 0 ? ERR_reason_error_string(error) : nullptr;
    qCDebug(ftpLog, "TLS: %s", reason != nullptr ? reason : "the connection has ended");
    m_broken = true;
    return Outcome::Broken;
}

ServerCertificate TlsChannel::certificate() const
{
    const Certificate certificate = peerCertificate(m_ssl.get());
    if (certificate == nullptr) {
        return {};
    }
    return { .fingerprint = fingerprintOf(certificate.get()),
             .subject = textOf(X509_get_subject_name(certificate.get())),
             .issuer = textOf(X509_get_issuer_name(certificate.get())),
             .hosts = hostsOf(certificate.get()),
             .validFrom = timeOf(X509_get0_notBefore(certificate.get())),
             .validUntil = timeOf(X509_get0_notAfter(certificate.get())),
             .problems = m_problems };
}

QString TlsChannel::protocol() const
{
    return QString::fromLatin1(SSL_get_version(m_ssl.get()));
}

QString TlsChannel::cipher() const
{
    return QString::fromLatin1(SSL_get_cipher_name(m_ssl.get()));
}

bool TlsChannel::isResumed() const
{
    return SSL_session_reused(m_ssl.get()) == 1;
}
