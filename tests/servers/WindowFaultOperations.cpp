#include "ConnectionPool.h"
#include "DestinationSettings.h"
#include "EngineStreams.h"
#include "FaultOperations.h"
#include "ItemOperations.h"
#include "LogRecorder.h"
#include "NetworkManager.h"
#include "PreferencesController.h"
#include "ServerTraits.h"
#include "Sheets.h"
#include "TestTimeouts.h"
#include "WaitFor.h"
#include "WindowFixture.h"

#include <QLabel>
#include <QPushButton>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString checkSettings = u"Check Settings"_s;
const QString notDeleted = u"Item Not Deleted"_s;
const QString notCreated = u"Folder Not Created"_s;
const QString noAnswer = u"No Answer"_s;

/// What the preferences say of a test that has come to @p ending, and what such ends are called.
Outcome outcomeOfTest(Ending ending)
{
    const QString reply = ending.code < 400 ? u""_s : u" The server said: %1"_s.arg(ending.code);
    switch (ending.kind) {
    case Ending::Kind::Works:
        return { "works", u"It works: the login is accepted, the folder is there, and nothing was encrypted."_s };
    case Ending::Kind::Refused:
        return { "login refused", u"The server refuses the login."_s + reply };
    case Ending::Kind::FolderRefused:
        return { "folder refused", u"The login is accepted, but the folder is refused."_s + reply };
    case Ending::Kind::Lost:
        return { "lost", u"The server has ended the connection."_s + reply };
    case Ending::Kind::Silence:
        return { "no answer", u"The server does not answer."_s + reply };
    case Ending::Kind::Unreachable:
        return { "no server", u"There is no FTP server at this address, or it cannot be reached."_s };
    case Ending::Kind::Believed:
    case Ending::Kind::BelievedAfterReset:
    case Ending::Kind::Undecided:
    case Ending::Kind::Contradicted:
        break;
    }
    return {};
}

class WindowFaultOperations final : public FaultOperations, private EngineStreams, private WindowFixture {
public:
    explicit WindowFaultOperations(FaultScene& scene)
        : WindowFixture(m_streams, m_connections, {})
        , m_scene(scene)
    {
        m_controller->window().show();
    }

    QString perform(Operation operation, quint16 port, bool hasShortTimeouts) override
    {
        m_engine.timeouts() = hasShortTimeouts ? shortTimeouts() : usualTimeouts();
        set({ { u"Address"_s, u"127.0.0.1:%1"_s.arg(port) },
              { u"Username"_s, u"anna"_s },
              { u"Password"_s, u"secret"_s },
              { u"FTPFolder"_s, u"folder"_s } });
        m_controller->items().setOperations(
            libraryItemOperations(hasShortTimeouts ? shortTimeouts() : usualTimeouts()));
        const LogRecorder log; // What the library logs is not told in the window.
        begin(operation);
        const bool hasEnded = waitFor([this] { return isIdle() && !isTesting(); });
        EXPECT_TRUE(hasEnded);
        tick(); // Shows the last word.
        EXPECT_EQ(NetworkManager::sharedInstance().networkOperationCount(), 0U);
        m_scene.setListed(listedNames());
        QString words = wordsOfEnd(operation);
        closeSheets();
        m_engine.timeouts() = usualTimeouts();
        return words;
    }

    Outcome outcome(Operation operation, Ending ending) const override
    {
        if (operation == Operation::ConnectionTest) {
            return outcomeOfTest(ending);
        }
        const bool isSaidInASheet = operation == Operation::CarefulDeletion || operation == Operation::FolderCreation;
        switch (ending.kind) {
        case Ending::Kind::Works:
        case Ending::Kind::Contradicted:
            return { "works", isSaidInASheet ? u""_s : subjectOf(operation) + u" succeeded"_s };
        case Ending::Kind::Undecided:
            if (isSaidInASheet) {
                return { "not known", noAnswer };
            }
            if (operation == Operation::Upload) {
                return { "not known", u"Stream open error; undecided"_s };
            }
            break;
        case Ending::Kind::Refused:
        case Ending::Kind::FolderRefused:
        case Ending::Kind::Lost:
        case Ending::Kind::Silence:
        case Ending::Kind::Unreachable:
        case Ending::Kind::Believed:
        case Ending::Kind::BelievedAfterReset:
            break;
        }
        if (isSaidInASheet) {
            return { "fails", operation == Operation::CarefulDeletion ? notDeleted : notCreated };
        }
        if (ending.kind != Ending::Kind::Refused) {
            return { "lost", u"Stream open error"_s };
        }
        if (operation == Operation::Listing) {
            return { "refused", u"Error: Check Settings, and a sheet"_s };
        }
        const QString question = operation == Operation::Download ? u""_s : u"; Directory may already exist?"_s;
        return { std::to_string(ending.code), u"FTP error %1"_s.arg(ending.code) + question };
    }

