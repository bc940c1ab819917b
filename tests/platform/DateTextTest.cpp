#include "DateText.h"

#include "EnvironmentValue.h"
#include "LocaleScope.h"
#include "Printers.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

const QDateTime afternoon(QDate(2024, 1, 9), QTime(15, 4, 5));

/// Some versions of the locale data put a narrow blank before "PM".
QString withPlainBlanks(QString text)
{
    return text.replace(QChar(0x202f), u' ');
}

TEST(DateTextTest, ShowsSecondsWithTheMediumTime)
{
    const LocaleScope locale(QLocale(QLocale::English, QLocale::UnitedStates));

    EXPECT_EQ(withPlainBlanks(shortDateMediumTimeText(afternoon)), u"1/9/24, 3:04:05 PM"_s);
}

TEST(DateTextTest, ShowsNoSecondsWithTheShortTime)
{
    const LocaleScope locale(QLocale(QLocale::English, QLocale::UnitedStates));

    EXPECT_EQ(withPlainBlanks(shortDateShortTimeText(afternoon)), u"1/9/24, 3:04 PM"_s);
}

TEST(DateTextTest, FollowsAChangeOfLocale)
{
    const LocaleScope english(QLocale(QLocale::English, QLocale::UnitedStates));
    shortDateMediumTimeText(afternoon);

    const LocaleScope german(QLocale(QLocale::German, QLocale::Germany));

    EXPECT_EQ(shortDateMediumTimeText(afternoon), u"09.01.24, 15:04:05"_s);
}

TEST(DateTextTest, TheCLocaleReadsAsAmericanEnglish)
{
    const LocaleScope locale(QLocale::c());

    EXPECT_EQ(withPlainBlanks(shortDateShortTimeText(afternoon)), u"1/9/24, 3:04 PM"_s);
}

TEST(DateTextTest, TheUsersLocaleForDatesCounts)
{
    EnvironmentValue all("LC_ALL", std::nullopt);
    const EnvironmentValue language("LANG", "en_US.UTF-8");
    const EnvironmentValue times("LC_TIME", "de_DE.UTF-8");
    const LocaleScope locale(QLocale::system());

    EXPECT_EQ(shortDateShortTimeText(afternoon), u"09.01.24, 15:04"_s);
    all.set("en_GB");
    EXPECT_EQ(shortDateShortTimeText(afternoon), u"09/01/2024, 15:04"_s);
    all.set("C.UTF-8");
    EXPECT_EQ(withPlainBlanks(shortDateShortTimeText(afternoon)), u"1/9/24, 3:04 PM"_s);
}

TEST(DateTextTest, MomentsAreShownInTheUsersZone)
{
    const LocaleScope locale(QLocale(QLocale::German, QLocale::Germany));

    EXPECT_EQ(shortDateMediumTimeText(afternoon.toUTC()), u"09.01.24, 15:04:05"_s);
    EXPECT_EQ(shortDateMediumTimeText(afternoon.toOffsetFromUtc(5 * 3600)), u"09.01.24, 15:04:05"_s);
}

} // namespace
