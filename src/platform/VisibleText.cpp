#include "VisibleText.h"

#include <QChar>
#include <QList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype mostCharacters = 1000;

constexpr char32_t zeroWidthNonJoiner = 0x200c;
constexpr char32_t zeroWidthJoiner = 0x200d;

bool actsUnseen(char32_t character)
{
    switch (QChar::category(character)) {
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

QString shown(char32_t character)
{
    constexpr char32_t firstPicture = 0x2400; // Of the control characters, in their order.
    constexpr char32_t deletePicture = 0x2421;
    if (character < 0x20) {
        return QChar(static_cast<char16_t>(firstPicture + character));
    }
    return character == 0x7f ? QString(QChar(static_cast<char16_t>(deletePicture)))
                             : u"⟨U+%1⟩"_s.arg(QString::number(character, 16).toUpper(), 4, u'0');
}

/// @p text, with something left out in the middle where it is too long to be read.
QString readable(const QString& text)
{
    if (text.size() <= mostCharacters) {
        return text;
    }
    QString head = text.left(mostCharacters / 2);
    QString tail = text.right(mostCharacters / 2);
    if (head.back().isHighSurrogate()) {
        head.chop(1);
    }
    if (tail.front().isLowSurrogate()) {
        tail.remove(0, 1);
    }
    return head + u'…' + tail;
}

} // namespace

QString visibleText(const QString& text)
{
    return wholeVisibleText(readable(text));
}

QString wholeVisibleText(const QString& text)
{
    const QList<uint> characters = text.toUcs4();
    if (std::none_of(characters.begin(), characters.end(), actsUnseen)) {
        return text;
    }
    QString visible;
    for (const char32_t character : characters) {
        visible += actsUnseen(character) ? shown(character) : QString::fromUcs4(&character, 1);
    }
    return visible;
}
