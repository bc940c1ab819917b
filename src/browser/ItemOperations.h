#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

class FMServer;

/// What has become of an operation.
enum class ItemOutcome {
    Done,
    Refused, ///< By the server or the network, or before anything was sent.
    Unanswered, ///< The server has not answered in time: nobody knows what it has done.
    NotTrusted, ///< The server's certificate is neither good nor trusted.
};

/// What is done to single items on the server. Each waits for the server's answer, however long that takes. Called on
/// threads of their own, which may outlive everything else: an operation refers to nothing but its arguments and what
/// it owns.
struct ItemOperations {
    /// @p name: its bytes, as the server knows them.
    std::function<ItemOutcome(const QByteArray& name, const FMServer& server)> deleteFileNamed;
    std::function<ItemOutcome(const QString& name, const FMServer& server)> createNewFolder;
};

/// The operations of the FTP manager library.
ItemOperations libraryItemOperations();
