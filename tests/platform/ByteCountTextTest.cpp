#include "ByteCountText.h"

#include "CheckRows.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

/// As in a locale that has no thousands.
QString text(qint64 bytes)
{
    return byteCountText(bytes, QLocale::c());
}

TEST(ByteCountTextTest, CountsReadAsInAFileManager)
{
    checkRows<QString(qint64)>(
        {
            { 0, u"Zero KB"_s },
            { 1, u"1 byte"_s },
            { 2, u"2 bytes"_s },
            { 12, u"12 bytes"_s },
            { 499, u"499 bytes"_s },
            { 999, u"999 bytes"_s },
            { 1000, u"1 KB"_s },
            { 1023, u"1 KB"_s },
            { 1024, u"1 KB"_s },
            { 11999, u"12 KB"_s },
            { 55000, u"55 KB"_s },
            { 900000, u"900 KB"_s },
            { 999499, u"999 KB"_s },
            { 12345678, u"12.3 MB"_s },
            { 16777216, u"16.8 MB"_s },
            { 123456789, u"123.5 MB"_s },
            { 550000000, u"550 MB"_s },
            { 999900000, u"999.9 MB"_s },
            { 1234567898, u"1.23 GB"_s },
            { 5500000000, u"5.5 GB"_s },
            { 12345678987, u"12.35 GB"_s },
            { 1500000000000, u"1.5 TB"_s },
            { 2000000000000000, u"2 PB"_s },
            { std::numeric_limits<qint64>::max(), u"9.22 EB"_s },
        },
        text);
}

TEST(ByteCountTextTest, WhatRoundsToAThousandGoesToTheNextUnit)
{
    EXPECT_EQ(text(999500), u"1 MB"_s);
    EXPECT_EQ(text(999949999), u"999.9 MB"_s);
    EXPECT_EQ(text(999950000), u"1 GB"_s);
    EXPECT_EQ(text(999995000000), u"1 TB"_s);
}

TEST(ByteCountTextTest, TiesGoToTheEvenNumber)
{
    EXPECT_EQ(text(1500), u"2 KB"_s);
    EXPECT_EQ(text(2500), u"2 KB"_s);
    EXPECT_EQ(text(2501), u"3 KB"_s);
    EXPECT_EQ(text(1250000), u"1.2 MB"_s);
    EXPECT_EQ(text(1350000), u"1.4 MB"_s);
}

TEST(ByteCountTextTest, NegativeCountsKeepTheirSign)
{
    EXPECT_EQ(text(-1), u"-1 byte"_s);
    EXPECT_EQ(text(-5500000000), u"-5.5 GB"_s);
    EXPECT_EQ(text(std::numeric_limits<qint64>::min()), u"-9.22 EB"_s);
}

TEST(ByteCountTextTest, TheNumberIsWrittenAsInTheLocale)
{
    EXPECT_EQ(byteCountText(5500000000, QLocale(QLocale::German, QLocale::Germany)), u"5,5 GB"_s);
}

} // namespace
