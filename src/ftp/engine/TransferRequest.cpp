#include "TransferRequest.h"

bool TransferRequest::canBeSent() const
{
    const bool isWhole = location && ::canBeSent(userName) && ::canBeSent(password) && ::canBeSent(location->path);
    return isWhole && (isAboutFolder() || !location->name().isEmpty());
}

FTPServerKey TransferRequest::server() const
{
    return { location->host, location->port, userName, password, encryption };
}

QByteArray TransferRequest::folder() const
{
    if (createsFolder) {
        return {};
    }
    return isAboutFolder() ? location->pathWithoutTrailingSlashes() : location->folder();
}

FTPCommand TransferRequest::command() const
{
    const QByteArray argument = relativeArgument(location->name());
    switch (kind) {
    case Kind::Upload:
        return { FTPVerb::Stor, argument };
    case Kind::Download:
        return { FTPVerb::Retr, argument };
    case Kind::FolderCreation:
        return { FTPVerb::Mkd, argument };
    case Kind::Listing:
    case Kind::ConnectionTest:
        break;
    }
    return { FTPVerb::List, {} };
}
