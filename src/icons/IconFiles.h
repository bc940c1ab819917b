#pragma once

#include "IconPicture.h"

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QStringList>

/// The files by which the desktop and its file managers know a drop icon.
namespace IconFiles {

/// What they tell.
struct Content {
    QString name; ///< As the user gave it.
    QString fileName; ///< Of the program.
    QStringList command; ///< What is started, before the files.
    QString image; ///< The path of the picture, or its name in the icon theme.
    IconPicture picture;
    bool hasOwnServer = false;
};

QByteArray launcher(const Content& content);
/// "Upload to NAME" in Thunar's menu "Send To", for files and folders, as it names no types.
QByteArray sendTo(const Content& content);
/// "Upload to NAME" in Dolphin's menu, for files and folders.
QByteArray serviceMenu(const Content& content);

/// What the launcher at @p path says of the picture.
IconPicture pictureOf(const QString& launcher);

constexpr QFile::Permissions readable = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther;
/// Desktops, and Dolphin, take only what may be executed.
constexpr QFile::Permissions executable = readable | QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther;

} // namespace IconFiles
