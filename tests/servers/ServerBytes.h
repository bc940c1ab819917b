#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <algorithm>

/// Bytes without a period, the same for the same size and @p seed, which is not 0.
inline QByteArray bytesOfSize(qsizetype size, quint32 seed = 2463534242U)
{
    QByteArray bytes(size, Qt::Uninitialized);
    std::ranges::generate(bytes, [&seed] {
        seed ^= seed << 13U;
        seed ^= seed >> 17U;
        seed ^= seed << 5U;
        return static_cast<char>(seed);
    });
    return bytes;
}

/// Whether the file at @p path holds @p bytes; printing them would tell nobody anything.
inline bool holds(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.readAll() == bytes;
}
