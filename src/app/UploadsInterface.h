#pragma once

#include <QByteArrayList>
#include <QDBusMetaType>
#include <QString>

/// The names of what UploadsService offers beside org.freedesktop.Application, at the same object. All paths on the bus
/// are bytes (LocalPath), and a call or signal has some hundreds of them at most: messages are limited.
namespace UploadsInterface {

inline const QString name = QStringLiteral("io.github.quillbox.Quillbox.Uploads");
constexpr qsizetype mostAtOnce = 500;

/// Makes the types known that the messages are made of.
inline void registerTypes()
{
    qDBusRegisterMetaType<QByteArrayList>();
}

} // namespace UploadsInterface
