#include "ItemOperations.h"

#include "FTPManager.h"

ItemOperations libraryItemOperations()
{
    return {
        .deleteFileNamed
        = [](const QByteArray& name, const FMServer& server) { return FTPManager().deleteFileNamed(name, &server); },
        .createNewFolder
        = [](const QString& name, const FMServer& server) { return FTPManager().createNewFolder(name, &server); },
    };
}
