#include "LightAppearance.h"

#include <QApplication>
#include <QImage>
#include <QPalette>
#include <QPixmap>
#include <QProxyStyle>
#include <QPushButton>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

TEST(LightAppearanceTest, WindowsAreLightWhateverThePaletteWas)
{
    QPalette dark;
    dark.setColor(QPalette::Window, Qt::black);
    dark.setColor(QPalette::WindowText, Qt::white);
    QApplication::setPalette(dark);

    useLightAppearance();

    const QPalette palette = QApplication::palette();
    EXPECT_GT(palette.color(QPalette::Window).lightness(), 200);
    EXPECT_GT(palette.color(QPalette::Base).lightness(), 200);
    EXPECT_LT(palette.color(QPalette::WindowText).lightness(), 60);
    const auto* const style = qobject_cast<QProxyStyle*>(QApplication::style());
    ASSERT_NE(style, nullptr);
    EXPECT_EQ(style->baseStyle()->name().toLower(), QStringLiteral("fusion"));
}

double luminance(const QColor& colour)
{
    const auto linear
        = [](double part) { return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

double contrast(const QColor& one, const QColor& other)
{
    const double brightness[] = { luminance(one) + 0.05, luminance(other) + 0.05 };
    return std::max(brightness[0], brightness[1]) / std::min(brightness[0], brightness[1]);
}

TEST(LightAppearanceTest, EveryTextStandsOutFromWhatItStandsOnAlsoWhenItIsDisabled)
{
    useLightAppearance();
    const QPalette palette = QApplication::palette();

    for (const QPalette::ColorGroup group : { QPalette::Active, QPalette::Inactive, QPalette::Disabled }) {
        const auto contrastOf = [&](QPalette::ColorRole text, QPalette::ColorRole ground) {
            return contrast(palette.color(group, text), palette.color(group, ground));
        };
        for (const QPalette::ColorRole ground : { QPalette::Window, QPalette::Base, QPalette::AlternateBase }) {
            EXPECT_GE(contrastOf(QPalette::WindowText, ground), 4.5) << group << ' ' << ground;
            EXPECT_GE(contrastOf(QPalette::Text, ground), 4.5) << group << ' ' << ground;
            EXPECT_GE(contrastOf(QPalette::PlaceholderText, ground), 4.5) << group << ' ' << ground;
            EXPECT_GE(contrastOf(QPalette::Link, ground), 4.5) << group << ' ' << ground;
        }
        EXPECT_GE(contrastOf(QPalette::ButtonText, QPalette::Button), 4.5) << group;
        EXPECT_GE(contrastOf(QPalette::HighlightedText, QPalette::Highlight), 4.5) << group;
        EXPECT_GE(contrastOf(QPalette::ToolTipText, QPalette::ToolTipBase), 4.5) << group;
    }
}

TEST(LightAppearanceTest, TextsKeepTheirOwnDirectionInAMirroredWindow)
{
    useLightAppearance();
    QPushButton leftToRight(QStringLiteral("Show..."));
    QPushButton mirrored(QStringLiteral("Show..."));
    mirrored.setLayoutDirection(Qt::RightToLeft);
    for (QPushButton* button : { &leftToRight, &mirrored }) {
        button->resize(101, 31);
    }

    EXPECT_EQ(leftToRight.grab().toImage(), mirrored.grab().toImage());
}

TEST(LightAppearanceTest, TheTextOfAButtonStandsBesideItsIconInAMirroredWindowToo)
{
    useLightAppearance();
    QPixmap square(16, 16);
    square.fill(Qt::black);
    QPushButton button(square, QStringLiteral("Show"));
    button.resize(161, 31);
    QApplication::setLayoutDirection(Qt::RightToLeft); // Painters go by it, and not by the widget.

    const QImage image = button.grab(button.rect().adjusted(4, 4, -4, -4)).toImage();
    QApplication::setLayoutDirection(Qt::LeftToRight);
    int widestGap = 0;
    int lastInk = -1;
    for (int x = 0; x < image.width(); ++x) {
        for (int y = 0; y < image.height(); ++y) {
            if (image.pixelColor(x, y).lightness() < 128) {
                widestGap = lastInk < 0 ? 0 : std::max(widestGap, x - lastInk);
                lastInk = x;
                break;
            }
        }
    }

    EXPECT_GT(lastInk, 16);
    EXPECT_LT(widestGap, 16);
}

} // namespace
