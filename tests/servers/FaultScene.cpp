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
        ++m_number;
        break;
    case Operation::Deletion:
        m_server.putFile(u"folder/doomed.txt"_s, "x");
        break;
    case Operation::LoginTest:
        break;
    }
}

bool FaultScene::isDone(Operation operation) const
{
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
        return QDir(m_server.pathOf(u"folder"_s)).exists(folderToMake());
    case Operation::Deletion:
        return !m_server.file(u"folder/doomed.txt"_s);
    case Operation::LoginTest:
        break;
    }
    return true;
}
