#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

/// What is wrong with a server's certificate.
enum class CertificateProblem {
    SelfSigned, ///< It is signed by itself, or by an issuer that is signed by itself and not known.
    UnknownIssuer, ///< No authority that the system trusts has signed it.
    Expired, ///< It, or one above it, is no longer valid.
    NotYetValid, ///< It, or one above it, is not valid yet.
    WrongHost, ///< It was issued for another host.
    Revoked, ///< Its issuer has taken it back.
    Invalid, ///< Anything else: a signature that is wrong or too weak, another purpose.
};

/// The certificate that a server has shown, and how the system's store and the name of the host judge it.
struct ServerCertificate {
    QByteArray fingerprint; ///< SHA-256 of the certificate: 32 bytes. Empty when there is no certificate.
    QString subject; ///< For people, such as "CN=ftp.example, O=Example". As the server says it: untrusted text.
    QString issuer; ///< Like the subject.
    QStringList hosts; ///< The names and addresses that it was issued for, at most twenty. Untrusted like the subject.
    QDateTime validFrom; ///< In UTC.
    QDateTime validUntil; ///< In UTC.
    QList<CertificateProblem> problems; ///< Each once, in the order of the enumeration; empty: it is good.

    /// The fingerprint for people: pairs of capital hexadecimal digits with colons between them.
    QString fingerprintText() const { return QString::fromLatin1(fingerprint.toHex(':').toUpper()); }
};
