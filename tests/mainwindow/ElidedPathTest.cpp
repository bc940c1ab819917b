#include "ElidedPath.h"

#include "Printers.h"

#include <QApplication>
#include <QFontMetrics>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class ElidedPathTest : public testing::Test {
protected:
    const QFontMetrics m_metrics{ QApplication::font() };
    const QString m_path = u"/home/anna/a folder with a long name/and one more/Lighthouse.jpg"_s;

    int widthOf(const QString& text) const { return m_metrics.horizontalAdvance(text); }
};

TEST_F(ElidedPathTest, APathThatFitsStays)
{
    EXPECT_EQ(elidedPath(m_path, m_metrics, widthOf(m_path)), m_path);
    EXPECT_EQ(elidedPath(u"Lighthouse.jpg"_s, m_metrics, 1000), u"Lighthouse.jpg"_s);
}

TEST_F(ElidedPathTest, TheFoldersLoseTheirMiddleAndTheNameStaysWhole)
{
    for (const int percent : { 95, 70, 40 }) {
        const int width = widthOf(m_path) * percent / 100;
        const QString shown = elidedPath(m_path, m_metrics, width);

        EXPECT_TRUE(shown.startsWith(u'/')) << shown.toStdString();
        EXPECT_TRUE(shown.contains(u'…')) << shown.toStdString();
        EXPECT_TRUE(shown.endsWith(u"/Lighthouse.jpg"_s)) << shown.toStdString();
        EXPECT_LE(widthOf(shown), width);
    }
}

TEST_F(ElidedPathTest, ANameWithoutRoomForAnyFolderStandsAlone)
{
    EXPECT_EQ(elidedPath(m_path, m_metrics, widthOf(u"Lighthouse.jpg"_s) + 2), u"Lighthouse.jpg"_s);
}

TEST_F(ElidedPathTest, ANameThatIsTooLongItselfLosesItsMiddle)
{
    for (const QString& path : { u"/a/"_s + QString(100, u'n') + u".jpg"_s, QString(100, u'n') + u".jpg"_s }) {
        const QString shown = elidedPath(path, m_metrics, 200);

        EXPECT_TRUE(shown.startsWith(u'n')) << shown.toStdString();
        EXPECT_TRUE(shown.endsWith(u".jpg"_s)) << shown.toStdString();
        EXPECT_LE(widthOf(shown), 200);
    }
}

} // namespace
