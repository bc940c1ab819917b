#include "IconPicture.h"

#include "ProgramIdentity.h"

#include <QColor>
#include <QFont>
#include <QFontMetricsF>
#include <QIcon>
#include <QPainter>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr int mostLetters = 2;
constexpr int smallEdge = 24; ///< Up to here the patch takes more of the picture, as there is less to read.
const QString patchWithoutColour = u"#3f3f44"_s;

/// The brightness that people see, from 0 to 1.
double luminance(const QColor& colour)
{
    const auto linear = [](float part) { return std::pow(static_cast<double>(part), 2.2); };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

/// The font in which @p letters are as large as @p patch allows.
QFont fontFor(const QString& letters, const QRectF& patch)
{
    QFont font;
    font.setBold(true);
    font.setPixelSize(100);
    const QRectF box = QFontMetricsF(font).tightBoundingRect(letters);
    const double scale = std::min(0.78 * patch.width() / std::max(box.width(), 1.0),
                                  0.62 * patch.height() / std::max(box.height(), 1.0));
    font.setPixelSize(std::max(1, static_cast<int>(std::lround(100 * scale))));
    return font;
}

} // namespace

QString firstLetters(const QString& text)
{
    QTextBoundaryFinder letters(QTextBoundaryFinder::Grapheme, text);
    qsizetype end = 0;
    for (int letter = 0; letter < mostLetters; ++letter) {
        end = std::max(end, letters.toNextBoundary());
    }
    return text.left(end);
}

QImage drawn(const IconPicture& picture, int edge)
{
    QImage image = ProgramIdentity::productIcon()
                       .pixmap(QSize(edge, edge), 1.0)
                       .toImage()
                       .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    if (!picture.isOwn()) {
        return image;
    }
    // Whole pixels, so that the edges are sharp in small sizes too.
    const double size = std::round(edge * (edge <= smallEdge ? 0.69 : 0.56));
    const QRectF patch(edge - size, edge - size, size, size);
    const double border = std::max(1.0, std::round(edge / 40.0));
    const QColor colour(picture.colour.isNull() ? patchWithoutColour : picture.colour);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawRoundedRect(patch, size / 5, size / 5);
    painter.setBrush(colour);
    painter.drawRoundedRect(patch.adjusted(border, border, -border, -border), size / 5 - border / 2,
                            size / 5 - border / 2);
    if (!picture.letters.isNull()) {
        painter.setFont(fontFor(picture.letters, patch));
        painter.setPen(luminance(colour) > 0.36 ? Qt::black : Qt::white);
        const QRectF box = QFontMetricsF(painter.font()).tightBoundingRect(picture.letters);
        painter.drawText(patch.center() - box.center(), picture.letters);
    }
    return image;
}
