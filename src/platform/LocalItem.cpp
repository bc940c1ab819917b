#include "LocalItem.h"

#include "LocalPath.h"

#include <array>
#include <cerrno>
#include <climits>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Puts what the system says of @p path into @p status. Answers the error, or 0.
int statusOf(const QString& path, struct stat& status)
{
    const QByteArray bytes = LocalPath::toBytes(path);
    if (bytes.isEmpty() || bytes.contains('\0')) { // The system would stop at a NUL and find another item.
        return ENOENT;
    }
    return ::stat(bytes.constData(), &status) == 0 ? 0 : errno;
}

} // namespace

std::optional<LocalItem> LocalItem::at(const QString& path)
{
    struct stat status = {};
    if (statusOf(path, status) != 0) {
        return std::nullopt;
    }
    return LocalItem{ .isFolder = S_ISDIR(status.st_mode),
                      .isPlainFile = S_ISREG(status.st_mode),
                      .size = status.st_size };
}

bool LocalItem::isMissing(const QString& path)
{
    struct stat status = {};
    const int error = statusOf(path, status);
    return error == ENOENT || error == ENOTDIR;
}

QString LocalItem::linkTarget(const QString& path)
{
    const QByteArray bytes = LocalPath::toBytes(path);
    std::array<char, PATH_MAX> target{};
    const ssize_t size = bytes.contains('\0') ? -1 : ::readlink(bytes.constData(), target.data(), target.size());
    return size < 0 ? QString() : LocalPath::fromBytes(QByteArray(target.data(), size));
}
