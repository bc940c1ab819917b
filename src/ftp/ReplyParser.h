#pragma once

#include "Reply.h"

#include <QByteArray>

#include <optional>

/// Turns the bytes of a control connection into replies (RFC 959, section 4.2), however they are cut. No socket, linear
/// in the bytes, bounded memory.
class ReplyParser {
public:
    static constexpr qsizetype lineLimit = qsizetype(64) * 1024; ///< Bytes of one line.
    static constexpr qsizetype replyLimit = qsizetype(1024) * 1024; ///< Bytes of all lines of one reply.
    static constexpr qsizetype earlierLimit = qsizetype(4) * 1024; ///< Bytes of Reply::earlier.

    void append(QByteArrayView bytes);

    /// The next complete reply; std::nullopt when none is complete yet, and always once isBroken().
    std::optional<Reply> next();

    /// The peer does not speak FTP: a line that is no reply, or one beyond the limits.
    bool isBroken() const { return m_broken; }

private:
    std::optional<Reply> takeLine(QByteArrayView line);
    void keep(QByteArrayView line);

    QByteArray m_bytes; ///< Received and not yet read from m_start on.
    qsizetype m_start = 0; ///< Where the present line begins.
    qsizetype m_searched = 0; ///< No line end stands before this place.
    qsizetype m_replyLength = 0; ///< Bytes of the lines of the present multi-line reply.
    int m_multiLineCode = 0; ///< The code that ends the present multi-line reply, or 0.
    QByteArray m_earlier; ///< Of the present multi-line reply.
    bool m_broken = false;
};
