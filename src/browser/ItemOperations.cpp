#include "ItemOperations.h"

#include "FTPManager.h"
#include "VisibleText.h"

namespace {

ItemResult resultOf(const FTPManager& manager, bool isDone)
{
    if (isDone || manager.isCommandAccepted()) {
        return ItemOutcome::Done;
    }
    if (manager.isUndecided()) {
        return ItemOutcome::Unanswered;
    }
    const FMFailure failure = manager.lastFailure();
    if (failure.kind == FMFailure::Kind::Certificate) {
        return ItemOutcome::NotTrusted;
    }
    return { ItemOutcome::Refused, failure.words.isNull() ? QString() : visibleText(failure.words) };
}

/// Whether the server itself has refused the command for good, so that the other one may be tried.
bool isCommandRefused(const FTPManager& manager)
{
    const FMFailure failure = manager.lastFailure();
    return failure.kind == FMFailure::Kind::Refused && failure.code >= 500;
}

} // namespace

ItemOperations libraryItemOperations(const FTPTimeouts& timeouts)
{
    return {
        .deleteFileNamed =
            [timeouts](const QByteArray& name, ListedKind kind, FMServer& server) {
                server.setTimeouts(timeouts);
                FTPManager manager;
                bool isDone = manager.deleteFileNamed(name, &server);
                const ListedKind supposed = name.contains('.') ? ListedKind::File : ListedKind::Folder;
                if (!isDone && kind != ListedKind::Unknown && kind != supposed && isCommandRefused(manager)) {
                    isDone = manager.deleteItemNamed(
                        name, kind == ListedKind::File ? FTPManager::ItemKind::File : FTPManager::ItemKind::Folder,
                        &server);
                }
                return resultOf(manager, isDone);
            },
        .createNewFolder =
            [timeouts](const QString& name, FMServer& server) {
                server.setTimeouts(timeouts);
                FTPManager manager;
                const bool isDone = manager.createNewFolder(name, &server);
                return resultOf(manager, isDone);
            },
    };
}
