#include "FTPCommand.h"

#include <algorithm>

namespace {

QByteArrayView word(FTPVerb verb)
{
    switch (verb) {
    case FTPVerb::Greeting:
        return "";
    case FTPVerb::Auth:
        return "AUTH";
    case FTPVerb::User:
        return "USER";
    case FTPVerb::Pass:
        return "PASS";
    case FTPVerb::Pbsz:
        return "PBSZ";
    case FTPVerb::Prot:
        return "PROT";
    case FTPVerb::Pwd:
        return "PWD";
    case FTPVerb::Cwd:
        return "CWD";
    case FTPVerb::Type:
        return "TYPE";
    case FTPVerb::Epsv:
        return "EPSV";
    case FTPVerb::Pasv:
        return "PASV";
    case FTPVerb::Size:
        return "SIZE";
    case FTPVerb::Stor:
        return "STOR";
    case FTPVerb::Retr:
        return "RETR";
    case FTPVerb::List:
        return "LIST";
    case FTPVerb::Mkd:
        return "MKD";
    case FTPVerb::Quit:
        return "QUIT";
    }
    return "";
}

} // namespace

QByteArray FTPCommand::line() const
{
    QByteArray line = word(verb).toByteArray();
    if (!argument.isEmpty() || verb == FTPVerb::Pass) {
        line.append(' ');
        line.append(argument);
    }
    return line;
}

QByteArray FTPCommand::loggedLine() const
{
    return verb == FTPVerb::Pass ? QByteArray("PASS ****") : escapedForLog(line());
}

QByteArray relativeArgument(const QByteArray& path)
{
    return path.startsWith('~') ? "./" + path : path;
}

QByteArray escapedForLog(QByteArrayView text)
{
    static constexpr qsizetype limit = 400;
    QByteArray escaped;
    for (const char byte : text.first(std::min(text.size(), limit))) {
        if (byte >= ' ' && byte < '\x7f' && byte != '\\') {
            escaped.append(byte);
        } else {
            escaped.append("\\x");
            escaped.append(QByteArray(1, byte).toHex());
        }
    }
    if (text.size() > limit) {
        escaped.append("...");
    }
    return escaped;
}
