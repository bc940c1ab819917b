#include "LineProcess.h"

#include "HelperHost.h"

#include <QDeadlineTimer>

#include <chrono>
#include <stdexcept>
#include <sys/socket.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto patience = 60s; // Others may keep the machine busy.

int milliseconds(const QDeadlineTimer& deadline)
{
    return static_cast<int>(deadline.remainingTime());
}

} // namespace

LineProcess::LineProcess(const QString& script, const QStringList& arguments)
    : m_script(script)
{
    m_socket.setSocketDescriptor(HelperHost::start(script, arguments));
    const QByteArray line = waitForLine();
    m_words = line.split(' ');
    m_port = value("port").toUShort();
    if (m_port == 0) {
        fail(u"said: "_s + QString::fromUtf8(line));
    }
}

LineProcess::~LineProcess()
{
    stop();
}

QString LineProcess::value(const QByteArray& name) const
{
    const qsizetype index = m_words.indexOf(name);
    return index >= 0 ? QString::fromUtf8(m_words.value(index + 1)) : QString();
}

void LineProcess::writeLine(const QByteArray& line)
{
    m_socket.write(line + '\n');
    const QDeadlineTimer deadline(patience);
    while (m_socket.bytesToWrite() > 0) {
        if (!m_socket.waitForBytesWritten(milliseconds(deadline))) {
            fail(u"takes no lines"_s);
        }
    }
}

std::optional<QByteArray> LineProcess::takeLine()
{
    if (!m_socket.canReadLine() && isRunning()) {
        m_socket.waitForReadyRead(0);
    }
    if (!m_socket.canReadLine()) {
        return std::nullopt;
    }
    QByteArray line = m_socket.readLine();
    line.chop(1);
    return line;
}

QByteArray LineProcess::waitForLine()
{
    const QDeadlineTimer deadline(patience);
    while (!m_socket.canReadLine()) {
        if (!m_socket.waitForReadyRead(milliseconds(deadline)) && !m_socket.canReadLine()) {
            fail(u"says nothing: "_s + m_socket.errorString());
        }
    }
    return takeLine().value_or(QByteArray());
}

void LineProcess::stop()
{
    if (!isRunning()) {
        return;
    }
    ::shutdown(static_cast<int>(m_socket.socketDescriptor()), SHUT_WR);
    if (!m_socket.waitForDisconnected(10'000) && isRunning()) {
        m_socket.abort();
    }
}

bool LineProcess::isRunning() const
{
    return m_socket.state() != QLocalSocket::UnconnectedState;
}

void LineProcess::fail(const QString& what)
{
    throw std::runtime_error((u"tests/servers/"_s + m_script + u' ' + what).toStdString());
}
