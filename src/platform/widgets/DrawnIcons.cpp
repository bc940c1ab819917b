#include "DrawnIcons.h"

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr qreal unitSide = 16; ///< The drawings are made for a square of that side.

using Drawing = void (*)(QPainter&);

/// Paints one drawing at the size that is asked for.
class DrawnIconEngine final : public QIconEngine {
public:
    explicit DrawnIconEngine(Drawing drawing)
        : m_drawing(drawing)
    {
    }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State /*state*/) override
    {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setOpacity(mode == QIcon::Disabled ? 0.5 : 1);
        const int side = qMin(rect.width(), rect.height());
        painter->translate(rect.x() + (rect.width() - side) / 2.0, rect.y() + (rect.height() - side) / 2.0);
        painter->scale(side / unitSide, side / unitSide);
        m_drawing(*painter);
        painter->restore();
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, pixmap.rect(), mode, state);
        return pixmap;
    }
    QIconEngine* clone() const override { return new DrawnIconEngine(*this); }

private:
    Drawing m_drawing;
};

const QColor outline(0x6b, 0x70, 0x78);

void drawFolder(QPainter& painter)
{
    painter.setPen(QPen(QColor(0xb5, 0x83, 0x2a), 0.8));
    painter.setBrush(QColor(0xe3, 0xb1, 0x4f));
    QPainterPath back(QPointF(1.5, 13));
    back.lineTo(1.5, 3);
    back.lineTo(6, 3);
    back.lineTo(7.5, 5);
    back.lineTo(14.5, 5);
    back.lineTo(14.5, 13);
    back.closeSubpath();
    painter.drawPath(back);
    painter.setBrush(QColor(0xf3, 0xcd, 0x7c));
    painter.drawRect(QRectF(1.5, 6.5, 13, 6.5));
}

void drawSheet(QPainter& painter)
{
    painter.setPen(QPen(outline, 0.8));
    painter.setBrush(Qt::white);
    QPainterPath sheet(QPointF(3, 1.5));
    sheet.lineTo(9.5, 1.5);
    sheet.lineTo(13, 5);
    sheet.lineTo(13, 14.5);
    sheet.lineTo(3, 14.5);
    sheet.closeSubpath();
    painter.drawPath(sheet);
    painter.drawPolyline(QPolygonF{ QPointF(9.5, 1.5), QPointF(9.5, 5), QPointF(13, 5) });
}

void drawText(QPainter& painter)
{
    drawSheet(painter);
    for (const qreal y : { 7.5, 9.5, 11.5 }) {
        painter.drawLine(QPointF(5, y), QPointF(y > 11 ? 9 : 11, y));
    }
}

void drawPicture(QPainter& painter)
{
    drawSheet(painter);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0xf0, 0xb4, 0x29));
    painter.drawEllipse(QPointF(6.2, 7.6), 1, 1);
    painter.setBrush(QColor(0x3f, 0x8f, 0x5b));
    painter.drawPolygon(
        QPolygonF{ QPointF(4.5, 13), QPointF(7, 9.8), QPointF(8.3, 11.2), QPointF(9.8, 8.6), QPointF(11.5, 13) });
}

void drawSound(QPainter& painter)
{
    drawSheet(painter);
    painter.setPen(QPen(QColor(0x7a, 0x4f, 0xa3), 0.9));
    painter.setBrush(QColor(0x7a, 0x4f, 0xa3));
    painter.drawEllipse(QPointF(6.4, 12), 1.2, 1);
    painter.drawEllipse(QPointF(10.2, 11.2), 1.2, 1);
    painter.drawPolyline(QPolygonF{ QPointF(7.6, 12), QPointF(7.6, 7.6), QPointF(11.4, 6.8), QPointF(11.4, 11.2) });
}

void drawFilm(QPainter& painter)
{
    drawSheet(painter);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0x2f, 0x6f, 0xb5));
    painter.drawPolygon(QPolygonF{ QPointF(5.8, 7), QPointF(11, 10), QPointF(5.8, 13) });
}

