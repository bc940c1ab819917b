#include "OutcomeText.h"

#include "Printers.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(OutcomeTextTest, SaysHowManyWentUpAndWhatBecameOfTheOthers)
{
    EXPECT_TRUE(outcomeText({}).isNull());
    EXPECT_EQ(outcomeText({ .confirmed = 2 }), u"2 uploaded"_s);
    EXPECT_EQ(outcomeText({ .confirmed = 3, .otherSize = 1, .failed = 1 }), u"3 of 5 uploaded, 2 failed"_s);
    EXPECT_EQ(outcomeText({ .confirmed = 1, .failed = 1, .unanswered = 1 }),
              u"1 of 3 uploaded, 1 failed, 1 not known"_s);
    EXPECT_EQ(outcomeText({ .confirmed = 2, .leftOut = 1 }), u"2 uploaded, 1 left out"_s);
    EXPECT_EQ(outcomeText({ .leftOut = 1 }), u"1 left out"_s);
    EXPECT_EQ(outcomeText({ .confirmed = 1000, .notListed = 1, .stopped = 1, .removed = 2 }),
              u"1,000 of 1,004 uploaded, 1 not listed, 1 stopped, 2 removed"_s);
}

TEST(OutcomeTextTest, NamesASingleFile)
{
    const std::pair<FileTally, QString> rows[]{
        { { .confirmed = 1 }, u"“a” uploaded"_s },
        { { .notListed = 1 }, u"“a” uploaded, but not listed"_s },
        { { .otherSize = 1 }, u"“a” not uploaded whole"_s },
        { { .failed = 1 }, u"“a” not uploaded"_s },
        { { .unanswered = 1 }, u"“a” may or may not have been uploaded"_s },
        { { .stopped = 1 }, u"“a” stopped"_s },
        { { .removed = 1 }, u"“a” removed"_s },
        { { .leftOut = 1 }, u"“a” left out"_s },
    };
    for (const auto& [tally, text] : rows) {
        EXPECT_EQ(outcomeText(tally, u"a"_s), text);
    }
}

} // namespace
