#include "FileOutputStream.h"

#include "LocalPath.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

/// What comes from elsewhere takes no program's place: a file that is written over can no longer be executed.
void withdrawExecution(int descriptor)
{
    constexpr mode_t execution = S_IXUSR | S_IXGRP | S_IXOTH;
    struct stat status = {};
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && (status.st_mode & execution) != 0) {
        ::fchmod(descriptor, status.st_mode & 07777 & ~execution);
    }
}

/// Opens what is there or, when there is nothing, makes a file. In two steps, since a file that is made in the one step
/// that the system has for both is also made at the end of a link that leads to nothing.
int openForWriting(const QString& path)
{
    constexpr int flags = O_WRONLY | O_TRUNC | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
    const QByteArray name = LocalPath::toBytes(path);
    const int descriptor = ::open(name.constData(), flags);
    return descriptor >= 0 || errno != ENOENT ? descriptor : ::open(name.constData(), flags | O_CREAT | O_EXCL, 0666);
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
        m_descriptor = openForWriting(m_path);
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
