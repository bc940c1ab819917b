#include "RunLocks.h"

#include "ByteLock.h"
#include "LocalPath.h"

#include <QRandomGenerator>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr qint64 placeOfAlone = 0; ///< No run has that number.

} // namespace

RunLocks::RunLocks(const QString& path)
    : m_file(open(LocalPath::toBytes(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR))
{
}

std::optional<qint64> RunLocks::take()
{
    while (m_file.get() >= 0) {
        const auto run = static_cast<qint64>(QRandomGenerator::system()->generate64() >> 2U) + 1;
        switch (ByteLock::take(m_file.get(), run)) {
        case ByteLock::Attempt::Taken:
            return run;
        case ByteLock::Attempt::Busy:
            break;
        case ByteLock::Attempt::Impossible:
            return std::nullopt;
        }
    }
    return std::nullopt;
}

bool RunLocks::isTaken(qint64 run) const
{
    return ByteLock::isTaken(m_file.get(), run);
}

RunLocks::Alone::Alone(const RunLocks& locks)
    : m_locks(locks)
    , m_isAlone(ByteLock::take(locks.m_file.get(), placeOfAlone) == ByteLock::Attempt::Taken)
{
}

RunLocks::Alone::~Alone()
{
    if (m_isAlone) {
        ByteLock::giveUp(m_locks.m_file.get(), placeOfAlone);
    }
}
