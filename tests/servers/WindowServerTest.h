#pragma once

#include "ConnectionPool.h"
#include "EngineStreamFactory.h"
#include "FTPEngine.h"
#include "NetworkManager.h"
#include "Printers.h"
#include "ProgramName.h"
#include "ScriptedServer.h"
#include "Sheets.h"
#include "UserDefaults.h"
#include "ViewController.h"
#include "WaitFor.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

/// The window's controller with its timer running, the real engine, and a server in a process of its own. The
/// destination is the server's folder "folder".
class WindowServerTest : public ::testing::Test {
protected:
    WindowServerTest()
    {
        using namespace Qt::StringLiterals;
        setProgramFileName(u"Quillbox"_s);
        NetworkManager::setReachabilitySource([] { return ReachabilityFlags(ReachabilityFlag::Reachable); });
        QDir(m_server.root()).mkdir(u"folder"_s);
        set({ { u"Address"_s, m_server.address() },
              { u"Username"_s, u"anna"_s },
              { u"Password"_s, u"secret"_s },
              { u"FTPFolder"_s, u"folder"_s } });
        m_controller = std::make_unique<ViewController>(m_streams);
        m_controller->window().show();
    }

    ~WindowServerTest() override
    {
        // Each controller counts a stop when it is destroyed.
        NetworkManager::sharedInstance().setNetworkOperationCount(100);
        m_controller.reset();
        NetworkManager::sharedInstance().setNetworkOperationCount(0);
        NetworkManager::setReachabilitySource(nullptr);
        QFile::remove(UserDefaults::standard().filePath());
        setProgramFileName(QString());
    }

    static void set(const QHash<QString, QJsonValue>& values) { EXPECT_TRUE(UserDefaults::standard().store(values)); }

    QString makeFile(const QString& name, const QByteArray& bytes = "content") const
    {
        QFile file(m_local.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << name.toStdString();
        file.write(bytes);
        return file.fileName();
    }

    bool waitUntilIdle() const
    {
        return waitFor([this] {
            m_controller->onTick(); // A listing that is due begins with a tick.
            return m_controller->fileUploadQueue().isEmpty() && !m_controller->pc().isSending()
                && !m_controller->gc().isReceiving() && !m_controller->lc().isReceiving()
                && !m_controller->cc().isCreating();
        });
    }

    /// What a label shows after the next tick.
    QString text(const char* label)
    {
        m_controller->onTick();
        return m_controller->window().findChild<QLabel*>(QString::fromLatin1(label))->text();
    }
    /// The last word on the transfers, and on the listings.
    QString status() { return text("statusTextField"); }
    QString listingStatus() { return text("listingStatusTextField"); }

    /// Lists the destination and answers the last word on that.
    QString list()
    {
        m_controller->listFTPDestination();
        EXPECT_TRUE(waitUntilIdle());
        return listingStatus();
    }

    QStringList listedNames() const
    {
        QStringList names;
        for (qsizetype row = 0; row < m_controller->listEntries().size(); ++row) {
            names.append(m_controller->listEntries().at(row).name);
        }
        return names;
    }

    QTemporaryDir m_local;
    ScriptedServer m_server;
    FTPEngine m_engine;
    EngineStreamFactory m_streams{ m_engine };
    std::unique_ptr<ViewController> m_controller;
};
