#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

/// One complete reply of the server (RFC 959, section 4.2).
struct Reply {
    int code = 0; ///< 100 to 599
    QByteArray text; ///< The last line without its code, as it came: for parsing and for the log, never as markup.
    /// The lines above that one, as they came, each with a line feed behind it; of a long reply those that
    /// ReplyParser::earlierLimit has room for. Empty for the usual reply.
    QByteArray earlier = {};

    QString readable = {}; ///< Code and text for people: escaped like a line of the log, without the password.
    QStringList readableEarlier = {}; ///< Likewise each of the earlier lines.

    bool isPreliminary() const { return code < 200; }
    bool isPositive() const { return code >= 200 && code < 300; }
    bool isIntermediate() const { return code >= 300 && code < 400; }
    bool isNegative() const { return code >= 400; }
    /// Whether a transfer of data is done: 226, or 250, and no other positive reply (section 5.4).
    bool isCompletion() const { return code == 226 || code == 250; }
    /// Whether the server did not understand, or not in this order: what commands ahead of replies lead to where they
    /// are not understood.
    bool isConfusion() const { return code == 500 || code == 503; }
};
/// A digit as replies are written with.
inline bool isReplyDigit(char c)
{
    return c >= '0' && c <= '9';
}
