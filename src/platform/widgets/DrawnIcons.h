#pragma once

#include <QIcon>

class QString;

// Icons that need no theme and no file, sharp at any size. For the main thread.

QIcon drawnFolderIcon();
/// A shape of its own for each state, so that nothing depends on its colour.
enum class Padlock {
    None, ///< An outline: nothing is known.
    Open, ///< Its shackle stands open.
    Closed, ///< With a keyhole.
    Ticked, ///< Closed, with a tick in place of the keyhole.
};
QIcon drawnPadlockIcon(Padlock padlock);
QIcon drawnEyeIcon();
/// A green disc with a tick, and a red one with a cross.
QIcon drawnTickIcon();
QIcon drawnCrossIcon();
/// A disc with an exclamation mark.
QIcon drawnWarningIcon();
/// An arrow that leads up out of a tray.
QIcon drawnUploadIcon();
/// A sheet of paper with the curved arrow of a link.
QIcon drawnLinkIcon();
/// A sheet of paper with a cog: no file, no folder and no link.
QIcon drawnSpecialIcon();
/// A sheet of paper, with a mark for the family of the MIME type @p type: text, picture, sound, film, package; else
/// none.
QIcon drawnFileIcon(const QString& type);
