#include "ItemOperations.h"

#include "FTPManager.h"

namespace {

ItemOutcome outcomeOf(const FTPManager& manager, bool isDone)
{
    if (isDone) {
        return ItemOutcome::Done;
    }
    if (manager.hasTimedOut()) {
        return ItemOutcome::Unanswered;
    }
    return manager.hasRefusedCertificate() ? ItemOutcome::NotTrusted : ItemOutcome::Refused;
}

} // namespace

ItemOperations libraryItemOperations()
{
    return {
        .deleteFileNamed =
            [](const QByteArray& name, const FMServer& server) {
                FTPManager manager;
                const bool isDone = manager.deleteFileNamed(name, &server);
                return outcomeOf(manager, isDone);
            },
        .createNewFolder =
            [](const QString& name, const FMServer& server) {
                FTPManager manager;
                const bool isDone = manager.createNewFolder(name, &server);
                return outcomeOf(manager, isDone);
            },
    };
}
