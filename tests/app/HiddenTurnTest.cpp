#include "HiddenTurn.h"

#include "EnvironmentValue.h"
#include "Printers.h"

#include <QProcess>

#include <gtest/gtest.h>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

TEST(HiddenTurnTest, OneOfANameHasItUntilItGivesItUp)
{
    HiddenTurn first;
    HiddenTurn second;

    EXPECT_TRUE(first.take(u"Scans"_s));
    EXPECT_TRUE(first.take(u"Scans"_s));
    EXPECT_FALSE(second.take(u"Scans"_s));
    second.giveUp(); // What it does not have.
    EXPECT_FALSE(second.take(u"Scans"_s));

    first.giveUp();

    EXPECT_TRUE(second.take(u"Scans"_s));
    EXPECT_FALSE(first.take(u"Scans"_s));
}

TEST(HiddenTurnTest, ItGoesWithItsOwner)
{
    std::optional<HiddenTurn> first(std::in_place);
    ASSERT_TRUE(first->take(u"Scans"_s));

    first.reset();

    EXPECT_TRUE(HiddenTurn().take(u"Scans"_s));
}

TEST(HiddenTurnTest, NoProcessThatItsOwnerStartsKeepsIt)
{
    std::optional<HiddenTurn> first(std::in_place);
    ASSERT_TRUE(first->take(u"Scans"_s));
    QProcess other;
    other.start(u"cat"_s, QStringList());
    ASSERT_TRUE(other.waitForStarted());

    first.reset();

    EXPECT_TRUE(HiddenTurn().take(u"Scans"_s));
    other.closeWriteChannel();
    EXPECT_TRUE(other.waitForFinished());
}

TEST(HiddenTurnTest, EveryNameHasItsOwn)
{
    HiddenTurn first;
    HiddenTurn second;

    EXPECT_TRUE(first.take(u"Scans"_s));
    EXPECT_TRUE(second.take(u"scans"_s));
}

TEST(HiddenTurnTest, WithoutAPlaceForItEverybodyHasIt)
{
    const EnvironmentValue nowhere("XDG_STATE_HOME", "/proc/nowhere");
    HiddenTurn first;
    HiddenTurn second;

    EXPECT_TRUE(first.take(u"Scans"_s));
    EXPECT_TRUE(second.take(u"Scans"_s));
}

} // namespace
