#include "EngineConnections.h"

#include "ConnectionPool.h"
#include "ConnectionTest.h"
#include "FTPEngine.h"
#include "FTPLocation.h"
#include "FTPServerKey.h"
#include "ServerTraits.h"

#include <utility>

void EngineConnections::closeIdleConnections(const QString& location)
{
    if (const std::optional<FTPLocation> server = FTPLocation::fromText(location)) {
        m_engine.pool().closeIdle(server->host, server->port);
    }
}

bool EngineConnections::allowsFurtherLogins(const QString& location) const
{
    const std::optional<FTPLocation> server = FTPLocation::fromText(location);
    return !server || !m_engine.servers().of({ server->host, server->port, {}, {} }).allowsOneLogin();
}

std::unique_ptr<FTPConnectionTest> EngineConnections::startConnectionTest(const FTPConnectionTestRequest& request,
                                                                          FTPConnectionTestHandler handler)
{
    return std::make_unique<ConnectionTest>(m_engine, request, m_trust, std::move(handler));
}
