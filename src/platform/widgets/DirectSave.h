#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>

/// The source's side of the X Direct Save protocol: a dragged file that does not exist yet is written by its source to
/// where the target wants it. The two talk through a property of the source's window. X11 alone; for the main thread.
///
/// Source: "Direct Save Protocol (XDS)", freedesktop.org.
namespace DirectSave {

/// Of the protocol, among the formats of dragged data.
inline const QString format = QStringLiteral("XdndDirectSave0");

/// Whether this program shows its windows by X11.
bool isAvailable();

/// Announces the file @p name, for which PathText::isFileName() holds, in the drag that is now running. Answers the
/// window that the talk goes through; 0 without a drag.
std::uint32_t announce(const QString& name);

/// The local file that the target has asked for through @p window, as an absolute path; null as long as it has not.
/// Removes the wish.
QString takeWish(std::uint32_t window);

/// The path that a target's wish @p value stands for; null for what is no local file's URI.
QString pathOfWish(QByteArray value);

} // namespace DirectSave
