#pragma once

#include <QString>

#include <functional>

class FMServer;

/// What is done to single items on the server. Each waits for the server's answer: whether it was done.
struct ItemOperations {
    std::function<bool(const QString& name, const FMServer& server)> deleteFileNamed;
    std::function<bool(const QString& name, const FMServer& server)> createNewFolder;
};

/// The operations of the FTP manager library.
ItemOperations libraryItemOperations();
