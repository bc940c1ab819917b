#pragma once

#include "EngineStreams.h"
#include "NetworkManager.h"
#include "Printers.h"
#include "ScriptedServer.h"
#include "Sheets.h"
#include "WaitFor.h"
#include "WindowFixture.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

/// A server in a process of its own, with an empty folder "folder".
struct ServerWithFolder {
    ServerWithFolder() { QDir(m_server.root()).mkdir(QStringLiteral("folder")); }

    ScriptedServer m_server;
};

/// The window's controller with its timer running, the real engine, and a server in a process of its own. The
/// destination is the server's folder "folder".
class WindowServerTest : public ::testing::Test,
                         protected ServerWithFolder,
                         protected EngineStreams,
                         protected WindowFixture {
protected:
    WindowServerTest()
        : WindowFixture(m_streams, m_connections,
                        { { QStringLiteral("Address"), m_server.address() },
                          { QStringLiteral("Username"), QStringLiteral("anna") },
                          { QStringLiteral("Password"), QStringLiteral("secret") },
                          { QStringLiteral("FTPFolder"), QStringLiteral("folder") } })
    {
        m_controller->window().show();
    }

    /// The last word on the transfers, and on the listings.
    QString status() { return textAfterTick("statusTextField"); }
    QString listingStatus() { return textAfterTick("listingStatusTextField"); }

    /// Lists the destination and answers the last word on that.
    QString list()
    {
        m_controller->listFTPDestination();
        EXPECT_TRUE(waitUntilIdle());
        return listingStatus();
    }

private:
    QString textAfterTick(const char* label)
    {
        tick();
        return text(label);
    }
};
