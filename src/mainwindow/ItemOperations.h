#pragma once

#include <QString>

#include <functional>

class FMServer;

/// What is done to single items on the server. Each waits for the server's answer, however long that takes: whether it
/// was done. Called on threads of their own, which may outlive everything else: an operation refers to nothing but its
/// arguments and what it owns.
struct ItemOperations {
    std::function<bool(const QString& name, const FMServer& server)> deleteFileNamed;
    std::function<bool(const QString& name, const FMServer& server)> createNewFolder;
};

/// The operations of the FTP manager library.
ItemOperations libraryItemOperations();
