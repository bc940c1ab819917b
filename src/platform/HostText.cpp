#include "HostText.h"

#include <QStringList>
#include <QUrl>

#include <algorithm>
#include <arpa/inet.h>

using namespace Qt::StringLiterals;

namespace {

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool isLetterOrDigit(QChar c)
{
    return isDigit(c) || (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

bool isASCII(const QString& text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
}

/// @p host is ASCII. No octets with leading zeros: some readers take those as octal.
bool isIPv4Address(const QString& host)
{
    in_addr parsed{};
    return inet_pton(AF_INET, host.toLatin1().constData(), &parsed) == 1;
}

bool isIPv6Address(const QString& host)
{
    // Also keeps out a NUL, where the system's parser would stop.
    const bool plausible
        = std::all_of(host.begin(), host.end(), [](QChar c) { return isLetterOrDigit(c) || c == u':' || c == u'.'; });
    in6_addr parsed{};
    return plausible && inet_pton(AF_INET6, host.toLatin1().constData(), &parsed) == 1;
}

bool isLabel(const QString& label)
{
    // Underscores are no part of host names by RFC 1123, but of many names in local networks.
    const bool plain
        = std::all_of(label.begin(), label.end(), [](QChar c) { return isLetterOrDigit(c) || c == u'-' || c == u'_'; });
    return plain && !label.isEmpty() && label.size() <= 63 && !label.startsWith(u'-') && !label.endsWith(u'-');
}

bool isHostName(const QString& host)
{
    // One dot at the end marks a name as complete (RFC 1034, section 3.1).
    const QString name = host.endsWith(u'.') ? host.chopped(1) : host;
    const QStringList labels = name.split(u'.');
    if (name.size() > 253 || !std::all_of(labels.begin(), labels.end(), isLabel)) {
        return false;
    }
    // Nothing but digits at the end: meant as an address.
    const QString& last = labels.last();
    return !std::all_of(last.begin(), last.end(), isDigit) || isIPv4Address(host);
}

/// A ":" and a port, or nothing at all.
bool isPortSuffix(const QString& suffix)
{
    if (suffix.isEmpty()) {
        return true;
    }
    const QString digits = suffix.mid(1);
    if (!suffix.startsWith(u':') || digits.isEmpty() || digits.size() > 5
        || !std::all_of(digits.begin(), digits.end(), isDigit)) {
        return false;
    }
    const int port = digits.toInt();
    return port >= 1 && port <= 65535;
}

} // namespace

QString hostText(const QString& address)
{
    if (address.startsWith(u'[')) {
        const qsizetype end = address.indexOf(u']');
        const bool valid = end > 0 && isIPv6Address(address.mid(1, end - 1)) && isPortSuffix(address.mid(end + 1));
        return valid ? address : QString();
    }
    const qsizetype colon = address.indexOf(u':');
    const QString typed = colon < 0 ? address : address.left(colon);
    const QString suffix = colon < 0 ? QString() : address.mid(colon);
    if (!typed.isValidUtf16() || !isPortSuffix(suffix)) {
        return QString();
    }
    const QString host = isASCII(typed) ? typed : QString::fromLatin1(QUrl::toAce(typed));
    return isHostName(host) ? host + suffix : QString();
}
