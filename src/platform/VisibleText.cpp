#include "VisibleText.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr char16_t zeroWidthNonJoiner = 0x200c;
constexpr char16_t zeroWidthJoiner = 0x200d;

bool actsUnseen(QChar character)
{
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    case QChar::Other_Format:
        return character != zeroWidthJoiner && character != zeroWidthNonJoiner;
    default:
        return false;
    }
}

QString shown(QChar character)
{
    constexpr char16_t firstPicture = 0x2400; // Of the control characters, in their order.
    constexpr char16_t deletePicture = 0x2421;
    const char16_t code = character.unicode();
    if (code < 0x20) {
        return QChar(static_cast<char16_t>(firstPicture + code));
    }
    return code == 0x7f ? QString(QChar(deletePicture)) : u"⟨U+%1⟩"_s.arg(QString::number(code, 16).toUpper(), 4, u'0');
}

/// Both ends of a text that is too long, cut between characters.
QString ends(const QString& text)
{
    constexpr qsizetype left = longestVisibleText / 2;
    constexpr qsizetype right = longestVisibleText - left - 1;
    const qsizetype leftEnd = text.at(left - 1).isHighSurrogate() ? left - 1 : left;
    const qsizetype rightStart = text.size() - right + (text.at(text.size() - right).isLowSurrogate() ? 1 : 0);
    return text.left(leftEnd) + u'…' + text.mid(rightStart);
}

} // namespace

QString visibleText(const QString& text)
{
    if (text.size() > longestVisibleText) {
        return visibleText(ends(text));
    }
    if (std::none_of(text.begin(), text.end(), actsUnseen)) {
        return text;
    }
    QString visible;
    for (const QChar character : text) {
        visible += actsUnseen(character) ? shown(character) : QString(character);
    }
    return visible;
}
