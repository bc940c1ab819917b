#include "FTPManager.h"
#include "FaultOperations.h"
#include "LogRecorder.h"
#include "TestTimeouts.h"

#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

class LibraryFaultOperations final : public FaultOperations {
public:
    explicit LibraryFaultOperations(FaultScene& scene)
        : m_scene(scene)
    {
    }

    QString perform(Operation operation, quint16 port, bool hasShortTimeouts) override
    {
        FTPManager manager;
        m_record->setTimeouts(hasShortTimeouts ? shortTimeouts() : usualTimeouts());
        m_record->setPort(port);
        const LogRecorder log;
        const QString answer = isDone(manager, operation) ? u"true"_s : u"false"_s;
        QStringList lines = log.lines();
        if (operation == Operation::Upload) {
            // Whether the write or the report is first to see a lost connection is left to chance.
            lines.replaceInStrings(u"error while writing data"_s, u"general stream error (check credentials?)"_s);
        }
        if (port == m_scene.server().port()) {
            // So is whether connect() itself is told that a connection was reset as soon as it stood.
            lines.removeAll(u"error connecting."_s);
        }
        if (manager.isUndecided()) {
            lines.append(u"undecided"_s);
        }
        return (QStringList{ answer } + lines).join(u"; "_s);
    }

    Outcome outcome(Operation operation, Ending ending) const override
    {
        switch (ending.kind) {
        case Ending::Kind::Works:
            return { "works", u"true"_s };
        case Ending::Kind::Believed:
            return { "believed", u"true"_s };
        case Ending::Kind::BelievedAfterReset:
            return { "believed", u"true; Error reading from socket!"_s };
        case Ending::Kind::Unreachable:
            if (isConversation(operation)) {
                return { "fails", u"false; error connecting."_s };
            }
            break;
        case Ending::Kind::Undecided:
            return { "not known", failure(operation) + u"; undecided"_s };
        case Ending::Kind::Refused:
        case Ending::Kind::Contradicted:
        case Ending::Kind::FolderRefused:
        case Ending::Kind::Lost:
        case Ending::Kind::Silence:
            break;
        }
        return { "fails", failure(operation) };
    }

    void leave() override { } // Each operation's connections go with its thread.

private:
    static QString failure(Operation operation)
    {
        return isConversation(operation) ? u"false"_s
                                         : u"false; ftp stream failed: general stream error (check credentials?)"_s;
    }

    bool isDone(FTPManager& manager, Operation operation)
    {
        switch (operation) {
        case Operation::Upload:
            return manager.uploadFile(QUrl::fromLocalFile(m_scene.fileToSend()), m_record.get());
        case Operation::Download:
            return manager.downloadFile(u"got"_s, QUrl::fromLocalFile(m_scene.localFolder()), m_record.get());
        case Operation::Listing:
            return list(manager);
        case Operation::FolderCreation:
        case Operation::ManualFolderCreation:
            return manager.createNewFolder(m_scene.folderToMake(), m_record.get());
        case Operation::Deletion:
        case Operation::CarefulDeletion:
            m_record->setCareful(operation == Operation::CarefulDeletion);
            return manager.deleteFileNamed(u"doomed.txt"_s, m_record.get());
        case Operation::LoginTest:
        case Operation::CarefulLoginTest:
        case Operation::ConnectionTest:
            m_record->setCareful(operation == Operation::CarefulLoginTest);
            return manager.checkLogin(m_record.get());
        }
        return false;
    }

    bool list(FTPManager& manager)
    {
        const auto entries = manager.contentsOfServer(m_record.get());
        QStringList names;
        for (const ListingEntry& entry : entries.value_or(QList<ListingEntry>())) {
            names.append(entry.name);
        }
        m_scene.setListed(names);
        return entries.has_value();
    }

    FaultScene& m_scene;
    std::shared_ptr<FMServer> m_record = FMServer::serverWithDestination(u"127.0.0.1/folder"_s, u"anna"_s, u"secret"_s);
};

} // namespace

std::unique_ptr<FaultOperations> operationsOfLibrary(FaultScene& scene)
{
    return std::make_unique<LibraryFaultOperations>(scene);
}
