#include "AddressAdvice.h"

#include "HostText.h"

#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

bool isHost(const QString& text)
{
    return !hostText(text).isNull();
}

/// The part of @p address that says how to talk to the server, "ftp://"; empty without one.
QString scheme(const QString& address)
{
    static const QRegularExpression pattern(u"^[A-Za-z][A-Za-z0-9+.-]*:/+"_s);
    return pattern.match(address).captured();
}

/// The advice about a part that does not belong to the address; null without one.
QString adviceOnParts(const QString& address)
{
    const QString prefix = scheme(address);
    const bool isFtp = prefix.startsWith("ftp:"_L1, Qt::CaseInsensitive);
    if (!addressWithoutFtps(address).isNull()) {
        return u"Encryption is set below, without ftps://"_s;
    }
    if (!prefix.isEmpty() && !isFtp) {
        return u"Quillbox speaks FTP and FTPS only"_s;
    }
    if (isFtp) {
        return u"Leave out “%1”: the name of the server is enough."_s.arg(prefix);
    }
    if (address.contains(u'@')) {
        return u"The user name has a field of its own."_s;
    }
    if (address.contains(u'/')) {
        return u"The folder has a field of its own."_s;
    }
    if (isHost(u'[' + address + u']')) {
        return u"An IPv6 address stands in brackets, as in [::1]."_s;
    }
    const qsizetype colon = address.lastIndexOf(u':');
    if (colon > 0 && isHost(address.left(colon))) {
        return u"The port behind “:” is a number from 1 to 65535."_s;
    }
    return QString();
}

/// The advice about a character that no server's name holds; null without one.
QString adviceOnCharacters(const QString& address)
{
    for (const char32_t character : address.toUcs4()) {
        if (!QChar::isPrint(character)) {
            return u"The server address holds an invisible character."_s;
        }
        const bool isUsual = QChar::isLetterOrNumber(character) || QChar::isMark(character)
            || (character < 0x80 && u"-_.:[]"_s.contains(QChar(static_cast<char16_t>(character))));
        if (!isUsual) {
            return u"No server address holds “%1”."_s.arg(QString::fromUcs4(&character, 1));
        }
    }
    return QString();
}

} // namespace

QString addressWithoutFtps(const QString& address)
{
    const QString prefix = scheme(address);
    const bool isFtps = prefix.startsWith("ftps:"_L1, Qt::CaseInsensitive);
    return isFtps ? address.sliced(prefix.size()) : QString();
}

QString addressAdvice(const QString& address)
{
    if (address.isEmpty()) {
        return u"Enter the address of the server."_s;
    }
    if (address.front().isSpace() || address.back().isSpace()) {
        return u"There is a blank before or after the server address."_s;
    }
    if (std::any_of(address.begin(), address.end(), [](QChar c) { return c.isSpace(); })) {
        return u"The server address holds a blank."_s;
    }
    for (const QString& advice : { adviceOnParts(address), adviceOnCharacters(address) }) {
        if (!advice.isNull()) {
            return advice;
        }
    }
    static const QRegularExpression numbers(u"^[0-9.]+$"_s);
    return numbers.match(address).hasMatch() ? u"An address of numbers has four of them, from 0 to 255."_s
                                             : u"This is not the name or the address of a server."_s;
}
