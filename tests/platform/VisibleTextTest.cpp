#include "VisibleText.h"

#include "LocalPath.h"
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

TEST(VisibleTextTest, CharactersBeyondTheFirstPlaneAreShownToo)
{
    EXPECT_EQ(visibleText(u"a\U000E0041b\U0001D173"_s), u"a⟨U+E0041⟩b⟨U+1D173⟩"_s);
    EXPECT_EQ(visibleText(u"\U0001F600\u0007"_s), u"\U0001F600␇"_s);
}

TEST(VisibleTextTest, BytesOfPathsThatAreNotUtf8AreShownByTheirNumbers)
{
    EXPECT_EQ(visibleText(LocalPath::fromBytes("caf\xe9\x80.txt")), u"caf⟨0xE9⟩⟨0x80⟩.txt"_s);
    EXPECT_EQ(visibleText(LocalPath::fromBytes("\xf0\x9f\x98\x80\xff")), u"\U0001F600⟨0xFF⟩"_s);
}

TEST(VisibleTextTest, HalfASurrogatePairDoesNoHarm)
{
    EXPECT_EQ(visibleText(u"a"_s + QChar(0xd800) + u'b').size(), 3);
}

TEST(VisibleTextTest, OfAVeryLongTextTheMiddleIsLeftOut)
{
    const QString longest(1000, u'x');
    EXPECT_EQ(visibleText(longest), longest);
    EXPECT_EQ(visibleText(longest + u'x'), longest.first(500) + u'…' + longest.first(500));

    const QString head = u"a"_s.repeated(500);
    const QString tail = u"z"_s.repeated(500);
    EXPECT_EQ(visibleText(head + QString(1'000'000, u'm') + tail), head + u'…' + tail);
    EXPECT_EQ(wholeVisibleText(head.repeated(9) + u'\t'), head.repeated(9) + u'␉');
    const QString smile = u"\U0001F600"_s;
    EXPECT_EQ(visibleText(u'a' + smile.repeated(1000) + u'z'),
              u'a' + smile.repeated(249) + u'…' + smile.repeated(249) + u'z');
}

} // namespace
