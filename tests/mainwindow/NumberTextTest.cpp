#include "NumberText.h"

#include "CheckRows.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(NumberTextTest, IsWholeNearWholeNumbersAndHasOnePlaceElsewhere)
{
    checkRows<QString(double, QString)>(
        {
            { 2.05, u"MB"_s, u"2 MB"_s },
            { 1.95, u"MB"_s, u"2 MB"_s },
            { 2.5, u"MB"_s, u"2.5 MB"_s },
            { 2.93, u"MB"_s, u"3 MB"_s },
            { 0, u"MB"_s, u"0 MB"_s },
            { 1.5, u"%1"_s, u"1.5 %1"_s },
        },
        stringForNumber);
}

} // namespace
