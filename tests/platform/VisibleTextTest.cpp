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

} // namespace
