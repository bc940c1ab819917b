#include "WeakRef.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

struct Base {
    int value = 7;
};

struct Owner : Base {
    WeakAnchor anchor;
};

TEST(WeakRefTest, ReachesItsOwnerWhileThatLives)
{
    Owner owner;

    const WeakRef<Base> ref = owner.anchor.ref(&owner);

    ASSERT_NE(ref.get(), nullptr);
    EXPECT_EQ(ref.get()->value, 7);
}

TEST(WeakRefTest, AnswersNullWhenTheOwnerIsGone)
{
    std::optional<Owner> owner(std::in_place);
    const WeakRef<Base> ref = owner->anchor.ref(&*owner);

    owner.reset();

    EXPECT_EQ(ref.get(), nullptr);
}

TEST(WeakRefTest, AnswersNullWhenItWasNeverSet)
{
    EXPECT_EQ(WeakRef<Base>().get(), nullptr);
}

} // namespace
