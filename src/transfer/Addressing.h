#pragma once

#include <QString>

/// How settings and the program's own name become the destination's location. Pure; a null text stands for nothing.
namespace Addressing {

/// The name of a program as the user sees it: the file name at @p location without a final ".app", and with every ":"
/// read as "/", which is how file systems store a "/" that was typed in a name.
QString appName(const QString& location);

/// The folder that a program of that name adds to the destination: its name, or null for the product's own name and
/// every name that begins with it.
QString folderFromAppName(const QString& appName);

/// ftp://@p address/@p folder/@p path, percent-escaped, the address spelled as it was given; a null folder or path
/// adds nothing. Null when the address is null, empty, or no host.
QString fullURL(const QString& address, const QString& folder, const QString& path);

/// The same with "/" at its end.
QString fullPath(const QString& address, const QString& folder, const QString& path);

/// The location of @p folder (LocalPath) below the one at @p location, "/" at its end.
QString folderBelow(const QString& location, const QString& folder);

/// @p text with "/" appended unless it ends in one.
QString withTrailingSlash(const QString& text);

} // namespace Addressing
