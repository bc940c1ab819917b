#include "LogRecorder.h"

#include "FTPManagerLog.h"

#include <cstring>

namespace {

LogRecorder* recorder = nullptr;

} // namespace

LogRecorder::LogRecorder()
{
    recorder = this;
    m_previous = qInstallMessageHandler(&LogRecorder::handle);
}

LogRecorder::~LogRecorder()
{
    qInstallMessageHandler(m_previous);
    recorder = nullptr;
}

QStringList LogRecorder::lines() const
{
    const std::lock_guard lock(m_mutex);
    return m_lines;
}

void LogRecorder::handle(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (context.category == nullptr || std::strcmp(context.category, ftpManagerLog().categoryName()) != 0) {
        if (recorder->m_previous != nullptr) {
            recorder->m_previous(type, context, message);
        }
        return;
    }
    const std::lock_guard lock(recorder->m_mutex);
    recorder->m_lines.append(message);
}
