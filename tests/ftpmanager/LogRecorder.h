#pragma once

#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <mutex>

/// What the library logs of a stream that breaks.
inline const QString generalFailure = QStringLiteral("ftp stream failed: general stream error (check credentials?)");

/// Keeps what the library logs, from any thread, while it lives; everything else goes where it went before. There is
/// one at a time.
class LogRecorder {
public:
    LogRecorder();
    LogRecorder(const LogRecorder&) = delete;
    LogRecorder& operator=(const LogRecorder&) = delete;
    ~LogRecorder();

    QStringList lines() const;

private:
    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& message);

    mutable std::mutex m_mutex;
    QStringList m_lines;
    QtMessageHandler m_previous;
};
