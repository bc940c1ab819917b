#include "PrivateFile.h"

#include "Descriptor.h"

#include <QByteArrayView>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr QByteArrayView placeOfCode = "XXXXXX"; ///< Becomes letters and digits that make the name a new one.

QByteArray folderOf(const QString& path)
{
    return QFile::encodeName(QFileInfo(path).path());
}

/// How the names of unfinished files begin. Nobody else gives such names: everything that has one may be removed.
QByteArray unfinishedName(const QString& path)
{
    return '.' + QFile::encodeName(QFileInfo(path).fileName()) + ".unfinished-";
}

Descriptor openFolder(const QString& path)
{
    return Descriptor(open(folderOf(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

bool writeAll(int file, const QByteArray& bytes)
{
    qsizetype written = 0;
    while (written < bytes.size()) {
        const ssize_t count = write(file, bytes.constData() + written, static_cast<size_t>(bytes.size() - written));
        if (count < 0 && errno != EINTR) {
            return false;
        }
        written += count > 0 ? count : 0;
    }
    return fsync(file) == 0 || errno == EINVAL; // Which says that there is nothing to wait for.
}

/// Leaves at most the access that @p most says to what is at @p path, if it is of that kind.
PrivateFile::Access limitAccess(const QByteArray& path, mode_t kind, mode_t most)
{
    const auto isOpen = [&path, kind](struct stat& status) {
        return stat(path.constData(), &status) == 0 && (status.st_mode & S_IFMT) == kind
            && (status.st_mode & (S_IRWXG | S_IRWXO)) != 0;
    };
    struct stat status { };
    if (!isOpen(status)) {
        return PrivateFile::Access::OwnerOnly;
    }
    // A file system without owners says that it is done, and does nothing.
    const bool isClosed
        = status.st_uid == geteuid() && chmod(path.constData(), status.st_mode & most) == 0 && !isOpen(status);
    return isClosed ? PrivateFile::Access::Closed : PrivateFile::Access::StaysOpen;
}

} // namespace

bool PrivateFile::replace(const QString& path, const QByteArray& bytes)
{
    const QByteArray name = QFile::encodeName(path);
    if (access(name.constData(), W_OK) != 0 && errno != ENOENT) {
        return false;
    }
    // Those who write share the folder's lock, which ends with them; who removes what was left needs it alone.
    const Descriptor folder = openFolder(path);
    flock(folder.get(), LOCK_SH);
    QByteArray unfinished = folderOf(path) + '/' + unfinishedName(path) + placeOfCode.toByteArray();
    const Descriptor file(mkostemp(unfinished.data(), O_CLOEXEC));
    if (file.get() < 0) {
        return false;
    }
    const bool isReplaced = writeAll(file.get(), bytes) && std::rename(unfinished.constData(), name.constData()) == 0;
    if (!isReplaced) {
        unlink(unfinished.constData());
    }
    return isReplaced;
}

void PrivateFile::removeUnfinished(const QString& path)
{
    const Descriptor folder = openFolder(path);
    if (flock(folder.get(), LOCK_EX | LOCK_NB) != 0) {
        return;
    }
    const QByteArray beginning = unfinishedName(path);
    const QStringList names = QFileInfo(path).dir().entryList(QDir::Files | QDir::Hidden | QDir::NoSymLinks);
    for (const QString& each : names) {
        const QByteArray name = QFile::encodeName(each);
        if (name.startsWith(beginning) && name.size() == beginning.size() + placeOfCode.size()) {
            unlinkat(folder.get(), name.constData(), 0);
        }
    }
}

PrivateFile::Access PrivateFile::closeToOthers(const QString& path)
{
    const Access folder = limitAccess(folderOf(path), S_IFDIR, S_IRWXU);
    const Access file = limitAccess(QFile::encodeName(path), S_IFREG, S_IRUSR | S_IWUSR);
    return std::max(folder, file);
}
