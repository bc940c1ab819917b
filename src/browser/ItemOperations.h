#pragma once

#include "FMServer.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <utility>

/// What has become of an operation.
enum class ItemOutcome {
    Done,
    Refused, ///< By the server or the network, or before anything was sent.
    Unanswered, ///< The server has not answered in time: nobody knows what it has done.
    NotTrusted, ///< The server's certificate is neither good nor trusted.
};

/// The same with the server's words for a refusal, escaped for people; null where it gave none.
struct ItemResult {
    ItemResult(ItemOutcome itsOutcome, QString itsWords = {})
        : outcome(itsOutcome)
        , words(std::move(itsWords))
    {
    }

    ItemOutcome outcome;
    QString words;
};

/// What a complete listing says that an item is.
enum class ListedKind { Unknown, File, Folder };

/// What is done to single items on the server. Each waits for the server's answer, however long that takes. Called on
/// threads of their own, which may outlive everything else: an operation refers to nothing but its arguments and what
/// it owns.
struct ItemOperations {
    /// @p name: its bytes, as the server knows them. The name decides what the item is taken for; where the server
    /// refuses that and @p kind is the other one, it is deleted as that.
    std::function<ItemResult(const QByteArray& name, ListedKind kind, FMServer& server)> deleteFileNamed;
    std::function<ItemResult(const QString& name, FMServer& server)> createNewFolder;
};

/// The operations of the FTP manager library, with @p timeouts.
ItemOperations libraryItemOperations(const FTPTimeouts& timeouts = {});