void drawPackage(QPainter& painter)
{
    drawSheet(painter);
    painter.setPen(QPen(QColor(0x9a, 0x6a, 0x35), 0.8));
    painter.setBrush(QColor(0xd9, 0xae, 0x78));
    painter.drawRect(QRectF(5, 7.5, 6, 5));
    painter.drawLine(QPointF(5, 9.2), QPointF(11, 9.2));
    painter.drawLine(QPointF(8, 7.5), QPointF(8, 9.2));
}

/// The body of a padlock and its shackle, whose legs stand that far to the right of where they belong.
void drawPadlock(QPainter& painter, const QColor& colour, const QRectF& body, qreal shackleX, qreal shackleEnd)
{
    painter.setPen(QPen(colour, 1.5));
    painter.setBrush(Qt::NoBrush);
    QPainterPath shackle(QPointF(shackleX, body.top()));
    shackle.lineTo(shackleX, 5);
    shackle.arcTo(QRectF(shackleX, 2.2, 5.4, 5.4), 180, -180);
    shackle.lineTo(shackleX + 5.4, shackleEnd);
    painter.drawPath(shackle);
    painter.drawRoundedRect(body, 1.2, 1.2);
}

void drawUnknownPadlock(QPainter& painter)
{
    drawPadlock(painter, outline, QRectF(3.5, 7.2, 9, 6.6), 5.3, 7.2);
}

void drawOpenPadlock(QPainter& painter)
{
    const QColor colour(0xb0, 0x4a, 0x00);
    const QRectF body(1.5, 7.2, 8.6, 6.6);
    drawPadlock(painter, colour, body, 8.2, 6.4);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawEllipse(QPointF(5.8, 10.5), 1, 1);
}

void drawClosedPadlock(QPainter& painter)
{
    const QColor colour(0x1f, 0x75, 0x3c);
    const QRectF body(3.5, 7.2, 9, 6.6);
    drawPadlock(painter, colour, body, 5.3, 7.2);
    painter.fillRect(body, colour);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawEllipse(QPointF(8, 9.8), 1.1, 1.1);
    painter.drawRect(QRectF(7.5, 10, 1, 2.4));
}

void drawTickedPadlock(QPainter& painter)
{
    const QColor colour(0x2a, 0x62, 0xa3);
    const QRectF body(3.5, 7.2, 9, 6.6);
    drawPadlock(painter, colour, body, 5.3, 7.2);
    painter.fillRect(body, colour);
    painter.setPen(QPen(Qt::white, 1.2));
    painter.drawPolyline(QPolygonF{ QPointF(5.6, 10.6), QPointF(7.3, 12.2), QPointF(10.5, 9) });
}

void drawEye(QPainter& painter)
{
    const QColor colour(0x4a, 0x4e, 0x55);
    painter.setPen(QPen(colour, 1.2));
    painter.setBrush(Qt::NoBrush);
    QPainterPath lids(QPointF(1, 8));
    lids.quadTo(8, 0.5, 15, 8);
    lids.quadTo(8, 15.5, 1, 8);
    painter.drawPath(lids);
    painter.setBrush(colour);
    painter.drawEllipse(QPointF(8, 8), 2, 2);
}

