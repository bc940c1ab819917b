#include "Relay.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QVariant>

using namespace Qt::StringLiterals;

Relay::Relay(quint16 serverPort)
    : m_process(u"relay.py"_s, { QString::number(serverPort) })
{
}

QString Relay::location(const QString& path) const
{
    return u"ftp://127.0.0.1:%1/%2"_s.arg(QString::number(m_process.port()), path);
}

Relay::Counts Relay::stop()
{
    m_process.stop();
    const QJsonObject counts = QJsonDocument::fromJson(m_process.takeLine().value_or(QByteArray())).object();
    return { counts[u"control"].toInt(), counts[u"data"].toInt(), counts[u"commands"].toVariant().toStringList() };
}
