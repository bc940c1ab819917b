#include "VisibleText.h"

#include "LocalPath.h"

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
    case QChar::Other_Surrogate:
        return LocalPath::isByte(character);
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
    if (character == 0x7f) {
        return QChar(static_cast<char16_t>(deletePicture));
    }
    const bool isByte = LocalPath::isByte(character);
    const QString number = QString::number(isByte ? LocalPath::byteOf(character) : character, 16).toUpper();
    return isByte ? u"⟨0x%1⟩"_s.arg(number) : u"⟨U+%1⟩"_s.arg(number, 4, u'0');
}

/// The characters of @p text, with a half of a surrogate pair as one of its own.
QList<char32_t> charactersOf(const QString& text)
{
    QList<char32_t> characters;
    characters.reserve(text.size());
    for (const QChar unit : text) {
        if (unit.isLowSurrogate() && !characters.isEmpty() && QChar::isHighSurrogate(characters.last())) {
            characters.last() = QChar::surrogateToUcs4(static_cast<char16_t>(characters.last()), unit.unicode());
        } else {
            characters.append(unit.unicode());
        }
    }
    return characters;
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
    const QList<char32_t> characters = charactersOf(text);
    if (std::none_of(characters.begin(), characters.end(), actsUnseen)) {
        return text;
    }
    QString visible;
    for (const char32_t character : characters) {
        visible += actsUnseen(character) ? shown(character) : QString::fromUcs4(&character, 1);
    }
    return visible;
}
