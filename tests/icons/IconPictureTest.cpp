#include "IconPicture.h"

#include "CheckRows.h"

#include <QColor>

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// The darkest and the lightest grey of what is well inside the patch of @p picture.
std::pair<int, int> greysOf(const IconPicture& picture)
{
    constexpr int edge = 100;
    const QImage patch = drawn(picture, edge).copy(54, 54, 36, 36);
    std::pair<int, int> greys(255, 0);
    for (int y = 0; y < patch.height(); ++y) {
        for (int x = 0; x < patch.width(); ++x) {
            const int grey = qGray(patch.pixel(x, y));
            greys = { std::min(greys.first, grey), std::max(greys.second, grey) };
        }
    }
    return greys;
}

TEST(IconPictureTest, LettersAreSeenOnEveryColourAndWithout)
{
    checkRows<void(QString, bool)>(
        {
            { QString(), false },
            { u"#c01c28"_s, false },
            { u"#1c71d8"_s, false },
            { u"#813d9c"_s, false },
            { u"#f5c211"_s, true },
        },
        [](const QString& colour, bool isDark) {
            const auto [darkest, lightest] = greysOf({ .colour = colour, .letters = u"M"_s });
            if (isDark) {
                EXPECT_LT(darkest, 40);
                EXPECT_LT(lightest, 250);
            } else {
                EXPECT_GT(lightest, 215);
                EXPECT_GT(darkest, 5);
            }
        });
    const auto [darkest, lightest] = greysOf({ .colour = u"#c01c28"_s, .letters = {} });
    EXPECT_EQ(darkest, lightest);
}

} // namespace
