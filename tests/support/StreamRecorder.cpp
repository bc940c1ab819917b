#include "StreamRecorder.h"

#include "WaitFor.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

QString textOf(const FTPStreamError& error)
{
    switch (error.domain) {
    case FTPStreamError::Domain::FTP:
        return u"FTP %1"_s.arg(error.code);
    case FTPStreamError::Domain::Certificate:
        return u"certificate"_s;
    case FTPStreamError::Domain::Silent:
        return u"silent"_s;
    case FTPStreamError::Domain::Unsendable:
        return u"unsendable"_s;
    case FTPStreamError::Domain::Other:
        return u"other"_s;
    case FTPStreamError::Domain::None:
        break;
    }
    return u"no error"_s;
}

} // namespace

void StreamRecorder::start(std::unique_ptr<FTPStream> stream, const QString& userName, const QString& password)
{
    m_stream = std::move(stream);
    m_log.clear();
    m_written = 0;
    m_ended = false;
    if (!userName.isNull() && !(m_stream->setUserName(userName) && m_stream->setPassword(password))) {
        record(u"login refused"_s);
        return;
    }
    m_stream->setDelegate(this);
    m_stream->open();
}

QStringList StreamRecorder::waitForEnd()
{
    ::waitFor([this] { return m_ended; });
    return m_log;
}

bool StreamRecorder::waitFor(const QString& event)
{
    return ::waitFor([this, &event] { return !m_log.isEmpty() && m_log.last() == event; });
}

void StreamRecorder::handleEvent(FTPStream& stream, FTPStreamEvent event)
{
    switch (event) {
    case FTPStreamEvent::OpenCompleted:
        record(u"open"_s);
        break;
    case FTPStreamEvent::HasBytesAvailable:
        if (isIdle) {
            record(u"bytes"_s);
        } else {
            readMore(static_cast<FTPReadStream&>(stream));
        }
        break;
    case FTPStreamEvent::HasSpaceAvailable:
        record(u"space"_s);
        if (!isIdle && m_stream != nullptr) {
            writeMore(static_cast<FTPWriteStream&>(stream));
        }
        break;
    case FTPStreamEvent::EndEncountered:
        m_ended = true;
        record(u"created"_s);
        break;
    case FTPStreamEvent::ErrorOccurred:
        m_ended = true;
        record(textOf(stream.error()));
        break;
    }
}

void StreamRecorder::record(const QString& text)
{
    if (m_log.isEmpty() || m_log.last() != text) {
        m_log.append(text);
    }
    if (onEvent) {
        onEvent(text);
    }
}

void StreamRecorder::writeMore(FTPWriteStream& stream)
{
    if (m_written == data.size()) {
        m_ended = true;
        record(u"end"_s);
        return;
    }
    const qsizetype size = std::min(blockSize, data.size() - m_written);
    const qint64 count = stream.write(std::span(data.constData() + m_written, static_cast<std::size_t>(size)));
    if (count < 1) {
        m_ended = true;
        record(u"write answered %1"_s.arg(count));
        return;
    }
    m_written += count;
}

void StreamRecorder::readMore(FTPReadStream& stream)
{
    std::array<char, 32768> buffer{};
    const qint64 count = stream.read(buffer);
    if (count > 0) {
        data.append(buffer.data(), count);
        record(u"bytes"_s);
        return;
    }
    m_ended = true;
    record(count == 0 ? u"end"_s : u"read answered -1"_s);
}
