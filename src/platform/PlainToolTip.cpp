#include "PlainToolTip.h"

using namespace Qt::StringLiterals;

QString plainToolTip(const QString& text)
{
    constexpr qsizetype longestWord = 40;
    if (text.isEmpty()) {
        return {};
    }
    // A blank without width is a place to break.
    constexpr QChar breakPlace(0x200b);
    QString shown;
    qsizetype wordLength = 0;
    for (const QChar character : text) {
        wordLength = character.isSpace() ? 0 : wordLength + 1;
        shown += character;
        if (wordLength >= longestWord && !character.isHighSurrogate()) {
            shown += breakPlace;
            wordLength = 0;
        }
    }
    return u"<p style=\"white-space: pre-wrap\">"_s + shown.toHtmlEscaped() + u"</p>"_s;
}
