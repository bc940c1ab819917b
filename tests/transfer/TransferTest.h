#pragma once

#include "DelayedAlert.h"
#include "FakeFTPStream.h"
#include "NetworkManager.h"
#include "Printers.h"
#include "RunLoop.h"
#include "WaitFor.h"
#include "WeakRef.h"

#include <QFile>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>

/// What the tests of the transfer folder start from: a machine that is connected, an operation count that leaves room
/// for controllers to be destroyed, a folder for files, and a record of alerts.
class TransferTest : public testing::Test {
protected:
    /// The count that every test starts from.
    static constexpr quint64 baseCount = 1000;

    void SetUp() override
    {
        NetworkManager::setReachabilitySource([] { return ReachabilityFlags(ReachabilityFlag::Reachable); });
        NetworkManager::sharedInstance().setNetworkOperationCount(baseCount);
        setDelayedAlertPresenter([this](const QString& message, const QString& informative) {
            m_alerts.append(message + u'|' + informative);
        });
    }

    void TearDown() override
    {
        setDelayedAlertPresenter(nullptr);
        NetworkManager::setReachabilitySource(nullptr);
    }

    /// Operations counted since the test began, as a signed number.
    static qint64 countChange()
    {
        return static_cast<qint64>(NetworkManager::sharedInstance().networkOperationCount())
            - static_cast<qint64>(baseCount);
    }

    QString path(const QString& name) const { return m_folder.filePath(name); }

    QString makeFile(const QString& name, const QByteArray& bytes) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(bytes), bytes.size());
        return path(name);
    }

    static QByteArray contents(const QString& path)
    {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
        return file.readAll();
    }

    /// Waits until every alert asked for so far has been shown or dropped.
    static void waitForAlerts()
    {
        bool due = false;
        // Blocks with the same delay run in the order in which they were asked for.
        RunLoop::dispatchAfter(1000, nullptr, [&due] { due = true; });
        ASSERT_TRUE(waitFor([&due] { return due; }));
    }

    QTemporaryDir m_folder;
    FakeStreamFactory m_streams;
    QStringList m_alerts; ///< "MESSAGE|INFORMATIVE"
};

/// Notes the reports of a controller in one list, and can act from inside a report.
class RecordingDelegate {
public:
    RecordingDelegate() = default;
    RecordingDelegate(const RecordingDelegate&) = delete;
    RecordingDelegate& operator=(const RecordingDelegate&) = delete;
    virtual ~RecordingDelegate() = default;

    QStringList calls;
    /// Called after each call was noted.
    std::function<void(const QString& call)> reaction;

protected:
    void note(const QString& call)
    {
        calls.append(call);
        if (reaction != nullptr) {
            // A copy: the reaction may replace itself.
            const auto react = reaction;
            react(call);
        }
    }
};
