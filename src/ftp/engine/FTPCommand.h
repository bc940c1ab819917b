#pragma once

#include <QByteArray>

/// What a command asks for; Greeting stands for the reply that the server sends unasked at the start.
enum class FTPVerb {
    Greeting,
    Auth,
    User,
    Pass,
    Pbsz,
    Prot,
    Pwd,
    Cwd,
    Type,
    Epsv,
    Pasv,
    Size,
    Stor,
    Retr,
    List,
    Mkd,
    Quit
};

/// One command, without its line end. Its argument never holds CR, LF or NUL.
struct FTPCommand {
    FTPVerb verb = FTPVerb::Quit;
    QByteArray argument;

    QByteArray line() const;
    /// The command as the log may show it: without a password, and with unprintable bytes escaped.
    QByteArray loggedLine() const;
};

/// @p path as an argument: one that does not begin with "/" is made safe from servers that take a "~" at its beginning
/// for a home folder.
QByteArray relativeArgument(const QByteArray& path);

/// @p text with everything outside printable ASCII escaped, and cut where it is very long.
QByteArray escapedForLog(QByteArrayView text);
