#include "QuietLabel.h"

#include "Printers.h"

#include <QAccessible>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(QuietLabelTest, AScreenReaderThatAsksReadsTheText)
{
    QuietLabel label;
    label.setAccessibleDescription(u"Date"_s);
    label.show();
    const QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(&label);

    for (const QString& text : { u"10:00:00"_s, u"10:00:01"_s }) {
        label.setText(text);

        EXPECT_EQ(accessible->text(QAccessible::Name), text);
    }
    EXPECT_EQ(accessible->text(QAccessible::Description), u"Date"_s);
    EXPECT_EQ(accessible->role(), QAccessible::StaticText);
}

} // namespace
