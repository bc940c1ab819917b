#include "IconLabel.h"

#include "DrawnIcons.h"
#include "Printers.h"

#include <QAccessible>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(IconLabelTest, ItShowsItsIconInItsOwnPixels)
{
    IconLabel label;
    label.setIcon(drawnFolderIcon());
    label.resize(label.sizeHint());

    QImage shown(label.size() * 2, QImage::Format_ARGB32_Premultiplied);
    shown.setDevicePixelRatio(2);
    shown.fill(Qt::transparent);
    label.render(&shown, {}, {}, QWidget::RenderFlags());

    const QImage icon = drawnFolderIcon().pixmap(QSize(32, 32), 1.0).toImage();
    EXPECT_EQ(shown.size(), icon.size());
    EXPECT_EQ(shown.pixel(16, 20), icon.pixel(16, 20));
    EXPECT_EQ(shown.pixel(31, 31), icon.pixel(31, 31));
}

TEST(IconLabelTest, ItsNameIsReadOut)
{
    IconLabel label;
    label.setAccessibleName(u"Encrypted"_s);
    label.setAccessibleDescription(u"Connection"_s);

    QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(&label);

    EXPECT_EQ(accessible->text(QAccessible::Name), u"Encrypted"_s);
    EXPECT_EQ(accessible->text(QAccessible::Description), u"Connection"_s);
    EXPECT_EQ(accessible->role(), QAccessible::StaticText);
}

} // namespace
