#include "ByteLock.h"

#include <cerrno>
#include <fcntl.h>

namespace {

struct flock lockOf(qint64 place, short type)
{
    struct flock lock { };
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = place;
    lock.l_len = 1;
    return lock;
}

} // namespace

namespace ByteLock {

Attempt take(int file, qint64 place)
{
    struct flock lock = lockOf(place, F_WRLCK);
    int result = 0;
    do {
        result = fcntl(file, F_OFD_SETLK, &lock);
    } while (result != 0 && errno == EINTR);
    if (result == 0) {
        return Attempt::Taken;
    }
    return errno == EAGAIN || errno == EACCES ? Attempt::Busy : Attempt::Impossible;
}

void giveUp(int file, qint64 place)
{
    struct flock lock = lockOf(place, F_UNLCK);
    fcntl(file, F_OFD_SETLK, &lock);
}

bool isTaken(int file, qint64 place)
{
    struct flock lock = lockOf(place, F_WRLCK);
    return fcntl(file, F_OFD_GETLK, &lock) != 0 || lock.l_type != F_UNLCK;
}

} // namespace ByteLock
