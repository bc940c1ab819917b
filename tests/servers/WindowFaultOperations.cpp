#include "ConnectionPool.h"
#include "EngineStreamFactory.h"
#include "FaultOperations.h"
#include "HastyStreams.h"
#include "NetworkManager.h"
#include "ProgramName.h"
#include "Sheets.h"
#include "UserDefaults.h"
#include "ViewController.h"
#include "WaitFor.h"

#include <QFile>
#include <QLabel>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString checkSettings = u"Check Settings"_s;
const QString notDeleted = u"Item Not Deleted"_s;

class WindowFaultOperations final : public FaultOperations {
public:
    explicit WindowFaultOperations(FaultScene& scene)
        : m_scene(scene)
    {
        setProgramFileName(u"Quillbox"_s);
        NetworkManager::setReachabilitySource([] { return ReachabilityFlags(ReachabilityFlag::Reachable); });
        m_controller = std::make_unique<ViewController>(m_streams);
        m_controller->window().show();
    }

    ~WindowFaultOperations() override
    {
        // Each controller counts a stop when it is destroyed.
        NetworkManager::sharedInstance().setNetworkOperationCount(100);
        m_controller.reset();
        NetworkManager::sharedInstance().setNetworkOperationCount(0);
        NetworkManager::setReachabilitySource(nullptr);
        ConnectionPool::ofThisThread().timeouts() = FTPTimeouts();
        QFile::remove(UserDefaults::standard().filePath());
        setProgramFileName(QString());
    }

    QString perform(Operation operation, quint16 port, bool hasShortTimeouts) override
    {
        ConnectionPool::ofThisThread().timeouts() = hasShortTimeouts ? shortTimeouts() : usualTimeouts();
        EXPECT_TRUE(UserDefaults::standard().store({ { u"Address"_s, u"127.0.0.1:%1"_s.arg(port) },
                                                     { u"Username"_s, u"anna"_s },
                                                     { u"Password"_s, u"secret"_s },
                                                     { u"FTPFolder"_s, u"folder"_s } }));
        begin(operation);
        const bool isIdle = waitFor([this] { return !isBusy(); });
        EXPECT_TRUE(isIdle);
        m_controller->onTick(); // Shows the last word.
        EXPECT_EQ(NetworkManager::sharedInstance().networkOperationCount(), 0U);
        noteListing();
        QString words = wordsOfEnd(operation);
        closeSheets();
        ConnectionPool::ofThisThread().timeouts() = usualTimeouts();
        return words;
    }

    QString told(Operation operation, Ending ending) const override
    {
        const bool isDone = ending.kind == Ending::Kind::Works || ending.kind == Ending::Kind::Believed;
        if (operation == Operation::Deletion) {
            return isDone ? u""_s : notDeleted;
        }
        if (isDone) {
            return subjectOf(operation) + u" succeeded"_s;
        }
        if (ending.kind == Ending::Kind::Lost) {
            return u"Stream open error"_s;
        }
        if (operation == Operation::Listing) {
            return u"Error: Check Settings, and a sheet"_s;
        }
        const QString question = operation == Operation::Download ? u""_s : u"; Directory may already exist?"_s;
        return u"FTP error %1"_s.arg(ending.code) + question;
    }

    void leave() override
    {
        ConnectionPool& pool = ConnectionPool::ofThisThread();
        const quint16 port = m_scene.server().port();
        const bool hasLeft = waitFor([&pool, port] {
            pool.closeIdle(u"127.0.0.1"_s, port);
            return pool.connectionCount() == 0;
        });
        EXPECT_TRUE(hasLeft);
        // What was learned of the server's weaknesses while it had them.
        pool.traits({ u"127.0.0.1"_s, port, {}, {} }) = {};
        drainEventLoop();
    }

private:
    static QString subjectOf(Operation operation)
    {
        switch (operation) {
        case Operation::Upload:
            return u"Upload"_s;
        case Operation::Download:
            return u"Download"_s;
        case Operation::Listing:
            return u"Listing"_s;
        case Operation::FolderCreation:
            return u"Create"_s;
        case Operation::Deletion:
        case Operation::LoginTest:
            break;
        }
        return {};
    }

    void begin(Operation operation)
    {
        switch (operation) {
        case Operation::Upload:
            m_controller->uploadFiles({ m_scene.fileToSend() });
            break;
        case Operation::Download:
            m_controller->downloadFileTo(u"got"_s, m_scene.localFolder());
            break;
        case Operation::Listing:
            m_controller->listFTPDestination();
            break;
        case Operation::FolderCreation:
            m_controller->cc().startCreate(m_scene.folderToMake(),
                                           ViewController::createFullDestinationPathFromAppNameAndFTPFolder(),
                                           ViewController::username(), ViewController::password());
            break;
        case Operation::Deletion:
            m_controller->deleteFile(u"doomed.txt"_s);
            m_scene.server().forgetRules(); // They are not for the listing that follows.
            break;
        case Operation::LoginTest:
            break;
        }
    }

    bool isBusy() const
    {
        return !m_controller->fileUploadQueue().isEmpty() || m_controller->pc().isSending()
            || m_controller->gc().isReceiving() || m_controller->lc().isReceiving() || m_controller->cc().isCreating();
    }

    void noteListing()
    {
        QStringList names;
        for (qsizetype row = 0; row < m_controller->listEntries().size(); ++row) {
            names.append(m_controller->listEntries().at(row).name);
        }
        m_scene.setListed(names);
    }

    QString wordsOfEnd(Operation operation) const
    {
        if (operation == Operation::Deletion) {
            return hasSheet(notDeleted) ? notDeleted : u""_s;
        }
        const bool isListing = operation == Operation::Listing;
        const auto* const label
            = m_controller->window().findChild<QLabel*>(isListing ? u"listingStatusTextField"_s : u"statusTextField"_s);
        return label->text() + (hasSheet(checkSettings) ? u", and a sheet"_s : u""_s);
    }

    static bool hasSheet(const QString& title)
    {
        const QStringList sheets = shownSheets();
        return sheets.size() == 1 && sheets.first().startsWith(title + u": "_s);
    }

    static void closeSheets()
    {
        answerSheet();
        EXPECT_TRUE(waitFor([] { return shownSheets().isEmpty(); }));
    }

    FaultScene& m_scene;
    EngineStreamFactory m_streams;
    std::unique_ptr<ViewController> m_controller;
};

} // namespace

std::unique_ptr<FaultOperations> operationsOfWindow(FaultScene& scene)
{
    return std::make_unique<WindowFaultOperations>(scene);
}
