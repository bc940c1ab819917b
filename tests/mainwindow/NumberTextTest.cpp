#include "NumberText.h"

#include "Printers.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(NumberTextTest, IsWholeNearWholeNumbersAndHasOnePlaceElsewhere)
{
    EXPECT_EQ(numberText(2.05, u"MB"_s), u"2 MB"_s);
    EXPECT_EQ(numberText(1.95, u"MB"_s), u"2 MB"_s);
    EXPECT_EQ(numberText(2.5, u"MB"_s), u"2.5 MB"_s);
    EXPECT_EQ(numberText(2.93, u"MB"_s), u"3 MB"_s);
    EXPECT_EQ(numberText(0, u"MB"_s), u"0 MB"_s);
    EXPECT_EQ(numberText(1.5, u"%1"_s), u"1.5 %1"_s);
}

} // namespace
