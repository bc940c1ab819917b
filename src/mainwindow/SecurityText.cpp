#include "SecurityText.h"

using namespace Qt::StringLiterals;

QString securityText(const std::optional<FTPSecurity>& security)
{
    if (!security) {
        return u"No connection has been made yet."_s;
    }
    if (security->protocol.isNull()) {
        return u"The last connection was not encrypted: the password and the files travelled in clear."_s;
    }
    const QString how = u"The last connection was encrypted with %1, %2. "_s.arg(security->protocol, security->cipher);
    return how
        + (security->isTrustedBySystem
               ? u"The system vouches for the server's certificate."_s
               : u"The server's certificate is one that you trust; the system does not vouch for it."_s);
}

Padlock securityPadlock(const std::optional<FTPSecurity>& security)
{
    if (!security) {
        return Padlock::None;
    }
    if (security->protocol.isNull()) {
        return Padlock::Open;
    }
    return security->isTrustedBySystem ? Padlock::Closed : Padlock::Ticked;
}
