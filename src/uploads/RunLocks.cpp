#include "RunLocks.h"

#include "LocalPath.h"

#include <QRandomGenerator>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr qint64 placeOfAlone = 0; ///< No run has that number.

struct flock lockOf(qint64 run)
{
    struct flock lock { };
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = run;
    lock.l_len = 1;
    return lock;
}

} // namespace

RunLocks::RunLocks(const QString& path)
    : m_file(open(LocalPath::toBytes(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR))
{
}

std::optional<qint64> RunLocks::take()
{
    while (m_file.get() >= 0) {
        const auto run = static_cast<qint64>(QRandomGenerator::system()->generate64() >> 2U) + 1;
        struct flock lock = lockOf(run);
        if (fcntl(m_file.get(), F_OFD_SETLK, &lock) == 0) {
            return run;
        }
        if (errno != EAGAIN && errno != EACCES && errno != EINTR) {
            break;
        }
    }
    return std::nullopt;
}

bool RunLocks::isTaken(qint64 run) const
{
    struct flock lock = lockOf(run);
    return fcntl(m_file.get(), F_OFD_GETLK, &lock) != 0 || lock.l_type != F_UNLCK;
}

RunLocks::Alone::Alone(const RunLocks& locks)
    : m_locks(locks)
{
    struct flock lock = lockOf(placeOfAlone);
    m_isAlone = fcntl(m_locks.m_file.get(), F_OFD_SETLK, &lock) == 0;
}

RunLocks::Alone::~Alone()
{
    if (!m_isAlone) {
        return;
    }
    struct flock lock = lockOf(placeOfAlone);
    lock.l_type = F_UNLCK;
    fcntl(m_locks.m_file.get(), F_OFD_SETLK, &lock);
}
