#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>

/// The source's side of the X Direct Save protocol: the source of a drag writes a file that does not exist yet to the
/// path that the target asks for. Both use a property of the source's window. X11 only; for the main thread.
///
/// Source: "Direct Save Protocol (XDS)", freedesktop.org.
namespace DirectSave {

/// The protocol's name among the formats of dragged data.
inline const QString format = QStringLiteral("XdndDirectSave0");

/// Whether this program shows its windows by X11.
bool isAvailable();

/// Announces the file @p name, for which PathText::isFileName() holds, in the drag that is now running. Answers the
/// window that holds the property; 0 without a drag.
std::uint32_t announce(const QString& name);

/// The local file that the target has asked for through @p window, as an absolute path; null as long as it has not.
/// Removes the request.
QString acceptRequest(std::uint32_t window);

/// The path in a target's request @p value; null when it is no local file's URI.
QString pathOfRequest(QByteArray value);

} // namespace DirectSave
