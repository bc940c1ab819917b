#include "ConnectionTestText.h"

using namespace Qt::StringLiterals;

namespace {

QString protectionText(const FTPSecurity& security)
{
    if (security.protocol.isNull()) {
        return u"nothing was encrypted."_s;
    }
    return security.isTrustedBySystem
        ? u"all was encrypted with %1."_s.arg(security.protocol)
        : u"all was encrypted with %1, with a certificate that you trust."_s.arg(security.protocol);
}

} // namespace

QString connectionTestText(const FTPConnectionTestReport& report)
{
    switch (report.state) {
    case FTPConnectionTestState::Connecting:
        return u"Connecting…"_s;
    case FTPConnectionTestState::LoggingIn:
        return u"The server is there. Logging in…"_s;
    case FTPConnectionTestState::OpeningFolder:
        return u"Logged in. Opening the folder…"_s;
    case FTPConnectionTestState::CreatingFolder:
        return u"Logged in. Creating the folder…"_s;
    case FTPConnectionTestState::Works:
        return u"It works: the login is accepted, the folder is there, and "_s
            + protectionText(report.security.value_or(FTPSecurity()));
    case FTPConnectionTestState::NoSuchHost:
        return u"No host of this name was found."_s;
    case FTPConnectionTestState::Unreachable:
        return u"There is no FTP server at this address, or it cannot be reached."_s;
    case FTPConnectionTestState::NoAnswer:
        return u"The server does not answer."_s;
    case FTPConnectionTestState::Lost:
        return u"The server has ended the connection."_s;
    case FTPConnectionTestState::NotEncrypted:
        return u"The server does not come to terms about encryption, and was told neither name nor password."_s;
    case FTPConnectionTestState::NotTrusted:
        return u"The server’s certificate is not trusted, and it was told neither name nor password."_s;
    case FTPConnectionTestState::LoginRefused:
        return u"The server refuses the login."_s;
    case FTPConnectionTestState::FolderRefused:
        return u"The login is accepted, but the folder is refused."_s;
    case FTPConnectionTestState::FolderNotCreated:
        return u"The login is accepted, but the server does not create the folder."_s;
    case FTPConnectionTestState::NotSendable:
        break;
    }
    return u"The user name, the password or the folder holds a character that cannot be sent."_s;
}

QString connectionTestReason(const FTPConnectionTestReport& report)
{
    const bool isRefusal = report.reply.startsWith(u'4') || report.reply.startsWith(u'5');
    return isRefusal && isEnd(report.state) && report.state != FTPConnectionTestState::Works ? report.reply : QString();
}
