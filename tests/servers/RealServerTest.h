#pragma once

#include "EngineStreamFactory.h"
#include "FTPEngine.h"
#include "NetworkManager.h"
#include "Printers.h"
#include "RealServer.h"
#include "Relay.h"
#include "ServerBytes.h"
#include "WaitFor.h"

#include <QDir>
#include <QFile>
#include <QStringList>
#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>

#include <chrono>
#include <string>

/// What the tests of the controllers against real servers start from: one server of the make that the parameter names,
/// a machine that is connected, an operation count that leaves room for controllers to be destroyed, and a folder for
/// local files.
class RealServerTest : public testing::TestWithParam<ServerMake> {
protected:
    static constexpr qsizetype mebibyte = qsizetype(1024) * 1024;

    void SetUp() override
    {
        NetworkManager::setReachabilitySource([] { return ReachabilityFlags(ReachabilityFlag::Reachable); });
        NetworkManager::sharedInstance().setNetworkOperationCount(1000);
    }

    void TearDown() override { NetworkManager::setReachabilitySource(nullptr); }

    static void writeFile(const QString& path, const QByteArray& bytes)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
        ASSERT_EQ(file.write(bytes), bytes.size());
    }

    /// Makes a local file and answers its path.
    QString makeFile(const QString& name, const QByteArray& bytes) const
    {
        writeFile(m_folder.filePath(name), bytes);
        return m_folder.filePath(name);
    }

    static QString escaped(const QString& name) { return QString::fromLatin1(QUrl::toPercentEncoding(name)); }

    /// Names that have gone wrong somewhere: in locations, in command lines, in listings.
    static QStringList awkwardNames();

    QTemporaryDir m_folder;
    RealServer m_server{ GetParam() };
    FTPEngine m_engine;
    EngineStreamFactory m_streams{ m_engine };
};

inline QStringList RealServerTest::awkwardNames()
{
    return { QStringLiteral("two blanks  in it.txt"),
             QStringLiteral("double \" and single ' quotes"),
             QStringLiteral("\"quoted\""),
             QStringLiteral("%41"),
             QStringLiteral("50% off #1"),
             QStringLiteral("file;type=a"),
             QStringLiteral("why?.txt"),
             QStringLiteral("-rf"),
             QStringLiteral("a*b[c]{d}\\e"),
             QStringLiteral("Gr\u00F6\u00DFe \u00E9t\u00E9.txt"),
             QStringLiteral("\u4E2D\u6587\u6587\u4EF6"),
             QStringLiteral("\U0001F600.txt"),
             QString(200, u'n') };
}

/// The last part of the name of a test for the make @p info names.
inline std::string nameOfTest(const testing::TestParamInfo<ServerMake>& info)
{
    return nameOf(info.param).toStdString();
}

/// Notes the status texts of a controller, repetitions folded.
class StatusRecorder {
public:
    StatusRecorder() = default;
    StatusRecorder(const StatusRecorder&) = delete;
    StatusRecorder& operator=(const StatusRecorder&) = delete;
    virtual ~StatusRecorder() = default;

    QStringList statuses;

    QString last() const { return statuses.isEmpty() ? QString() : statuses.last(); }

protected:
    void note(const QString& status)
    {
        if (last() != status) {
            statuses.append(status);
        }
    }
};
