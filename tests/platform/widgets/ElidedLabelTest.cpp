#include "ElidedLabel.h"

#include "Printers.h"
#include "WaitFor.h"

#include <QApplication>
#include <QHelpEvent>
#include <QToolTip>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

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

TEST(ElidedLabelTest, AShortenedTextStandsWholeAboveTheToolTip)
{
    ElidedLabel label;
    label.setToolTip(u"<p>why</p>"_s);
    label.resize(60, 20);
    label.show();
    QHelpEvent hover(QEvent::ToolTip, QPoint(5, 5), label.mapToGlobal(QPoint(5, 5)));

    label.setText(u"<i>a text that is much too long</i>"_s);
    QApplication::sendEvent(&label, &hover);
    EXPECT_TRUE(waitFor([] {
        return QToolTip::text().contains(u"&lt;i&gt;a text that"_s) && QToolTip::text().endsWith(u"<p>why</p>"_s);
    }));

    label.setText(u"ok"_s);
    QApplication::sendEvent(&label, &hover);
    EXPECT_TRUE(waitFor([] { return QToolTip::text() == u"<p>why</p>"_s; }));
}

TEST(ElidedLabelTest, AFontThatMayBecomeSmallerDoesSoBeforeTheTextIsShortened)
{
    ElidedLabel label;
    label.setText(u"Can not create output file."_s);
    const int wanted = label.fontMetrics().horizontalAdvance(label.text());
    label.resize(wanted * 9 / 10, 20);
    EXPECT_TRUE(label.isCut());

    label.setProperty("smallestScale", 0.7);
    EXPECT_FALSE(label.isCut());
    label.resize(wanted / 2, label.fontMetrics().height());
    EXPECT_TRUE(label.isCut());
}

TEST(ElidedLabelTest, WhereItIsHighEnoughALongTextTakesTwoLinesBeforeItIsShortened)
{
    ElidedLabel label;
    label.setText(u"FTP error 553; Directory may already exist?"_s);
    const QFontMetrics font = label.fontMetrics();
    label.resize(font.horizontalAdvance(label.text()) * 6 / 10, 2 * font.height());
    EXPECT_TRUE(label.isCut());

    label.setProperty("smallestScale", 0.7);
    EXPECT_FALSE(label.isCut());
    label.resize(label.width(), font.height());
    EXPECT_TRUE(label.isCut());
}

} // namespace
