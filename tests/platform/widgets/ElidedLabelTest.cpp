#include "ElidedLabel.h"

#include "Printers.h"

#include <gtest/gtest.h>

namespace {

TEST(ElidedLabelTest, ALongTextDoesNotWidenIt)
{
    ElidedLabel label;
    const QSize before = label.sizeHint();

    label.setText(QString(100000, u'x'));

    EXPECT_EQ(label.sizeHint(), before);
    EXPECT_EQ(label.minimumSizeHint().width(), 0);
    EXPECT_EQ(label.text().size(), 100000);
    label.resize(100, 20);
    label.grab();
}

} // namespace