    void leave() override
    {
        ConnectionPool& pool = m_engine.pool();
        const quint16 port = m_scene.server().port();
        const bool hasLeft = waitFor([&pool, port] {
            pool.closeIdle(u"127.0.0.1"_s, port);
            return pool.connectionCount() == 0;
        });
        EXPECT_TRUE(hasLeft);
        // What was learned of the server's weaknesses while it had them.
        m_engine.servers().of({ u"127.0.0.1"_s, port, {}, {} }) = {};
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
        case Operation::ManualFolderCreation:
            return u"Create"_s;
        case Operation::FolderCreation:
        case Operation::Deletion:
        case Operation::CarefulDeletion:
        case Operation::LoginTest:
        case Operation::CarefulLoginTest:
        case Operation::ConnectionTest:
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
            m_controller->items().downloadFile(u"got"_s, m_scene.localFolder());
            break;
        case Operation::Listing:
            m_controller->listFTPDestination();
            break;
        case Operation::FolderCreation:
            m_controller->items().createFolder(m_scene.folderToMake());
            m_scene.server().forgetRules(); // They are not for the listing that follows.
            break;
        case Operation::ManualFolderCreation:
            m_controller->cc().startCreate(m_scene.folderToMake(),
                                           DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder(),
                                           DestinationSettings::username(), DestinationSettings::password());
            break;
        case Operation::CarefulDeletion:
            m_controller->items().deleteFile(u"doomed.txt"_s);
            m_scene.server().forgetRules();
            break;
        case Operation::ConnectionTest:
            m_controller->windows().showPreferences();
            preference<QPushButton>("testButton").click();
            break;
        case Operation::Deletion:
        case Operation::LoginTest:
        case Operation::CarefulLoginTest:
            break; // The library's.
        }
    }

    template <typename Control> Control& preference(const char* name) const
    {
        return *m_controller->windows().preferences().view()->findChild<Control*>(QString::fromLatin1(name));
    }

    bool isTesting() const { return preference<QPushButton>("testButton").text() == u"Stop &Test"_s; }

    QString wordsOfEnd(Operation operation) const
    {
        if (operation == Operation::ConnectionTest) {
            return wordsOfTest();
        }
        for (const QString& title : { notDeleted, notCreated, noAnswer }) {
            if (hasSheet(title)) {
                return title;
            }
        }
        if (operation == Operation::CarefulDeletion || operation == Operation::FolderCreation) {
            return shownSheets().join(u' ');
        }
        return text(operation == Operation::Listing ? "listingStatusTextField" : "statusTextField")
            + (hasSheet(checkSettings) ? u", and a sheet"_s : u""_s)
            + (operation == Operation::Upload && m_controller->history().queueTally().unanswered > 0 ? u"; undecided"_s
                                                                                                     : u""_s);
    }

    /// The sentence, and what the server has said up to the number.
    QString wordsOfTest() const
    {
        const QString sentence = preference<QLabel>("testResultLabel").text();
        const QString reply = preference<QLabel>("testReplyLabel").text();
        m_controller->windows().preferences().view()->close();
        return sentence + (reply.isEmpty() ? u""_s : u' ' + reply.left(u"The server said: 200"_s.size()));
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
};

} // namespace

std::unique_ptr<FaultOperations> operationsOfWindow(FaultScene& scene)
{
    return std::make_unique<WindowFaultOperations>(scene);
}
