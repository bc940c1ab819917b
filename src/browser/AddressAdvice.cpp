#include "AddressAdvice.h"

#include <algorithm>

using namespace Qt::StringLiterals;

QString addressAdvice(const QString& address)
{
    if (address.isEmpty()) {
        return u"No destination: enter the address of the server."_s;
    }
    if (std::any_of(address.begin(), address.end(), [](QChar c) { return c.isSpace(); })) {
        return u"No destination: the server address holds a blank."_s;
    }
    if (address.contains(u"://"_s)) {
        return u"No destination: the server address is the server's name alone, without “%1”."_s.arg(
            address.left(address.indexOf(u"://"_s) + 3));
    }
    if (address.contains(u'@')) {
        return u"No destination: the user name has a field of its own."_s;
    }
    if (address.contains(u'/')) {
        return u"No destination: the folder has a field of its own."_s;
    }
    return u"No destination: the server address is not the name or the address of a server."_s;
}
