#pragma once

#include <QString>

/// Local paths as texts, without looking at the file system.
namespace PathText {

/// What stands after the last "/"; slashes at the end do not count. "/" of a path that is nothing but slashes, null
/// of null.
QString lastPathComponent(const QString& path);

/// @p path without the last "." of its last component and what follows it, and without slashes at the end. A dot at
/// the beginning of the component starts no extension.
QString deletingPathExtension(const QString& path);

/// @p component below @p path, with one "/" between them and none at the end. An empty @p component changes nothing;
/// an empty @p path gives the component alone, a null one null.
QString appendingPathComponent(const QString& path, const QString& component);

/// Whether @p name, which may come from anywhere, can name a file inside a folder and none elsewhere: it is not empty,
/// "." or "..", and holds neither "/" nor NUL.
bool isFileName(const QString& name);

/// @p name, which holds no "/", when it takes at most @p bytes in UTF-8, else cut to that: the part before the
/// extension loses whole characters at its end. An extension of more than half of @p bytes counts as none.
QString shortenedFileName(const QString& name, qsizetype bytes);

/// A name for a local file that somebody else calls @p name, which holds no "/": what would act unseen in it is shown,
/// as in every other text (wholeVisibleText), and it is shortened to what a file system takes, less @p reservedBytes.
QString localFileName(const QString& name, qsizetype reservedBytes = 0);

} // namespace PathText
