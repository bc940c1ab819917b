#include "LightAppearance.h"

#include <QApplication>
#include <QIcon>
#include <QPainter>
#include <QPalette>
#include <QProxyStyle>
#include <QStyleOption>

using namespace Qt::StringLiterals;

namespace {

/// Texts keep the direction of their own words in a window that goes the other way: "Show…" does not become "…Show".
class LightStyle final : public QProxyStyle {
public:
    LightStyle()
        : QProxyStyle(u"Fusion"_s)
    {
    }

    void drawItemText(QPainter* painter, const QRect& rectangle, int flags, const QPalette& palette, bool isEnabled,
                      const QString& text, QPalette::ColorRole role) const override
    {
        if (painter->layoutDirection() == Qt::RightToLeft && !text.isRightToLeft()) {
            const Qt::Alignment side
                = visualAlignment(Qt::RightToLeft, Qt::Alignment(flags & Qt::AlignHorizontal_Mask));
            flags = (flags & ~(Qt::AlignHorizontal_Mask | Qt::TextForceRightToLeft)) | static_cast<int>(side)
                | Qt::AlignAbsolute | Qt::TextForceLeftToRight;
        }
        QProxyStyle::drawItemText(painter, rectangle, flags, palette, isEnabled, text, role);
    }

    /// The toolkit mirrors the side of a button's text twice where the button has an icon: it stood far from that.
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override
    {
        const auto* const button = qstyleoption_cast<const QStyleOptionButton*>(option);
        if (element != CE_PushButtonLabel || button == nullptr || button->icon.isNull()) {
            QProxyStyle::drawControl(element, option, painter, widget);
            return;
        }
        const Qt::LayoutDirection direction = painter->layoutDirection();
        painter->setLayoutDirection(Qt::LeftToRight);
        QProxyStyle::drawControl(element, option, painter, widget);
        painter->setLayoutDirection(direction);
    }
};

QPalette lightPalette()
{
    QPalette palette(QColor(0xf5, 0xf5, 0xf7));
    palette.setColor(QPalette::WindowText, QColor(0x1d, 0x1d, 0x1f));
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::AlternateBase, QColor(0xf7, 0xf8, 0xfa));
    palette.setColor(QPalette::Text, QColor(0x1d, 0x1d, 0x1f));
    palette.setColor(QPalette::PlaceholderText, QColor(0x66, 0x66, 0x6b));
    palette.setColor(QPalette::Button, QColor(0xf8, 0xf8, 0xfa));
    palette.setColor(QPalette::ButtonText, QColor(0x1d, 0x1d, 0x1f));
    palette.setColor(QPalette::Highlight, QColor(0x0a, 0x60, 0xc0));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::ToolTipBase, QColor(0xff, 0xff, 0xe8));
    palette.setColor(QPalette::ToolTipText, QColor(0x1d, 0x1d, 0x1f));
    palette.setColor(QPalette::Link, QColor(0x0a, 0x60, 0xc0));
    for (const QPalette::ColorRole role : { QPalette::WindowText, QPalette::Text, QPalette::ButtonText }) {
        palette.setColor(QPalette::Disabled, role, QColor(0x6c, 0x6c, 0x71));
    }
    return palette;
}

} // namespace

void useLightAppearance()
{
    QApplication::setStyle(new LightStyle);
    QApplication::setPalette(lightPalette());
    if (QIcon::fromTheme(u"folder"_s).isNull()) {
        QIcon::setThemeName(u"Adwaita"_s);
    }
}
