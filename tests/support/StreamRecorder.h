#pragma once

#include "FTPStream.h"

#include <QByteArray>
#include <QStringList>

#include <functional>
#include <memory>

/// Drives one stream as a well-behaved delegate does and records its reports, repetitions folded: "open", "space",
/// "bytes", "end" (a read that answers 0), "created", "FTP 550", "certificate", "other".
class StreamRecorder final : public FTPStreamDelegate {
public:
    /// Opens @p stream with the login, unless the user name is null.
    void start(std::unique_ptr<FTPStream> stream, const QString& userName = QStringLiteral("anna"),
               const QString& password = QStringLiteral("secret"));
    void close() { m_stream.reset(); }

    /// What an upload sends; what a read has got.
    QByteArray data;
    /// Called in each event, after it was written down and before it is acted upon.
    std::function<void(const QString&)> onEvent;
    /// How much an upload offers at a time.
    qsizetype blockSize = 32768;
    /// While set, has-space and has-bytes are written down and not acted upon.
    bool isIdle = false;

    const QStringList& log() const { return m_log; }
    /// Waits until the stream has ended in one way or another, and answers the log.
    QStringList waitForEnd();
    /// Waits until @p event is the last that was reported.
    bool waitFor(const QString& event);
    /// How many bytes of data the upload has taken.
    qsizetype written() const { return m_written; }
    FTPStream* stream() const { return m_stream.get(); }
    FTPStreamError error() const { return m_stream->error(); }
    QString lastReply() const { return m_stream->lastReply(); }
    FTPSecurity security() const { return m_stream->security().value(); }

private:
    void handleEvent(FTPStream& stream, FTPStreamEvent event) override;
    void record(const QString& text);
    void writeMore(FTPWriteStream& stream);
    void readMore(FTPReadStream& stream);

    std::unique_ptr<FTPStream> m_stream;
    QStringList m_log;
    qsizetype m_written = 0;
    bool m_ended = false;
};
