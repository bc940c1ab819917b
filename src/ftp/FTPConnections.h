#pragma once

#include "FTPConnectionTest.h"

#include <QString>

#include <memory>

/// What concerns the connections to servers rather than one stream; an interface, so that tests can stand in for the
/// network. Locations are those of streams.
class FTPConnections {
public:
    virtual ~FTPConnections() = default;

    /// Ends the connections that are kept for further streams to the server of @p location, for the sake of a server
    /// that allows few logins. Returns at once.
    virtual void closeIdleConnections(const QString& location) = 0;

    /// Whether the server of @p location is not known to refuse a second login beside one of ours.
    virtual bool allowsFurtherLogins(const QString& location) const = 0;

    /// Tests a connection as a stream to the folder would make it, on a connection of its own. Moves nothing, and
    /// changes nothing unless the folder is to be made.
    virtual std::unique_ptr<FTPConnectionTest> startConnectionTest(const FTPConnectionTestRequest& request,
                                                                   FTPConnectionTestHandler handler)
        = 0;
};
