#include "LocalItem.h"

#include "LocalPath.h"

#include <array>
#include <climits>
#include <sys/stat.h>
#include <unistd.h>

std::optional<LocalItem> LocalItem::at(const QString& path)
{
    const QByteArray bytes = LocalPath::toBytes(path);
    struct stat status = {};
    // The system would stop at a NUL and find another item.
    if (bytes.isEmpty() || bytes.contains('\0') || ::stat(bytes.constData(), &status) != 0) {
        return std::nullopt;
    }
    return LocalItem{ .isFolder = S_ISDIR(status.st_mode),
                      .isPlainFile = S_ISREG(status.st_mode),
                      .size = status.st_size };
}

QString LocalItem::linkTarget(const QString& path)
{
    const QByteArray bytes = LocalPath::toBytes(path);
    std::array<char, PATH_MAX> target{};
    const ssize_t size = bytes.contains('\0') ? -1 : ::readlink(bytes.constData(), target.data(), target.size());
    return size < 0 ? QString() : LocalPath::fromBytes(QByteArray(target.data(), size));
}
