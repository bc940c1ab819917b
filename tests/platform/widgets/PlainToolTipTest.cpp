#include "PlainToolTip.h"

#include "Printers.h"

#include <QTextDocument>
#include <QTextOption>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/// What a tool tip shows.
QString shown(const QString& toolTip)
{
    QTextDocument document;
    document.setHtml(toolTip);
    return document.toPlainText();
}

TEST(PlainToolTipTest, ShowsATextAsItStands)
{
    EXPECT_EQ(plainToolTip(u""_s), u""_s);
    for (const QString& text : { u"plain"_s, u"<b>bold</b> &amp; <img src=x>"_s, u"a  b"_s }) {
        EXPECT_EQ(shown(plainToolTip(text)), text);
    }
}

TEST(PlainToolTipTest, WordsOfFortyCharactersBreakAndShorterOnesDoNot)
{
    QTextOption betweenWords; // Where a tool tip breaks its lines.
    betweenWords.setWrapMode(QTextOption::WordWrap);
    QTextDocument document;
    document.setDefaultTextOption(betweenWords);
    document.setHtml(plainToolTip(QString(4000, u'x')));
    document.setTextWidth(400);

    EXPECT_LE(document.idealWidth(), 400);
    const QString shortWord(39, u'x');
    EXPECT_EQ(shown(plainToolTip(shortWord)), shortWord);
}

} // namespace
