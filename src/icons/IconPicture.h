#pragma once

#include <QImage>
#include <QString>

/// What makes the picture of a drop icon another one than the program's: a patch of a colour on it, with letters.
struct IconPicture {
    QString colour; ///< As "#rrggbb"; null for none.
    QString letters; ///< At most two; null for none.

    /// Whether it is another one than the program's.
    bool isOwn() const { return !colour.isNull() || !letters.isNull(); }
    bool operator==(const IconPicture&) const = default;
};

/// The first two letters of @p text. A letter and its accents are one, as is what makes one emoji.
QString firstLetters(const QString& text);

/// The picture in a size of @p edge pixels. Needs the application object.
QImage drawn(const IconPicture& picture, int edge);
