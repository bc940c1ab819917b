#include "FaultOperations.h"

#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;

FaultScene::FaultScene()
{
    QDir(m_server.root()).mkdir(u"folder"_s);
    m_server.putFile(u"folder/got"_s, m_bytes);
    QFile file(fileToSend());
    if (file.open(QIODevice::WriteOnly)) {
        file.write(m_bytes);
    }
}

void FaultScene::prepare(Operation operation)
{
    m_server.forgetRecords();
    switch (operation) {
    case Operation::Upload:
        QFile::remove(m_server.pathOf(u"folder/sent"_s));
        break;
    case Operation::Download:
        QFile::remove(m_local.filePath(u"got"_s));
        break;
    case Operation::Listing:
        m_listed.clear();
        break;
    case Operation::FolderCreation:
    case Operation::ManualFolderCreation:
        ++m_number;
        break;
    case Operation::Deletion:
    case Operation::CarefulDeletion:
        m_server.putFile(u"folder/doomed.txt"_s, "x");
        break;
    case Operation::LoginTest:
    case Operation::CarefulLoginTest:
    case Operation::ConnectionTest:
        break;
    }
}

bool FaultScene::isDone(Operation operation)
{
    static_cast<void>(m_server.events()); // What the server was about, it has done.
    switch (operation) {
    case Operation::Upload:
        return m_server.file(u"folder/sent"_s) == m_bytes;
    case Operation::Download: {
        QFile file(m_local.filePath(u"got"_s));
        return file.open(QIODevice::ReadOnly) && file.readAll() == m_bytes;
    }
    case Operation::Listing:
        return m_listed.contains(u"got"_s);
    case Operation::FolderCreation:
    case Operation::ManualFolderCreation:
        return QDir(m_server.pathOf(u"folder"_s)).exists(folderToMake());
    case Operation::Deletion:
    case Operation::CarefulDeletion:
        return !m_server.file(u"folder/doomed.txt"_s);
    case Operation::LoginTest:
    case Operation::CarefulLoginTest:
        return isLoggedIn();
    case Operation::ConnectionTest:
        return isLoggedIn() && m_server.replies().contains("250 Folder changed");
    }
    return false;
}

bool FaultScene::isListedTruly() const
{
    QStringList listed = m_listed;
    listed.sort();
    QStringList present
        = QDir(m_server.pathOf(u"folder"_s)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::NoSort);
    present.sort();
    return listed == present;
}

bool FaultScene::isLoggedIn()
{
    const QByteArrayList commands = m_server.commands();
    return commands.contains("USER anna") && commands.contains("PASS secret")
        && m_server.replies().contains("230 Logged in");
}
