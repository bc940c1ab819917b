#include "HiddenTurn.h"

#include "ByteLock.h"
#include "LocalPath.h"
#include "PrivateFile.h"
#include "StandardFolders.h"

#include <QCryptographicHash>
#include <QString>
#include <QtEndian>

#include <fcntl.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

/// Where in the file the lock of @p programName is; every name has a place of its own.
qint64 placeOf(const QString& programName)
{
    const QByteArray hash = QCryptographicHash::hash(programName.toUtf8(), QCryptographicHash::Sha256);
    return static_cast<qint64>(qFromBigEndian<quint64>(hash.constData()) >> 2U);
}

int openFile()
{
    const QString folder = stateDirectoryPath() + u"/quillbox"_s;
    PrivateFile::makeFolder(folder);
    const QByteArray path = LocalPath::toBytes(folder + u"/hidden.turns"_s);
    return open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
}

} // namespace

bool HiddenTurn::take(const QString& programName)
{
    if (m_place) {
        return true;
    }
    if (!m_file) {
        m_file.emplace(openFile());
    }
    const qint64 place = placeOf(programName);
    if (ByteLock::take(m_file->get(), place) == ByteLock::Attempt::Busy) {
        return false;
    }
    m_place = place;
    return true;
}

void HiddenTurn::giveUp()
{
    if (m_place) {
        ByteLock::giveUp(m_file->get(), *m_place);
        m_place.reset();
    }
}
