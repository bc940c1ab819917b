#pragma once

#include <QIcon>

class QString;

// Icons that need no theme and no file, sharp at any size. For the main thread.

QIcon drawnFolderIcon();
/// A sheet of paper, with a mark for the family of the MIME type @p type: text, picture, sound, film, package; else
/// none.
QIcon drawnFileIcon(const QString& type);
