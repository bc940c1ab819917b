#include "VisibleText.h"

#include "Printers.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(VisibleTextTest, OrdinaryTextStays)
{
    for (const QString& text : { u""_s, u"Ünï 中文 مرحبا"_s, u"👩\u200d👧 और\u200cक"_s, u"a<b>&\\\"'"_s }) {
        EXPECT_EQ(visibleText(text), text);
    }
    EXPECT_TRUE(visibleText(QString()).isNull());
}

TEST(VisibleTextTest, WhatActsUnseenIsShown)
{
    EXPECT_EQ(visibleText(u"a\tb\r\n\x1b[1m\x7f"_s), u"a␉b␍␊␛[1m␡"_s);
    EXPECT_EQ(visibleText(QString(QChar(u'\0'))), u"␀"_s);
    EXPECT_EQ(visibleText(u"\u0085\u202e\u2067\u200f\u200b\ufeff\u2028"_s),
              u"⟨U+0085⟩⟨U+202E⟩⟨U+2067⟩⟨U+200F⟩⟨U+200B⟩⟨U+FEFF⟩⟨U+2028⟩"_s);
}

TEST(VisibleTextTest, OfALongTextTheMiddleIsLeftOut)
{
    const QString longest(longestVisibleText, u'x');
    EXPECT_EQ(visibleText(longest), longest);

    const QString half(longestVisibleText / 2, u'x');
    EXPECT_EQ(visibleText(half + u"yyy"_s + half), half + u"…"_s + half.chopped(1));
    // A character of two code units is not cut apart.
    const QString emoji = u"👧"_s;
    EXPECT_EQ(visibleText(half.chopped(1) + emoji + u"yyy"_s + emoji + half.chopped(2)),
              half.chopped(1) + u"…"_s + half.chopped(2));
}

} // namespace
