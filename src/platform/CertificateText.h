#pragma once

#include "CertificateTrust.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

// What is said to people about certificates. Everything that comes from the server is made visible, and is plain text.

/// Each thing that is wrong with the certificate, as a sentence. @p now: what counts as past.
QStringList problemTexts(const CertificateQuestion& question, const QDateTime& now);

/// The host, in brackets when it is an IPv6 address, and the port.
QString serverText(const CertificateQuestion& question);

/// When the certificate is valid.
QString validityText(const ServerCertificate& certificate);

/// @p fingerprint, the bytes, in two lines of sixteen pairs of hexadecimal digits.
QString fingerprintLines(const QByteArray& fingerprint);
