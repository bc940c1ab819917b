#include "ScriptedServer.h"

#include "WaitFor.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace {

// In the server's texts each character is one byte.
QString textOf(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes);
}

QByteArray bytesOf(const QJsonValue& value)
{
    return value.toString().toLatin1();
}

QJsonArray arrayOf(const QByteArrayList& steps)
{
    QJsonArray array;
    for (const QByteArray& step : steps) {
        array.append(textOf(step));
    }
    return array;
}

QJsonObject objectOf(const ScriptedRule& rule)
{
    QJsonObject object{ { u"on"_s, textOf(rule.on) }, { u"do"_s, arrayOf(rule.steps) } };
    if (!rule.argument.isEmpty()) {
        object[u"argument"_s] = textOf(rule.argument);
    }
    for (const auto& [key, value] : { std::pair{ u"connection"_s, rule.connection }, std::pair{ u"nth"_s, rule.nth },
                                      std::pair{ u"times"_s, rule.times }, std::pair{ u"logins"_s, rule.logins } }) {
        if (value > 0) {
            object[key] = value;
        }
    }
    if (rule.pipelined) {
        object[u"pipelined"_s] = true;
    }
    return object;
}

QStringList argumentsFor(const QString& root, const QHostAddress& address, quint16 port)
{
    return { u"--root"_s, root, u"--address"_s, address.toString(), u"--port"_s, QString::number(port) };
}

bool isEvent(const QJsonObject& event, QLatin1StringView name)
{
    return event[u"event"_s].toString() == name;
}

} // namespace

ScriptedServer::ScriptedServer(const QHostAddress& address, quint16 port)
    : m_address(address)
    , m_process(u"scripted_server.py"_s, argumentsFor(m_root.path(), address, port))
{
}

ScriptedServer::ScriptedServer(const TestCertificate& certificate)
    : m_address(QHostAddress::LocalHost)
    , m_process(u"scripted_server.py"_s, argumentsFor(m_root.path(), m_address, 0) + tlsArguments(certificate))
{
}

QStringList ScriptedServer::tlsArguments(const TestCertificate& certificate) const
{
    const QString pem = m_pemFolder.filePath(u"certificate.pem"_s);
    certificate.writePem(pem);
    return { u"--tls"_s, pem };
}

QString ScriptedServer::address() const
{
    const bool isIPv6 = m_address.protocol() == QAbstractSocket::IPv6Protocol;
    const QString host = isIPv6 ? u'[' + m_address.toString() + u']' : m_address.toString();
    return host + u':' + QString::number(port());
}

QString ScriptedServer::location(const QString& path) const
{
    return u"ftp://"_s + address() + u'/' + path;
}

void ScriptedServer::on(const QByteArray& event, const QByteArrayList& steps)
{
    add({ .on = event, .steps = steps });
}

void ScriptedServer::add(const ScriptedRule& rule)
{
    request({ { u"rule"_s, objectOf(rule) } }, u"ruled"_s);
}

void ScriptedServer::forgetRules()
{
    request({ { u"forget"_s, true } }, u"ruled"_s);
}

void ScriptedServer::act(int connection, const QByteArrayList& steps)
{
    request({ { u"connection"_s, connection }, { u"do"_s, arrayOf(steps) } }, u"done"_s);
}

void ScriptedServer::stop()
{
    m_process.stop();
    m_stopped = true;
    takeEvents();
}

QByteArrayList ScriptedServer::commands(int connection)
{
    return lines("command"_L1, connection);
}

QByteArrayList ScriptedServer::replies(int connection)
{
    return lines("reply"_L1, connection);
}

int ScriptedServer::connectionCount()
{
    return countOf("opened"_L1);
}

int ScriptedServer::openConnectionCount()
{
    const int opened = countOf("opened"_L1);
    return opened - countOf("closed"_L1);
}

int ScriptedServer::dataConnectionCount()
{
    return countOf("data opened"_L1);
}

