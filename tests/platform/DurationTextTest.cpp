#include "DurationText.h"

#include "CheckRows.h"
#include "LocaleScope.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

TEST(DurationTextTest, OneOrTwoUnitsAreShown)
{
    checkRows<QString(std::chrono::milliseconds)>(
        {
            { 0ms, u"0 s"_s },
            { 1ms, u"1 ms"_s },
            { 99ms, u"99 ms"_s },
            { 100ms, u"0.1 s"_s },
            { 450ms, u"0.4 s"_s },
            { 3s, u"3 s"_s },
            { 9999ms, u"9.9 s"_s },
            { 10s, u"10 s"_s },
            { 59999ms, u"59 s"_s },
            { 60s, u"1 min"_s },
            { 185s, u"3 min 5 s"_s },
            { 3599s, u"59 min 59 s"_s },
            { 1h, u"1 h"_s },
            { 130min + 40s, u"2 h 10 min"_s },
            { 100h, u"100 h"_s },
            { "negative", -5s, u"0 s"_s },
        },
        durationText);
}

TEST(DurationTextTest, ItsDigitsAreThoseOfTheLocale)
{
    const LocaleScope locale(QLocale(QLocale::Arabic, QLocale::Egypt));

    checkRows<QString(std::chrono::milliseconds)>(
        {
            { 45ms, u"٤٥ ms"_s },
            { 400ms, u"٠٫٤ s"_s },
            { 25s, u"٢٥ s"_s },
            { 185s, u"٣ min ٥ s"_s },
            { 130min, u"٢ h ١٠ min"_s },
        },
        durationText);
}

} // namespace
