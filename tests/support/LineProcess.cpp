#include "LineProcess.h"

#include <QDeadlineTimer>

#include <chrono>
#include <stdexcept>

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
    m_process.setProgram(u"/usr/bin/python3"_s);
    m_process.setArguments(QStringList{ u"-B"_s, QStringLiteral(TEST_SOURCE_DIR) + u"/servers/"_s + script }
                           + arguments);
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start();
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
    m_process.write(line + '\n');
    const QDeadlineTimer deadline(patience);
    while (m_process.bytesToWrite() > 0) {
        if (!m_process.waitForBytesWritten(milliseconds(deadline))) {
            fail(u"takes no lines"_s);
        }
    }
}

std::optional<QByteArray> LineProcess::takeLine()
{
    if (!m_process.canReadLine() && m_process.state() != QProcess::NotRunning) {
        m_process.waitForReadyRead(0);
    }
    if (!m_process.canReadLine()) {
        return std::nullopt;
    }
    QByteArray line = m_process.readLine();
    line.chop(1);
    return line;
}

QByteArray LineProcess::waitForLine()
{
    const QDeadlineTimer deadline(patience);
    while (!m_process.canReadLine()) {
        if (!m_process.waitForReadyRead(milliseconds(deadline)) && !m_process.canReadLine()) {
            fail(u"says nothing: "_s + m_process.errorString());
        }
    }
    return takeLine().value_or(QByteArray());
}

void LineProcess::stop()
{
    if (m_process.state() == QProcess::NotRunning) {
        return;
    }
    m_process.closeWriteChannel();
    if (!m_process.waitForFinished(10'000)) {
        m_process.kill();
        m_process.waitForFinished();
    }
}

void LineProcess::fail(const QString& what)
{
    throw std::runtime_error((u"tests/servers/"_s + m_script + u' ' + what).toStdString());
}
