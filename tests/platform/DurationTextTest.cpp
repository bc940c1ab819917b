#include "DurationText.h"

#include "Printers.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

TEST(DurationTextTest, OneOrTwoUnitsAreShown)
{
    struct Row {
        std::chrono::milliseconds duration;
        QString text;
    };
    for (const Row& row : { Row{ 0ms, u"0 s"_s }, Row{ 1ms, u"1 ms"_s }, Row{ 99ms, u"99 ms"_s },
                            Row{ 100ms, u"0.1 s"_s }, Row{ 450ms, u"0.4 s"_s }, Row{ 3s, u"3 s"_s },
                            Row{ 9999ms, u"9.9 s"_s }, Row{ 10s, u"10 s"_s }, Row{ 59999ms, u"59 s"_s },
                            Row{ 60s, u"1 min"_s }, Row{ 185s, u"3 min 5 s"_s }, Row{ 3599s, u"59 min 59 s"_s },
                            Row{ 1h, u"1 h"_s }, Row{ 130min + 40s, u"2 h 10 min"_s }, Row{ 100h, u"100 h"_s } }) {
        EXPECT_EQ(durationText(row.duration), row.text);
    }
}

TEST(DurationTextTest, ANegativeDurationIsNone)
{
    EXPECT_EQ(durationText(-5s), u"0 s"_s);
}

} // namespace
