#include "DrawnIcons.h"

#include "Printers.h"

#include <QImage>
#include <QList>
#include <QPixmap>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

QImage imageOf(const QIcon& icon, int side = 32)
{
    return icon.pixmap(QSize(side, side), 1.0).toImage();
}

TEST(DrawnIconsTest, EachFamilyHasAPictureOfItsOwn)
{
    QList<QImage> seen{ imageOf(drawnFolderIcon()) };
    for (const QString& type : { u"text/plain"_s, u"image/png"_s, u"audio/mpeg"_s, u"video/mp4"_s, u"application/zip"_s,
                                 u"application/octet-stream"_s }) {
        const QImage image = imageOf(drawnFileIcon(type));
        EXPECT_FALSE(seen.contains(image)) << type.toStdString();
        seen.append(image);
    }
}

TEST(DrawnIconsTest, TypesOfAFamilyShareTheirPicture)
{
    EXPECT_EQ(imageOf(drawnFileIcon(u"image/png"_s)), imageOf(drawnFileIcon(u"image/jpeg"_s)));
    EXPECT_EQ(imageOf(drawnFileIcon(u"application/x-compressed-tar"_s)), imageOf(drawnFileIcon(u"application/zip"_s)));
    EXPECT_EQ(imageOf(drawnFileIcon(u"application/pdf"_s)), imageOf(drawnFileIcon(u"text/plain"_s)));
}

/// The shape of a picture without its colours.
QImage shapeOf(const QIcon& icon)
{
    QImage image = imageOf(icon).convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            const bool isInk = qAlpha(pixel) > 127 && qGray(pixel) < 200;
            image.setPixel(x, y, isInk ? qRgb(0, 0, 0) : qRgb(255, 255, 255));
        }
    }
    return image;
}

TEST(DrawnIconsTest, PadlocksDifferInMoreThanTheirColour)
{
    QList<QImage> seen;
    for (const Padlock padlock : { Padlock::None, Padlock::Open, Padlock::Closed, Padlock::Ticked }) {
        const QImage shape = shapeOf(drawnPadlockIcon(padlock));
        EXPECT_FALSE(seen.contains(shape));
        seen.append(shape);
    }
    EXPECT_FALSE(seen.contains(shapeOf(drawnEyeIcon())));
}

TEST(DrawnIconsTest, EverySizeIsDrawnToItsEdges)
{
    for (const int side : { 16, 20, 40, 256 }) {
        const QImage image = imageOf(drawnFolderIcon(), side);
        EXPECT_EQ(image.size(), QSize(side, side));
        EXPECT_GT(qAlpha(image.pixel(side / 2, side / 2)), 0);
        EXPECT_GT(qAlpha(image.pixel(side - side / 6, side / 2)), 0);
        EXPECT_EQ(qAlpha(image.pixel(0, 0)), 0);
    }
}

} // namespace
