#include "FTPManagerAnswers.h"

#include <QStringTokenizer>

void appendAnswer(QByteArray& text, QByteArrayView part)
{
    text.append('\n').append(part);
}

bool areGoodAnswers(const QString& text)
{
    for (const QStringView line : QStringView(text).tokenize(u'\n')) {
        if (line.startsWith(u'4') || line.startsWith(u'5')) {
            return false;
        }
    }
    return true;
}
