#include "TrustedCertificates.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype fingerprintSize = 32;

QString keyOf(const QString& host, quint16 port)
{
    const QString name = host.toLower();
    return u"%1:%2"_s.arg(name.contains(u':') ? u"[%1]"_s.arg(name) : name, QString::number(port));
}

} // namespace

TrustedCertificates& TrustedCertificates::standard()
{
    static TrustedCertificates certificates(QFileInfo(UserDefaults::standard().filePath()).path()
                                            + u"/trusted-certificates.json"_s);
    return certificates;
}

TrustedCertificates::TrustedCertificates(const QString& filePath)
    : m_file(filePath)
{
}

QByteArray TrustedCertificates::fingerprint(const QString& host, quint16 port) const
{
    const QString key = keyOf(host, port);
    if (const auto unstored = m_unstored.constFind(key); unstored != m_unstored.constEnd()) {
        return *unstored;
    }
    const QByteArray bytes = QByteArray::fromHex(m_file.string(key).toLatin1());
    return bytes.size() == fingerprintSize ? bytes : QByteArray();
}

bool TrustedCertificates::trust(const QString& host, quint16 port, const QByteArray& fingerprint)
{
    const QString key = keyOf(host, port);
    m_unstored.remove(key);
    const bool isStored = m_file.store({ { key, QString::fromLatin1(fingerprint.toHex()) } });
    if (!isStored) {
        m_unstored.insert(key, fingerprint);
    }
    return isStored;
}

bool TrustedCertificates::forget(const QString& host, quint16 port)
{
    const QString key = keyOf(host, port);
    m_unstored.remove(key);
    return m_file.store({ { key, QJsonValue() } });
}
