#include "FileInputStream.h"

#include "LocalPath.h"

#include <algorithm>
#include <array>
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
    const int descriptor = open(LocalPath::toBytes(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0) {
        return nullptr;
    }
    struct stat status { };
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(descriptor);
        return nullptr;
    }
    std::unique_ptr<FileInputStream> stream(new FileInputStream(descriptor, status.st_size));
    if (status.st_size == 0) {
        stream->readWhole();
    }
    return stream;
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

void FileInputStream::readWhole()
{
    std::array<char, 32768> part{};
    qint64 count = 0;
    while (m_bytes.size() <= lengthLimit && (count = readSome(part)) > 0) {
        m_bytes.append(part.data(), count);
    }
    m_length = count == 0 ? m_bytes.size() : -1;
}

qint64 FileInputStream::readSome(std::span<char> buffer) const
{
    ssize_t count = 0;
    do {
        count = ::read(m_descriptor, buffer.data(), buffer.size());
    } while (count < 0 && errno == EINTR);
    return count;
}

qint64 FileInputStream::read(std::span<char> buffer)
{
    if (m_descriptor < 0 || m_length < 0) {
        return -1;
    }
    const qint64 wanted = std::min(static_cast<qint64>(buffer.size()), m_length - m_position);
    if (wanted == 0) {
        return 0;
    }
    if (!m_bytes.isEmpty()) {
        std::copy_n(m_bytes.cbegin() + m_position, wanted, buffer.begin());
        m_position += wanted;
        return wanted;
    }
    const qint64 count = readSome(buffer.first(static_cast<size_t>(wanted)));
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
