#include "FileOutputStream.h"

#include "LocalPath.h"

#include <cerrno>
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

FileOutputStream::FileOutputStream(QString path)
    : m_path(std::move(path))
{
}

FileOutputStream::~FileOutputStream()
{
    close();
}

void FileOutputStream::open()
{
    // The system would stop at a NUL and write another file.
    if (!m_path.contains(QChar::Null)) {
        m_descriptor = openForWriting(LocalPath::toBytes(m_path).constData());
    }
    m_failed = m_descriptor < 0;
    if (!m_failed) {
        withdrawExecution(m_descriptor);
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
    if (m_descriptor >= 0) {
        // Not tried again when interrupted: the descriptor is gone either way.
        m_failed = (::close(m_descriptor) != 0 && errno != EINTR) || m_failed;
        m_descriptor = -1;
    }
    return !m_failed;
}
