#include "DropHint.h"

#include "DrawnIcons.h"
#include "IconLabel.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>

using namespace Qt::StringLiterals;

DropHint::DropHint(QWidget* parent)
    : QWidget(parent)
    , m_icon(new IconLabel(this))
    , m_title(new QLabel(this))
    , m_key(new QLabel(this))
    , m_texts(new QBoxLayout(QBoxLayout::TopToBottom))
{
    m_icon->setIcon(drawnUploadIcon());
    showTexts();
    m_key->setForegroundRole(QPalette::PlaceholderText);
    m_texts->addWidget(m_title);
    m_texts->addWidget(m_key);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);
    layout->addStretch();
    layout->addWidget(m_icon);
    layout->addLayout(m_texts);
    layout->addStretch();
    applyFonts();
}

void DropHint::setShape(Shape shape)
{
    if (shape != m_shape) {
        m_shape = shape;
        m_key->setVisible(shape != Shape::OneShortLine);
        applyFonts();
    }
}

void DropHint::setServerLost(bool isLost)
{
    m_isServerLost = isLost;
    showTexts();
}

void DropHint::showTexts()
{
    m_title->setText(m_isServerLost ? u"Nothing is uploaded"_s : u"Drop files here"_s);
    m_key->setText(m_isServerLost ? u"This icon’s settings are gone or cannot be read"_s : u"or press Ctrl+O"_s);
}

int DropHint::heightInTwoLines() const
{
    return fontMetrics().lineSpacing() * 5 / 2;
}

void DropHint::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        applyFonts();
    }
}

void DropHint::applyFonts()
{
    const bool isOneLine = m_shape != Shape::TwoLines;
    QFont large = font();
    if (!isOneLine) {
        large.setPointSizeF(large.pointSizeF() * 1.3);
    }
    m_title->setFont(large);
    m_icon->setSide(isOneLine ? fontMetrics().height() : heightInTwoLines() * 4 / 5);
    m_texts->setDirection(isOneLine ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
    m_texts->setAlignment(m_title, Qt::AlignLeft | (isOneLine ? Qt::AlignVCenter : Qt::AlignBottom));
    m_texts->setAlignment(m_key, Qt::AlignLeft | (isOneLine ? Qt::AlignVCenter : Qt::AlignTop));
    m_texts->setSpacing(isOneLine ? 8 : 2);
    layout()->setSpacing(isOneLine ? 8 : 14);
}
