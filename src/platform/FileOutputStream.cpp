#include "FileOutputStream.h"

#include <QFile>

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
        m_descriptor = ::open(QFile::encodeName(m_path).constData(),
                              O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_CLOEXEC | O_NOCTTY, 0666);
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
