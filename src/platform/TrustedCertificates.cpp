#include "TrustedCertificates.h"

#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype fingerprintSize = 32;

QString keyOf(const QString& host, quint16 port)
{
    const QString name = host.toLower();
    return u"%1:%2"_s.arg(name.contains(u':') ? u"[%1]"_s.arg(name) : name, QString::number(port));
}

/// The fingerprint that @p value holds; empty when it holds none.
QByteArray fingerprintIn(const QJsonValue& value)
{
    const QByteArray bytes = QByteArray::fromHex(value.toString().toLatin1());
    return bytes.size() == fingerprintSize ? bytes : QByteArray();
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
    return fingerprintIn(m_file.values().value(key));
}

bool TrustedCertificates::isDamaged() const
{
    const QJsonObject values = m_file.values();
    const QFileInfo file(filePath());
    const bool leadsNowhere = file.isSymLink() && !file.exists();
    return leadsNowhere || !m_file.isReadable()
        || std::any_of(values.begin(), values.end(),
                       [](const QJsonValue& value) { return fingerprintIn(value).isEmpty(); });
}

bool TrustedCertificates::forgetDamage()
{
    QJsonObject readable = m_file.values();
    for (const QString& key : readable.keys()) {
        if (fingerprintIn(readable.value(key)).isEmpty()) {
            readable.remove(key);
        }
    }
    return m_file.replace(readable);
}

bool TrustedCertificates::trust(const QString& host, quint16 port, const QByteArray& fingerprint)
{
    if (isDamaged()) {
        return false;
    }
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
    return m_file.isReadable() && m_file.store({ { key, QJsonValue() } });
}
