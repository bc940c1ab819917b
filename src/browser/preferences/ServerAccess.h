#pragma once

#include "FTPConnectionTest.h"

#include <QString>

#include <functional>
#include <memory>

/// What forms that edit a server ask of the application.
struct ServerAccess {
    /// Where files would go with this address and folder; null: nowhere.
    std::function<QString(const QString& address, const QString& folder)> destinationFor;
    /// Whether a certificate is trusted that the server of this destination has shown.
    std::function<bool(const QString& destination)> trustsCertificate = [](const QString&) { return false; };
    /// Trusts it no longer. False when that could not be stored.
    std::function<bool(const QString& destination)> forgetCertificate = [](const QString&) { return false; };
    /// Tests a connection; see FTPConnections::startConnectionTest(). Null when that is not possible.
    std::function<std::unique_ptr<FTPConnectionTest>(const FTPConnectionTestRequest& request,
                                                     FTPConnectionTestHandler handler)>
        startConnectionTest = [](const FTPConnectionTestRequest&, const FTPConnectionTestHandler&) { return nullptr; };
};
