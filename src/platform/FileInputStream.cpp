#include "FileInputStream.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

std::unique_ptr<FileInputStream> FileInputStream::create(const QString& path)
{
    // The system would stop at a NUL and open another file.
    if (path.contains(QChar::Null)) {
        return nullptr;
    }
    const int descriptor = open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0) {
        return nullptr;
    }
    struct stat status { };
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(descriptor);
        return nullptr;
    }
    return std::unique_ptr<FileInputStream>(new FileInputStream(descriptor, status.st_size));
}

FileInputStream::FileInputStream(int descriptor, qint64 length)
    : m_descriptor(descriptor)
    , m_length(length)
{
}

FileInputStream::~FileInputStream()
{
    close();
}

qint64 FileInputStream::read(std::span<char> buffer)
{
    if (m_descriptor < 0) {
        return -1;
    }
    const qint64 wanted = std::min(static_cast<qint64>(buffer.size()), m_length - m_position);
    if (wanted == 0) {
        return 0;
    }
    ssize_t count = 0;
    do {
        count = ::read(m_descriptor, buffer.data(), static_cast<size_t>(wanted));
    } while (count < 0 && errno == EINTR);
    if (count <= 0) {
        return -1;
    }
    m_position += count;
    return count;
}

void FileInputStream::close()
{
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
        m_descriptor = -1;
    }
}
