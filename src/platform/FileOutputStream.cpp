#include "FileOutputStream.h"

#include "LocalPath.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

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

} // namespace

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
    if (!name.contains('\0')) {
        if (m_existing == Existing::KeptUntilWhole) {
            openBeside(name);
        }
        if (m_descriptor < 0) {
            m_descriptor = openForWriting(name.constData());
        }
    }
    m_failed = m_descriptor < 0;
    if (!m_failed) {
        withdrawExecution(m_descriptor);
    }
}

void FileOutputStream::openBeside(const QByteArray& name)
{
    constexpr int mostNames = 100;
    struct stat status = {};
    const bool isThere = ::lstat(name.constData(), &status) == 0;
    const bool isFile = isThere && S_ISREG(status.st_mode);
    if (isThere && !isFile && !S_ISLNK(status.st_mode)) {
        return; // Nothing takes the place of anything else.
    }
    for (int number = 1; number <= mostNames; ++number) {
        const QByteArray part = name + (number == 1 ? QByteArray() : ' ' + QByteArray::number(number)) + ".part";
        // Nobody else reads it before it has the other's mode.
        m_descriptor = ::open(part.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, isFile ? 0600 : 0666);
        if (m_descriptor >= 0) {
            m_part = part;
            if (isFile) {
                ::fchmod(m_descriptor, status.st_mode & 0777);
            }
            return;
        }
        if (errno != EEXIST) {
            return;
        }
    }
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
    return count;
}

bool FileOutputStream::close()
{
    closeDescriptor();
    if (m_failed) {
        discard();
    } else if (!m_part.isEmpty()) {
        m_failed = ::rename(m_part.constData(), LocalPath::toBytes(m_path).constData()) != 0;
        m_part.clear();
    }
    return !m_failed;
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
