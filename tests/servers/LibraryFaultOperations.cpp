#include "FTPManager.h"
#include "FaultOperations.h"
#include "HastyStreams.h"

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
        HastyStreams streams(hasShortTimeouts ? shortTimeouts() : usualTimeouts());
        FTPManager manager(streams);
        m_record->setPort(port);
        return isDone(manager, operation) ? u"true"_s : u"false"_s;
    }

    QString told(Operation /*operation*/, Ending ending) const override
    {
        const bool isDone = ending.kind == Ending::Kind::Works || ending.kind == Ending::Kind::Believed;
        return isDone ? u"true"_s : u"false"_s;
    }

    void leave() override { } // Each operation's connections go with its thread.

private:
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
            return manager.createNewFolder(m_scene.folderToMake(), m_record.get());
        case Operation::Deletion:
            return manager.deleteFileNamed(u"doomed.txt"_s, m_record.get());
        case Operation::LoginTest:
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
