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
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr QByteArrayView placeOfCode = "XXXXXX"; ///< Becomes letters and digits that make the name a new one.
constexpr time_t longAgo = 3600; ///< In seconds: nothing is written for so long.
constexpr mode_t readableByOthers = S_IRGRP | S_IROTH;
constexpr mode_t writableByOthers = S_IWGRP | S_IWOTH;
constexpr mode_t passableByOthers = S_IXGRP | S_IXOTH;

QByteArray folderOf(const QString& path)
{
    return QFile::encodeName(QFileInfo(path).path());
}

QByteArray nameOf(const QString& path)
{
    return QFile::encodeName(QFileInfo(path).fileName());
}

/// How the names of unfinished files begin. Nobody else gives such names, settings included, which end in ".json":
/// everything that has one may be removed.
QByteArray unfinishedName(const QString& path)
{
    return '.' + nameOf(path) + ".unfinished-";
}

bool isSmall(char c)
{
    return c >= 'a' && c <= 'z';
}

bool isCapital(char c)
{
    return c >= 'A' && c <= 'Z';
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isUnfinishedName(const QByteArray& name, const QString& path)
{
    const QByteArray beginning = unfinishedName(path);
    const QByteArray code = name.mid(beginning.size());
    return name.startsWith(beginning) && code.size() == placeOfCode.size()
        && std::all_of(code.begin(), code.end(), [](char c) { return isSmall(c) || isCapital(c) || isDigit(c); });
}

/// Whether earlier versions gave such names, which end in six letters.
bool isEarlierUnfinishedName(const QByteArray& name, const QString& path)
{
    const QByteArray beginning = nameOf(path) + '.';
    const QByteArray code = name.mid(beginning.size());
    return name.startsWith(beginning) && code.size() == placeOfCode.size()
        && std::all_of(code.begin(), code.end(), [](char c) { return isSmall(c) || isCapital(c); });
}

/// Whether people write words like @p name ends in, such as "backup", "Backup" and "BACKUP": one in twenty of those
/// names.
bool endsInWord(const QByteArray& name)
{
    const QByteArray code = name.last(placeOfCode.size());
    return std::none_of(code.begin(), code.end(), isSmall) || std::none_of(code.begin() + 1, code.end(), isCapital);
}

/// Whether @p file, which is called @p name as by an earlier version, is what that has left: nothing yet, or all of the
/// settings. Of these under a word nobody can tell who has copied them.
bool isEarlierUnfinished(int file, const struct stat& status, const QByteArray& name)
{
    char first = 0;
    return S_ISREG(status.st_mode) && status.st_uid == geteuid()
        && (status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO)) == (S_IRUSR | S_IWUSR)
        && (status.st_size == 0 || (!endsInWord(name) && pread(file, &first, 1, 0) == 1 && first == '{'));
}

