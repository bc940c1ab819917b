#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QtEndian>

/// A zip archive that holds empty files of those @p names.
inline QByteArray zipOf(const QByteArrayList& names)
{
    const auto number = [](auto value) {
        QByteArray bytes(sizeof(value), Qt::Uninitialized);
        qToLittleEndian(value, bytes.data());
        return bytes;
    };
    QByteArray files;
    QByteArray directory;
    for (const QByteArray& name : names) {
        const QByteArray length = number(static_cast<quint16>(name.size()));
        const QByteArray place = number(static_cast<quint32>(files.size()));
        files += "PK\3\4\x0a" + QByteArray(21, 0) + length + QByteArray(2, 0) + name;
        directory
            += "PK\1\2\x14" + QByteArray(1, 0) + "\x0a" + QByteArray(21, 0) + length + QByteArray(12, 0) + place + name;
    }
    const QByteArray count = number(static_cast<quint16>(names.size()));
    return files + directory + "PK\5\6" + QByteArray(4, 0) + count + count
        + number(static_cast<quint32>(directory.size())) + number(static_cast<quint32>(files.size()))
        + QByteArray(2, 0);
}
