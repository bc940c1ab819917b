#include "ReplyParser.h"

#include <utility>

namespace {

/// The reply code that a line begins with, or 0.
int codeOf(QByteArrayView line)
{
    if (line.size() < 3 || !isReplyDigit(line[0]) || !isReplyDigit(line[1]) || !isReplyDigit(line[2])) {
        return 0;
    }
    const int code = (line[0] - '0') * 100 + (line[1] - '0') * 10 + (line[2] - '0');
    return code >= 100 && code <= 599 ? code : 0;
}

QByteArray textOf(QByteArrayView line)
{
    return line.size() > 4 ? line.sliced(4).toByteArray() : QByteArray();
}

} // namespace

void ReplyParser::append(QByteArrayView bytes)
{
    if (m_start > 0) {
        m_bytes.remove(0, m_start);
        m_searched -= m_start;
        m_start = 0;
    }
    m_bytes.append(bytes);
}

std::optional<Reply> ReplyParser::next()
{
    while (!m_broken) {
        const qsizetype end = m_bytes.indexOf('\n', m_searched);
        if ((end < 0 ? m_bytes.size() : end) - m_start > lineLimit) {
            m_broken = true;
            break;
        }
        if (end < 0) {
            m_searched = m_bytes.size();
            return std::nullopt;
        }
        QByteArrayView line = QByteArrayView(m_bytes).sliced(m_start, end - m_start);
        if (line.endsWith('\r')) {
            line.chop(1);
        }
        m_start = end + 1;
        m_searched = m_start;
        if (std::optional<Reply> reply = takeLine(line)) {
            return reply;
        }
    }
    m_bytes.clear();
    m_start = 0;
    m_searched = 0;
    return std::nullopt;
}

std::optional<Reply> ReplyParser::takeLine(QByteArrayView line)
{
    m_replyLength += line.size();
    const int code = codeOf(line);
    const char separator = line.size() > 3 ? line[3] : ' ';
    if (m_multiLineCode != 0) {
        // Only the same code followed by a blank ends the reply; lines in between may begin with any digits.
        if (code == m_multiLineCode && separator == ' ') {
            m_multiLineCode = 0;
            m_replyLength = 0;
            return Reply{ code, textOf(line), std::exchange(m_earlier, {}) };
        }
        keep(line);
        m_broken = m_replyLength > replyLimit;
        return std::nullopt;
    }
    m_replyLength = 0;
    if (line.isEmpty()) {
        return std::nullopt; // Some servers put an empty line between replies.
    }
    if (code == 0) {
        m_broken = true;
        return std::nullopt;
    }
    if (separator == '-') {
        m_multiLineCode = code;
        keep(line);
        return std::nullopt;
    }
    return Reply{ code, textOf(line) };
}

/// Keeps @p line, which is not the last one of its reply, where there is room for all of it: a part could hold the
/// beginning of a password that is to be left out.
void ReplyParser::keep(QByteArrayView line)
{
    if (m_earlier.size() + line.size() < earlierLimit) {
        m_earlier.append(line).append('\n');
    }
}
