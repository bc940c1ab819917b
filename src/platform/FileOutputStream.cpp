#include "FileOutputStream.h"

#include "LocalPath.h"
#include "PathText.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

bool isRegularFile(int descriptor)
{
    struct stat status = {};
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

/// What comes from elsewhere takes no program's place: a file that is written over can no longer be executed.
void withdrawExecution(int descriptor)
{
    constexpr mode_t execution = S_IXUSR | S_IXGRP | S_IXOTH;
    struct stat status = {};
    if (::fstat(descriptor, &status) == 0 && (status.st_mode & execution) != 0) {
        ::fchmod(descriptor, status.st_mode & 07777 & ~execution);
    }
}

/// Opens the regular file at @p name, or makes one; -1 when that is not possible. Nothing else is written to:
/// a link gives way to the file, whatever it leads to, and pipes and devices stay alone.
int openForWriting(const char* name)
{
    constexpr int flags = O_WRONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY;
    int descriptor = ::open(name, flags);
    if (descriptor < 0 && (errno == ENOENT || (errno == ELOOP && ::unlink(name) == 0))) {
        descriptor = ::open(name, flags | O_CREAT | O_EXCL, 0666);
    }
    // Emptied once it is known what was opened.
    if (descriptor >= 0 && !(isRegularFile(descriptor) && ::ftruncate(descriptor, 0) == 0)) {
        ::close(descriptor);
        return -1;
    }
    return descriptor;
}

/// The name of the file number @p number that may be written beside the one at @p path, which may be of any length.
QByteArray partName(const QString& path, int number)
{
    const QString ending = (number == 1 ? QString() : u" %1"_s.arg(number)) + u".part"_s;
    const qsizetype start = path.lastIndexOf(u'/') + 1;
    return LocalPath::toBytes(path.left(start)
                              + PathText::shortenedFileName(path.sliced(start), NAME_MAX - ending.size()) + ending);
}

/// Gives a new file the group and the mode of the one that @p old tells of. What a group may do is no other's.
void takeAccess(int descriptor, const struct stat& old)
{
    mode_t mode = old.st_mode & 0777;
    if (::fchown(descriptor, static_cast<uid_t>(-1), old.st_gid) != 0) {
        mode &= ~static_cast<mode_t>(S_IRWXG);
    }
    ::fchmod(descriptor, mode);
}

/// Whether @p error says that the folder takes no new file, or none of that name: one that is there may be written
/// all the same. With any other error that would only lose it.
bool isNotAllowed(int error)
{
    return error == EACCES || error == EPERM || error == EROFS || error == ENAMETOOLONG;
}

} // namespace

namespace quillbox {

FileOutputStream::FileOutputStream(QString path, Existing existing)
    : m_path(std::move(path))
    , m_existing(existing)
{
}

FileOutputStream::~FileOutputStream()
{
    discard();
}

void FileOutputStream::open()
{
    const QByteArray name = LocalPath::toBytes(m_path);
    // The system would stop at a NUL and write another file.
    if (!name.contains('\0') && (m_existing == Existing::Overwritten || openBeside(name) == Beside::NotAllowed)) {
        m_descriptor = openForWriting(name.constData());
    }
    m_failed = m_descriptor < 0;
    if (!m_failed) {
        withdrawExecution(m_descriptor);
    }
}

FileOutputStream::Beside FileOutputStream::openBeside(const QByteArray& name)
{
    constexpr int mostNames = 100;
    struct stat status = {};
    const bool isThere = ::lstat(name.constData(), &status) == 0;
    const bool isFile = isThere && S_ISREG(status.st_mode);
    // Nothing takes the place of anything else, nor of a file that may not be written.
    if ((isThere && !isFile && !S_ISLNK(status.st_mode))
        || (isFile && ::faccessat(AT_FDCWD, name.constData(), W_OK, AT_EACCESS) != 0)) {
        return Beside::NotPossible;
    }
    for (int number = 1; number <= mostNames; ++number) {
        const QByteArray part = partName(m_path, number);
        // Nobody else reads it before it has the other's mode.
        m_descriptor = ::open(part.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, isFile ? 0600 : 0666);
        if (m_descriptor >= 0) {
            m_part = part;
            if (isFile) {
                takeAccess(m_descriptor, status);
            }
            return Beside::Open;
        }
        if (errno != EEXIST) {
            const bool mayBeWritten = !isThere || m_existing != Existing::AlwaysKept;
            return isNotAllowed(errno) && mayBeWritten ? Beside::NotAllowed : Beside::NotPossible;
        }
    }
    return Beside::NotPossible;
}

qint64 FileOutputStream::write(std::span<const char> data)
{
    if (m_descriptor < 0) {
        return -1;
    }
    ssize_t count = 0;
    do {
        count = ::write(m_descriptor, data.data(), data.size());
    } while (count < 0 && errno == EINTR);
    m_failed = m_failed || count < 0;
    if (!m_part.isEmpty() && count > 0) {
        startWriteBack(count);
    }
    return count;
}

/// Has the disk take what was written while more arrives, so that little is left to wait for at the end.
void FileOutputStream::startWriteBack(qint64 count)
{
    constexpr qint64 portion = qint64(8) * 1024 * 1024;
    m_notWrittenBack += count;
    if (m_notWrittenBack >= portion) {
        ::sync_file_range(m_descriptor, 0, 0, SYNC_FILE_RANGE_WRITE); // The whole file: 0 is up to its end.
        m_notWrittenBack = 0;
    }
}

bool FileOutputStream::close()
{
    // Else a power failure could leave the name with neither the old data nor the new.
    if (!m_part.isEmpty() && !m_failed) {
        m_failed = ::fdatasync(m_descriptor) != 0 && errno != EINVAL; // Which says: there is nothing to wait for.
    }
    closeDescriptor();
    if (!m_failed && !m_part.isEmpty()) {
        takeName();
    }
    if (m_failed) {
        discard();
    }
    return !m_failed;
}

/// Gives the whole file beside the old one its name. Where that fails, it stays, or is left to discard().
void FileOutputStream::takeName()
{
    m_failed = ::rename(m_part.constData(), LocalPath::toBytes(m_path).constData()) != 0;
    if (m_failed && m_existing == Existing::AlwaysKept) {
        return;
    }
    if (m_failed) {
        m_strandedPath = LocalPath::fromBytes(m_part);
    }
    m_part.clear();
}

void FileOutputStream::discard()
{
    closeDescriptor();
    if (!m_part.isEmpty()) {
        ::unlink(m_part.constData());
        m_part.clear();
    }
}

void FileOutputStream::closeDescriptor()
{
    if (m_descriptor >= 0) {
        // Not tried again when interrupted: the descriptor is gone either way.
        m_failed = (::close(m_descriptor) != 0 && errno != EINTR) || m_failed;
        m_descriptor = -1;
    }
}

} // namespace quillbox