QList<StoredFile> ScriptedServer::storedFiles()
{
    QList<StoredFile> files;
    for (const QJsonObject& event : events()) {
        if (isEvent(event, "stored"_L1)) {
            files.append({ .name = bytesOf(event[u"name"_s]),
                           .size = event[u"size"_s].toInteger(),
                           .sha256 = bytesOf(event[u"sha256"_s]),
                           .isComplete = event[u"complete"_s].toBool() });
        }
    }
    return files;
}

const QList<QJsonObject>& ScriptedServer::events()
{
    synchronize();
    return m_events;
}

void ScriptedServer::forgetRecords()
{
    synchronize();
    m_events.clear();
}

bool ScriptedServer::waitForCommand(const QByteArray& line, int times)
{
    return waitForEvent(
        [&](const QJsonObject& event) {
            const QByteArray received = bytesOf(event[u"line"_s]);
            return isEvent(event, "command"_L1) && (received == line || received.startsWith(line + ' '));
        },
        times);
}

bool ScriptedServer::waitForReply(const QByteArray& line)
{
    return waitForEvent(
        [&](const QJsonObject& event) { return isEvent(event, "reply"_L1) && bytesOf(event[u"line"_s]) == line; });
}

bool ScriptedServer::waitForConnectionsClosed()
{
    return waitFor([this] { return openConnectionCount() == 0; });
}

void ScriptedServer::putFile(const QString& name, const QByteArray& content)
{
    QDir().mkpath(QFileInfo(pathOf(name)).path());
    QFile file(pathOf(name));
    if (!file.open(QFile::WriteOnly) || file.write(content) != content.size()) {
        throw std::runtime_error("cannot write " + pathOf(name).toStdString());
    }
}

std::optional<QByteArray> ScriptedServer::file(const QString& name) const
{
    QFile file(pathOf(name));
    return file.open(QFile::ReadOnly) ? std::optional(file.readAll()) : std::nullopt;
}

void ScriptedServer::request(const QJsonObject& request, const QString& answer)
{
    takeEvents();
    const qsizetype known = m_events.size();
    m_process.writeLine(QJsonDocument(request).toJson(QJsonDocument::Compact));
    for (qsizetype next = known;; ++next) {
        while (m_events.size() == next) {
            record(m_process.waitForLine());
        }
        if (m_events[next][u"event"_s] == answer) {
            m_events.removeAt(next);
            return;
        }
        if (isEvent(m_events[next], "misunderstood"_L1)) {
            throw std::runtime_error("the scripted server does not understand: "
                                     + m_events[next][u"text"_s].toString().toStdString());
        }
    }
}

void ScriptedServer::synchronize()
{
    if (!m_stopped) {
        request({ { u"sync"_s, 1 } }, u"sync"_s);
    }
}

void ScriptedServer::takeEvents()
{
    while (const std::optional<QByteArray> line = m_process.takeLine()) {
        record(*line);
    }
}

void ScriptedServer::record(const QByteArray& line)
{
    m_events.append(QJsonDocument::fromJson(line).object());
}

int ScriptedServer::countOf(QLatin1StringView event)
{
    const auto fits = [event](const QJsonObject& one) { return isEvent(one, event); };
    return static_cast<int>(std::ranges::count_if(events(), fits));
}

QByteArrayList ScriptedServer::lines(QLatin1StringView event, int connection)
{
    QByteArrayList found;
    for (const QJsonObject& one : events()) {
        if (isEvent(one, event) && (connection == 0 || one[u"connection"_s].toInt() == connection)) {
            found.append(bytesOf(one.contains(u"raw"_s) ? one[u"raw"_s] : one[u"line"_s]));
        }
    }
    return found;
}

bool ScriptedServer::waitForEvent(const std::function<bool(const QJsonObject&)>& fits, int times)
{
    qsizetype looked = 0;
    int found = 0;
    return waitFor([&] {
        takeEvents();
        while (found < times && looked < m_events.size()) {
            found += fits(m_events[looked++]) ? 1 : 0;
        }
        return found == times;
    });
}