/// Whether no program is writing @p file: each has it locked.
bool isAbandoned(int file, const struct stat& status)
{
    if (flock(file, LOCK_EX | LOCK_NB) == 0) {
        return true;
    }
    // Some file systems know no locks.
    return errno != EWOULDBLOCK && time(nullptr) - status.st_mtime > longAgo;
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

/// Leaves at most the access that @p most says to what is at @p path, if it is of that kind and ours.
void limitAccess(const QByteArray& path, mode_t kind, mode_t most)
{
    struct stat status { };
    if (stat(path.constData(), &status) == 0 && (status.st_mode & S_IFMT) == kind && status.st_uid == geteuid()
        && (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        chmod(path.constData(), status.st_mode & most);
    }
}

} // namespace

bool PrivateFile::makeFolder(const QString& path)
{
    const QFileInfo info(path);
    if (info.isDir()) {
        return true;
    }
    const QString parent = info.path();
    return parent != path && makeFolder(parent)
        && (mkdir(QFile::encodeName(path).constData(), S_IRWXU) == 0
            || (errno == EEXIST && QFileInfo(path).isDir())); // Somebody else was quicker.
}

QString PrivateFile::behindLinks(const QString& path)
{
    // Where something is there, the system knows it: behind a linked folder ".." leads elsewhere than it reads.
    QString there = QFileInfo(path).isSymLink() ? QFileInfo(path).canonicalFilePath() : QString();
    if (!there.isEmpty()) {
        return there;
    }
    constexpr int maximumLinks = 40; // as the kernel has it
    QString target = path;
    for (int i = 0; i < maximumLinks && QFileInfo(target).isSymLink(); ++i) {
        target = QFileInfo(target).symLinkTarget();
    }
    return QFileInfo(target).isSymLink() ? path : target;
}

bool PrivateFile::replace(const QString& path, const QByteArray& bytes)
{
    const QString target = behindLinks(path);
    const QByteArray name = QFile::encodeName(target);
    if (!makeFolder(QFileInfo(target).path()) || (access(name.constData(), W_OK) != 0 && errno != ENOENT)) {
        return false;
    }
    QByteArray unfinished = folderOf(target) + '/' + unfinishedName(target) + placeOfCode.toByteArray();
    const Descriptor file(mkostemp(unfinished.data(), O_CLOEXEC));
    if (file.get() < 0) {
        return false;
    }
    flock(file.get(), LOCK_EX | LOCK_NB); // It ends with the process, and says until then who writes.
    const bool isReplaced = writeAll(file.get(), bytes) && std::rename(unfinished.constData(), name.constData()) == 0;
    if (!isReplaced) {
        unlink(unfinished.constData());
    }
    return isReplaced;
}

void PrivateFile::removeUnfinished(const QString& path)
{
    const QString target = behindLinks(path);
    const QStringList names = QFileInfo(target).dir().entryList(QDir::Files | QDir::Hidden | QDir::NoSymLinks);
    for (const QString& each : names) {
        const QByteArray name = QFile::encodeName(each);
        const bool isEarlier = isEarlierUnfinishedName(name, target);
        if (!isEarlier && !isUnfinishedName(name, target)) {
            continue;
        }
        const QByteArray whole = folderOf(target) + '/' + name;
        const Descriptor file(open(whole.constData(), O_RDWR | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
        struct stat status { };
        if (file.get() >= 0 && fstat(file.get(), &status) == 0
            && (!isEarlier || isEarlierUnfinished(file.get(), status, name)) && isAbandoned(file.get(), status)) {
            unlink(whole.constData());
        }
    }
}

PrivateFile::Rights PrivateFile::rightsOfOthers(const QString& path)
{
    // Through a link the file is reached in another folder. Its folder is not ours to judge, but for the way through.
    const QString target = QFileInfo(path).canonicalFilePath();
    struct stat file { };
    struct stat folder { };
    struct stat way { };
    Rights rights;
    if (target.isEmpty() || stat(QFile::encodeName(target).constData(), &file) != 0
        || stat(folderOf(path).constData(), &folder) != 0 || stat(folderOf(target).constData(), &way) != 0) {
        return rights;
    }
    const bool isReached = S_ISREG(file.st_mode) && (way.st_mode & passableByOthers) != 0;
    rights.setFlag(Right::Read, isReached && (file.st_mode & readableByOthers) != 0);
    rights.setFlag(Right::Write, isReached && (file.st_mode & writableByOthers) != 0);
    rights.setFlag(Right::Replace,
                   (folder.st_mode & passableByOthers) != 0 && (folder.st_mode & writableByOthers) != 0);
    const bool isWider = ((file.st_mode | folder.st_mode) & (S_IRWXG | S_IRWXO)) != 0;
    rights.setFlag(Right::None, !rights && isWider);
    return rights;
}

PrivateFile::Access PrivateFile::closeToOthers(const QString& path)
{
    Rights had = rightsOfOthers(path);
    limitAccess(folderOf(path), S_IFDIR, S_IRWXU);
    limitAccess(QFile::encodeName(path), S_IFREG, S_IRUSR | S_IWUSR);
    Rights have = rightsOfOthers(path);
    if (have.testFlag(Right::None)) {
        had.setFlag(Right::None, false);
        have.setFlag(Right::None, false);
    }
    return { had, have };
}
