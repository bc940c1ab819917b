#include "ZipNames.h"

#include "Descriptor.h"
#include "LocalPath.h"

#include <QString>
#include <QtEndian>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QByteArray endOf(const QString& path)
{
    const Descriptor file(open(LocalPath::toBytes(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    struct stat status { };
    if (file.get() < 0 || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return {};
    }
    QByteArray bytes(std::min<qint64>(status.st_size, zipDirectoryLimit), Qt::Uninitialized);
    qsizetype done = 0;
    while (done < bytes.size()) {
        const auto start = static_cast<off_t>(status.st_size - bytes.size() + done);
        const ssize_t count = pread(file.get(), bytes.data() + done, static_cast<size_t>(bytes.size() - done), start);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            break;
        }
        done += count;
    }
    bytes.truncate(done);
    return bytes;
}

} // namespace

QList<QByteArray> namesInZip(const QString& path)
{
    // APPNOTE.TXT, section 4.3.12.
    constexpr QByteArrayView mark = "PK\1\2";
    constexpr qsizetype lengthAt = 28;
    constexpr qsizetype nameAt = 46;
    const QByteArray bytes = endOf(path);
    QList<QByteArray> names;
    qsizetype entry = bytes.indexOf(mark);
    while (entry >= 0 && entry + nameAt <= bytes.size()) {
        names.append(bytes.mid(entry + nameAt, qFromLittleEndian<quint16>(bytes.constData() + entry + lengthAt)));
        entry = bytes.indexOf(mark, entry + nameAt);
    }
    return names;
}
