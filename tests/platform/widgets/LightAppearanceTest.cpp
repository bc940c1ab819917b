#include "LightAppearance.h"

#include <QApplication>
#include <QPalette>
#include <QStyle>

#include <gtest/gtest.h>

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
    EXPECT_EQ(QApplication::style()->name().toLower(), QStringLiteral("fusion"));
}

} // namespace
