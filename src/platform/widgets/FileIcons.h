#pragma once

#include <QIcon>

class QString;

/// The icons of the desktop's theme for files that are known by name alone; drawn ones where the theme has none. For
/// the main thread.
namespace FileIcons {

QIcon folder();
/// By the extension of @p name. Each extension is looked up once.
QIcon ofFileNamed(const QString& name);
/// What kind of file the extension of @p name tells, in the user's language ("PNG image").
QString kindOfFileNamed(const QString& name);

} // namespace FileIcons
