#include "LightAppearance.h"

#include <QApplication>
#include <QIcon>
#include <QPalette>
#include <QStyleFactory>

using namespace Qt::StringLiterals;

namespace {

QPalette lightPalette()
{
    QPalette palette(QColor(0xf5, 0xf5, 0xf7));
    palette.setColor(QPalette::WindowText, QColor(0x1d, 0x1d, 0x1f));
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::AlternateBase, QColor(0xf7, 0xf8, 0xfa));
    palette.setColor(QPalette::Text, QColor(0x1d, 0x1d, 0x1f));
    palette.setColor(QPalette::PlaceholderText, QColor(0x6e, 0x6e, 0x73));
    palette.setColor(QPalette::Button, QColor(0xf0, 0xf0, 0xf2));
    palette.setColor(QPalette::ButtonText, QColor(0x1d, 0x1d, 0x1f));
    palette.setColor(QPalette::Highlight, QColor(0x0a, 0x64, 0xc8));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::ToolTipBase, QColor(0xff, 0xff, 0xe8));
    palette.setColor(QPalette::ToolTipText, QColor(0x1d, 0x1d, 0x1f));
    palette.setColor(QPalette::Link, QColor(0x0a, 0x64, 0xc8));
    for (const QPalette::ColorRole role : { QPalette::WindowText, QPalette::Text, QPalette::ButtonText }) {
        palette.setColor(QPalette::Disabled, role, QColor(0xa0, 0xa0, 0xa5));
    }
    return palette;
}

} // namespace

void useLightAppearance()
{
    QApplication::setStyle(QStyleFactory::create(u"Fusion"_s));
    QApplication::setPalette(lightPalette());
    if (QIcon::fromTheme(u"folder"_s).isNull()) {
        QIcon::setThemeName(u"Adwaita"_s);
    }
}
