#include "RecoveryPolicy.h"

#include <gtest/gtest.h>

namespace {

/// A try in the set-up on a connection that an earlier transfer has used and that has said nothing in this one.
constexpr TryFacts kept{ .isSettingUp = true, .isReused = true, .isLoggedIn = true };
/// A try in the set-up on a new connection whose server has greeted.
constexpr TryFacts fresh{ .isSettingUp = true, .hasReplied = true };

/// @p facts with one of them changed.
constexpr TryFacts with(TryFacts facts, bool TryFacts::*fact, bool value = true)
{
    facts.*fact = value;
    return facts;
}

TEST(RecoveryPolicyTest, AKeptConnectionThatHasGoneIsReplaced)
{
    for (const Trouble trouble : { Trouble::ConnectionLost, Trouble::Silence, Trouble::ServiceEnding }) {
        EXPECT_EQ(remedyFor(trouble, kept, {}), Remedy::FreshConnection);
    }
}

TEST(RecoveryPolicyTest, AKeptConnectionThatHasRepliedIsNotReplaced)
{
    for (const Trouble trouble : { Trouble::ConnectionLost, Trouble::Silence, Trouble::ServiceEnding }) {
        EXPECT_EQ(remedyFor(trouble, with(kept, &TryFacts::hasReplied), {}), Remedy::None);
    }
}

TEST(RecoveryPolicyTest, ANewConnectionThatFailsInTheSetUpIsTriedWithoutPipelining)
{
    for (const Trouble trouble : { Trouble::ConnectionLost, Trouble::Silence, Trouble::Confusion }) {
        EXPECT_EQ(remedyFor(trouble, fresh, {}), Remedy::WithoutPipelining);
        EXPECT_EQ(remedyFor(trouble, with(fresh, &TryFacts::isSettingUp, false), {}), Remedy::None);
        EXPECT_EQ(remedyFor(trouble, with(fresh, &TryFacts::pipelines, false), {}), Remedy::None);
        EXPECT_EQ(remedyFor(trouble, with(fresh, &TryFacts::isReused), {}), Remedy::None);
    }
}

TEST(RecoveryPolicyTest, ANewConnectionThatNobodyAnswersIsNotTriedAgain)
{
    for (const Trouble trouble : { Trouble::ConnectionLost, Trouble::Silence }) {
        EXPECT_EQ(remedyFor(trouble, with(fresh, &TryFacts::hasReplied, false), {}), Remedy::None);
    }
}

TEST(RecoveryPolicyTest, ARefusedLoginWaitsForAnotherConnectionOfOurs)
{
    const TryFacts crowded = with(fresh, &TryFacts::hasOtherLogin);
    EXPECT_EQ(remedyFor(Trouble::ServiceEnding, crowded, {}), Remedy::AwaitLogin);
    EXPECT_EQ(remedyFor(Trouble::ServiceEnding, crowded, Remedy::AwaitLogin), Remedy::AwaitLogin);
    EXPECT_EQ(remedyFor(Trouble::ServiceEnding, with(crowded, &TryFacts::isLoggedIn), {}), Remedy::None);
    EXPECT_EQ(remedyFor(Trouble::ServiceEnding, fresh, {}), Remedy::None);
}

TEST(RecoveryPolicyTest, ARefusedLoginWaitsForASessionThatWeHaveLeft)
{
    EXPECT_EQ(remedyFor(Trouble::ServiceEnding, with(fresh, &TryFacts::hasLeftSession), {}), Remedy::AwaitLogin);
}

TEST(RecoveryPolicyTest, AnOwnLoginThatFailsBesideAKeptOneWaitsForThatOnce)
{
    const TryFacts crowded = with(fresh, &TryFacts::hasOtherLogin);
    EXPECT_EQ(remedyFor(Trouble::OwnLoginFailed, crowded, {}), Remedy::AwaitLogin);
    EXPECT_EQ(remedyFor(Trouble::OwnLoginFailed, crowded, Remedy::AwaitLogin), Remedy::None);
    EXPECT_EQ(remedyFor(Trouble::OwnLoginFailed, with(crowded, &TryFacts::isLoggedIn), {}), Remedy::None);
}

TEST(RecoveryPolicyTest, AReplyThatFitsNoCommandIsWorthAFreshConnectionWhereOneWasKept)
{
    EXPECT_EQ(remedyFor(Trouble::StrayReply, with(kept, &TryFacts::hasReplied), {}), Remedy::FreshConnection);
    EXPECT_EQ(remedyFor(Trouble::StrayReply, kept, Remedy::FreshConnection), Remedy::None);
    EXPECT_EQ(remedyFor(Trouble::StrayReply, fresh, {}), Remedy::None);
}

TEST(RecoveryPolicyTest, ASessionThatStandsNobodyKnowsWhereIsAlwaysReplaced)
{
    EXPECT_EQ(remedyFor(Trouble::UnknownFolder, kept, {}), Remedy::FreshConnection);
    EXPECT_EQ(remedyFor(Trouble::UnknownFolder, kept, Remedy::FreshConnection), Remedy::FreshConnection);
}

TEST(RecoveryPolicyTest, AConnectionLostDuringAQuestionIsMadeAgainOnce)
{
    EXPECT_EQ(remedyFor(Trouble::LostDuringQuestion, {}, {}), Remedy::FreshAfterQuestion);
    EXPECT_EQ(remedyFor(Trouble::LostDuringQuestion, {}, Remedy::FreshConnection), Remedy::FreshAfterQuestion);
    EXPECT_EQ(remedyFor(Trouble::LostDuringQuestion, {}, Remedy::FreshAfterQuestion), Remedy::None);
}

TEST(RecoveryPolicyTest, ADeadPortOfEPSVIsTriedWithPASVWhereThatCanName)
{
    EXPECT_EQ(remedyFor(Trouble::DeadDataPort, with({}, &TryFacts::canUsePassive), {}), Remedy::WithPassive);
    EXPECT_EQ(remedyFor(Trouble::DeadDataPort, {}, {}), Remedy::None);
}

TEST(RecoveryPolicyTest, ARemedyIsTriedOnce)
{
    EXPECT_EQ(remedyFor(Trouble::ConnectionLost, kept, Remedy::FreshConnection), Remedy::None);
    EXPECT_EQ(remedyFor(Trouble::Confusion, fresh, Remedy::WithoutPipelining), Remedy::None);
    EXPECT_EQ(remedyFor(Trouble::DeadDataPort, with({}, &TryFacts::canUsePassive), Remedy::WithPassive), Remedy::None);
}

TEST(RecoveryPolicyTest, NothingIsTriedAfterSomethingWasReported)
{
    EXPECT_EQ(remedyFor(Trouble::ConnectionLost, with(kept, &TryFacts::hasReported), {}), Remedy::None);
    EXPECT_EQ(remedyFor(Trouble::Confusion, with(fresh, &TryFacts::hasReported), {}), Remedy::None);
}

} // namespace
