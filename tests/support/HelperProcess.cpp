#include "HelperProcess.h"

#include <QDeadlineTimer>

using namespace Qt::StringLiterals;

namespace {

constexpr int startMs = 60'000; ///< Others may keep the machine busy.
constexpr int stopMs = 10'000;

} // namespace

HelperProcess::HelperProcess(const QString& program, const QStringList& arguments)
{
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(u"/usr/bin/python3"_s, QStringList{ u"" TEST_SERVERS_DIR "/"_s + program } + arguments);
    QDeadlineTimer deadline(startMs);
    while (!m_process.canReadLine() && m_process.state() != QProcess::NotRunning && !deadline.hasExpired()) {
        m_process.waitForReadyRead(static_cast<int>(deadline.remainingTime()));
    }
    if (m_process.canReadLine()) {
        m_words = m_process.readLine().trimmed().split(' ');
    }
}

HelperProcess::~HelperProcess()
{
    stop();
}

QString HelperProcess::value(const QByteArray& name) const
{
    const qsizetype index = m_words.indexOf(name);
    return index >= 0 ? QString::fromUtf8(m_words.value(index + 1)) : QString();
}

QByteArray HelperProcess::stop()
{
    m_process.closeWriteChannel();
    if (m_process.state() != QProcess::NotRunning && !m_process.waitForFinished(stopMs)) {
        m_process.kill();
        m_process.waitForFinished();
    }
    return m_process.readAllStandardOutput();
}