/// Fills a disc, and leaves a pen for a sign on it.
void drawDisc(QPainter& painter, const QColor& colour)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawEllipse(QPointF(8, 8), 7, 7);
    painter.setPen(QPen(Qt::white, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
}

const QColor success(0x1f, 0x75, 0x3c);
const QColor failure(0xc0, 0x39, 0x2b);

void drawTick(QPainter& painter)
{
    drawDisc(painter, success);
    painter.drawPolyline(QPolygonF{ QPointF(4.8, 8.4), QPointF(7, 10.6), QPointF(11.2, 5.8) });
}

void drawCross(QPainter& painter)
{
    drawDisc(painter, failure);
    painter.drawLine(QPointF(5.6, 5.6), QPointF(10.4, 10.4));
    painter.drawLine(QPointF(10.4, 5.6), QPointF(5.6, 10.4));
}

void drawWarning(QPainter& painter)
{
    drawDisc(painter, failure);
    painter.drawLine(QPointF(8, 4.4), QPointF(8, 8.6));
    painter.drawPoint(QPointF(8, 11.6));
}

void drawUpload(QPainter& painter)
{
    painter.setPen(QPen(QColor(0x0a, 0x60, 0xc0), 1.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(QPolygonF{ QPointF(1.5, 10.5), QPointF(1.5, 14), QPointF(14.5, 14), QPointF(14.5, 10.5) });
    painter.drawPolyline(QPolygonF{ QPointF(4, 5.5), QPointF(8, 1.5), QPointF(12, 5.5) });
    painter.drawLine(QPointF(8, 1.8), QPointF(8, 10.5));
}

void drawLink(QPainter& painter)
{
    drawSheet(painter);
    painter.setPen(QPen(QColor(0x6a, 0x4a, 0xb0), 1.3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    QPainterPath arrow(QPointF(5.2, 12.3));
    arrow.quadTo(5.4, 8.7, 10.2, 8.7);
    painter.drawPath(arrow);
    painter.drawPolyline(QPolygonF{ QPointF(8.4, 6.8), QPointF(10.6, 8.7), QPointF(8.4, 10.6) });
}

void drawSpecial(QPainter& painter)
{
    drawSheet(painter);
    painter.setPen(QPen(QColor(0x4a, 0x4e, 0x55), 1.4));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(QPointF(8, 9.6), 1.9, 1.9);
    for (const QPointF direction : { QPointF(1, 0), QPointF(0, 1), QPointF(0.7, 0.7), QPointF(0.7, -0.7) }) {
        painter.drawLine(QPointF(8, 9.6) + 2.2 * direction, QPointF(8, 9.6) + 3.2 * direction);
        painter.drawLine(QPointF(8, 9.6) - 2.2 * direction, QPointF(8, 9.6) - 3.2 * direction);
    }
}

Drawing drawingOf(Padlock padlock)
{
    switch (padlock) {
    case Padlock::Open:
        return drawOpenPadlock;
    case Padlock::Closed:
        return drawClosedPadlock;
    case Padlock::Ticked:
        return drawTickedPadlock;
    case Padlock::None:
        break;
    }
    return drawUnknownPadlock;
}

bool isPackage(const QString& type)
{
    return type.contains("zip"_L1) || type.contains("compressed"_L1) || type.contains("-tar"_L1)
        || type.contains("archive"_L1) || type.contains("package"_L1);
}

bool isText(const QString& type)
{
    return type.startsWith("text/"_L1) || type.contains("document"_L1) || type.contains("word"_L1)
        || type == "application/pdf"_L1;
}

Drawing drawingFor(const QString& type)
{
    const std::pair<bool, Drawing> families[] = {
        { type.startsWith("image/"_L1), drawPicture },
        { type.startsWith("audio/"_L1), drawSound },
        { type.startsWith("video/"_L1), drawFilm },
        { isPackage(type), drawPackage },
        { isText(type), drawText },
    };
    for (const auto& [fits, drawing] : families) {
        if (fits) {
            return drawing;
        }
    }
    return drawSheet;
}

} // namespace

QIcon drawnFolderIcon()
{
    return QIcon(new DrawnIconEngine(drawFolder));
}

QIcon drawnPadlockIcon(Padlock padlock)
{
    return QIcon(new DrawnIconEngine(drawingOf(padlock)));
}

QIcon drawnEyeIcon()
{
    return QIcon(new DrawnIconEngine(drawEye));
}

QIcon drawnTickIcon()
{
    return QIcon(new DrawnIconEngine(drawTick));
}

QIcon drawnCrossIcon()
{
    return QIcon(new DrawnIconEngine(drawCross));
}

QIcon drawnWarningIcon()
{
    return QIcon(new DrawnIconEngine(drawWarning));
}

QIcon drawnUploadIcon()
{
    return QIcon(new DrawnIconEngine(drawUpload));
}

QIcon drawnLinkIcon()
{
    return QIcon(new DrawnIconEngine(drawLink));
}

QIcon drawnSpecialIcon()
{
    return QIcon(new DrawnIconEngine(drawSpecial));
}

QIcon drawnFileIcon(const QString& type)
{
    return QIcon(new DrawnIconEngine(drawingFor(type)));
}
