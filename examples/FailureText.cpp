#include "FailureText.h"

#include <cstdio>

using namespace Qt::StringLiterals;

int statusOf(const FMFailure& failure)
{
    switch (failure.kind) {
    case FMFailure::Kind::None:
        return 0;
    case FMFailure::Kind::FolderRefused:
    case FMFailure::Kind::Refused:
        return 1;
    case FMFailure::Kind::Unusable:
        return statusOfUsage;
    case FMFailure::Kind::LoginRefused:
        return 3;
    case FMFailure::Kind::NoSuchHost:
    case FMFailure::Kind::CannotConnect:
        return 4;
    case FMFailure::Kind::Lost:
    case FMFailure::Kind::Silent:
    case FMFailure::Kind::Unreadable:
        return 5;
    case FMFailure::Kind::NotEncrypted:
    case FMFailure::Kind::Certificate:
        return 6;
    case FMFailure::Kind::LocalFile:
        return statusOfLocalFile;
    }
    return 1;
}

QString textOf(const FMFailure& failure)
{
    switch (failure.kind) {
    case FMFailure::Kind::None:
        return u"done"_s;
    case FMFailure::Kind::Unusable:
        return u"this name, folder or login cannot be sent"_s;
    case FMFailure::Kind::LocalFile:
        return u"the local file or folder is missing, or cannot be read or written"_s;
    case FMFailure::Kind::NoSuchHost:
        return u"there is no such host"_s;
    case FMFailure::Kind::CannotConnect:
        return u"nobody takes the connection"_s;
    case FMFailure::Kind::NotEncrypted:
        return u"no encryption comes about; no login was sent"_s;
    case FMFailure::Kind::Certificate:
        return u"the server's certificate is not trusted; nothing was sent to it"_s;
    case FMFailure::Kind::LoginRefused:
        return u"the server refuses the login: "_s + failure.words;
    case FMFailure::Kind::FolderRefused:
        return u"the server refuses the folder: "_s + failure.words;
    case FMFailure::Kind::Refused:
        return u"the server refuses: "_s + failure.words;
    case FMFailure::Kind::Lost:
        return u"the connection was lost"_s;
    case FMFailure::Kind::Silent:
        return u"the server has fallen silent"_s;
    case FMFailure::Kind::Unreadable:
        return u"the listing cannot be read"_s;
    }
    return QString();
}

QString printable(const QString& text)
{
    QString shown = text;
    for (QChar& c : shown) {
        if (!c.isPrint() && !c.isSurrogate()) {
            c = u'?';
        }
    }
    return shown;
}

void say(const QString& text)
{
    std::fprintf(stderr, "ftpmanager: %s\n", printable(text).toLocal8Bit().constData());
}

int statusAfterOutput(int status)
{
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        say(u"the output cannot be written"_s);
        return statusOfLocalFile;
    }
    return status;
}
