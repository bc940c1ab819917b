#include "AlertDialog.h"

#include "ElidedLabel.h"
#include "IconLabel.h"
#include "LabelAlignment.h"
#include "ScreenRoom.h"
#include "SheetDetail.h"
#include "SheetListView.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QGridLayout>
#include <QKeyEvent>
#include <QPushButton>
#include <QScrollArea>
#include <QStyle>
#include <QTextBoundaryFinder>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

// In device-independent pixels.
constexpr int iconSide = 40;
constexpr int leastWidth = 320; ///< Of the text.
constexpr int sideMargin = 20;
constexpr int iconGap = 16; ///< Between the icon and the texts.

// In characters of the font.
constexpr int usualColumns = 52;
constexpr int mostColumns = 72;
constexpr int mostLines = 20; ///< A longer text is scrolled.
constexpr qsizetype longWord = 40; ///< May be wider than a line.

/// @p text with places to break a line in words that are too long for one.
QString breakable(const QString& text)
{
    QString result;
    qsizetype start = 0;
    for (qsizetype end = 0; end <= text.size(); ++end) {
        if (end < text.size() && !text[end].isSpace()) {
            continue;
        }
        const QString word = text.sliced(start, end - start);
        QTextBoundaryFinder letters(QTextBoundaryFinder::Grapheme, word);
        qsizetype before = 0;
        while (word.size() > longWord && letters.toNextBoundary() > 0) {
            result += word.sliced(before, letters.position() - before) + QChar(u'\u200b');
            before = letters.position();
        }
        result += word.sliced(before) + text.sliced(end, end < text.size() ? 1 : 0);
        start = end + 1;
    }
    return result;
}

QLabel* newPlainLabel(const QString& text)
{
    auto* const label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    label->setText(breakable(text));
    label->setAccessibleName(text);
    label->setWordWrap(true);
    label->setAlignment(Qt::AlignLeading | Qt::AlignTop);
    return label;
}

QLabel* newCode()
{
    auto* const label = new QLabel;
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPointSizeF(qMax(QFontInfo(font).pointSizeF(), QFontInfo(label->font()).pointSizeF()));
    label->setFont(font);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    return label;
}

QScrollArea* newScrollArea(QWidget& contents)
{
    auto* const area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setWidget(&contents);
    return area;
}

QStyle::StandardPixmap pixmapOf(AlertDialog::Style style)
{
    switch (style) {
    case AlertDialog::Style::Informational:
        return QStyle::SP_MessageBoxInformation;
    case AlertDialog::Style::Critical:
        return QStyle::SP_MessageBoxCritical;
    case AlertDialog::Style::Warning:
        break;
    }
    return QStyle::SP_MessageBoxWarning;
}

/// To those who cannot see it an alert, not any dialog.
QAccessibleInterface* accessibleAlert(const QString& /*className*/, QObject* object)
{
    auto* const alert = qobject_cast<AlertDialog*>(object);
    return alert == nullptr ? nullptr : new QAccessibleWidget(alert, QAccessible::AlertMessage);
}

} // namespace

AlertDialog::AlertDialog(QString title, QString text, QWidget* parent)
    : QDialog(parent)
    , m_title(std::move(title))
    , m_text(std::move(text))
    , m_icon(new IconLabel)
    , m_texts(new QWidget)
    , m_column(new QVBoxLayout(m_texts))
    , m_buttons(new QDialogButtonBox)
    , m_defaultButton(m_buttons->addButton(u"OK"_s, QDialogButtonBox::RejectRole))
{
    QAccessible::installFactory(accessibleAlert); // More than once does no harm.
    setWindowTitle(m_title);
    m_icon->setSide(iconSide);
    setAlertStyle(m_style);
    connect(m_defaultButton, &QPushButton::clicked, this, &QDialog::reject);

    auto* const heading = newPlainLabel(m_title);
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);
    heading->setFixedWidth(widthOfText());
    m_column->setContentsMargins({});
    m_column->setSpacing(8);
    m_column->addWidget(heading, 0, Qt::AlignLeft);
    m_column->addWidget(newText(), 0, Qt::AlignLeft);
    auto* const layout = new QGridLayout(this);
    layout->setContentsMargins(sideMargin, 20, sideMargin, 16);
    layout->setHorizontalSpacing(iconGap);
    layout->setVerticalSpacing(18);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(m_icon, 0, 0, Qt::AlignTop);
    layout->addWidget(m_texts, 0, 1);
    layout->addWidget(m_buttons, 1, 0, 1, 2);
    m_defaultButton->setDefault(true); // Only in its dialog it is that again when another widget has had the keyboard.
    m_defaultButton->setFocus();
}

/// As wide as its longest line.
int AlertDialog::widthOfText() const
{
    return widthFor(fontMetrics().size(0, m_text).width() + fontMetrics().averageCharWidth());
}

/// @p wanted, within what is good to read and what the screen has room for.
int AlertDialog::widthFor(int wanted) const
{
    const int character = fontMetrics().averageCharWidth();
    const int least = qMax(leastWidth, usualColumns * character);
    const int room = roomOnScreen(*this).width() - 2 * sideMargin - m_icon->sizeHint().width() - iconGap
        - style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    return qMin(room, qBound(least, wanted, qMax(least, mostColumns * character)));
}

QWidget* AlertDialog::newText()
{
    auto* const label = newPlainLabel(m_text);
    const int width = widthOfText();
    const int height = label->heightForWidth(width);
    const int mostHeight = qMin(mostLines * fontMetrics().lineSpacing(), roomOnScreen(*this).height() / 2);
    if (height <= mostHeight) {
        label->setFixedWidth(width);
        return label;
    }
    QScrollArea* const area = newScrollArea(*label);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setFixedSize(width + style()->pixelMetric(QStyle::PM_ScrollBarExtent), mostHeight);
    return area;
}

void AlertDialog::setAlertStyle(Style alertStyle)
{
    m_style = alertStyle;
    setIcon(style()->standardIcon(pixmapOf(alertStyle), nullptr, this));
}

void AlertDialog::setIcon(const QIcon& icon)
{
    m_icon->setIcon(icon);
}

void AlertDialog::addAlternateButton(const QString& text)
{
    connect(m_buttons->addButton(text, QDialogButtonBox::DestructiveRole), &QPushButton::clicked, this,
            &QDialog::accept);
}

QList<QAbstractButton*> AlertDialog::buttons() const
{
    return m_buttons->buttons();
}

void AlertDialog::addDetails(const QList<SheetDetail>& details)
{
    auto* const rows = new QGridLayout;
    rows->setContentsMargins(0, 4, 0, 0);
    rows->setHorizontalSpacing(10);
    rows->setColumnStretch(1, 1);
    for (int row = 0; row < details.size(); ++row) {
        const SheetDetail& detail = details[row];
        QLabel* const value = detail.isCode ? newCode() : new ElidedLabel;
        value->setTextFormat(Qt::PlainText);
        value->setText(detail.value);
        value->setAccessibleDescription(detail.name);
        if (detail.name.isEmpty()) {
            rows->addWidget(value, row, 0, 1, 2);
            continue;
        }
        auto* const name = new QLabel(detail.name + u':');
        name->setTextFormat(Qt::PlainText);
        rows->addWidget(name, row, 0, Qt::AlignRight | Qt::AlignTop);
        rows->addWidget(value, row, 1);
    }
    m_column->addLayout(rows);
}

void AlertDialog::addList(const SheetList& list)
{
    auto* const view = new SheetListView(list, roomOnScreen(*this).height() / 4);
    view->setMinimumWidth(widthFor(view->widthOfLines()));
    m_column->addWidget(view);
}

/// Has the texts scrolled where the screen has no room for all of them, so that the buttons stay in sight.
void AlertDialog::fitToScreen()
{
    const QSize room = roomOnScreen(*this);
    const QSize wanted = layout()->totalSizeHint();
    if (wanted.boundedTo(room) == wanted) {
        return;
    }
    const QSize texts = m_texts->sizeHint();
    const int scrollBar = style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    const int besideThem = 2 * sideMargin + m_icon->sizeHint().width() + iconGap;
    const QSize most(room.width() - besideThem, room.height() - (wanted.height() - texts.height()));
    static_cast<QGridLayout*>(layout())->removeWidget(m_texts);
    QScrollArea* const area = newScrollArea(*m_texts);
    area->setFixedSize((texts + QSize(scrollBar, scrollBar)).boundedTo(most));
    static_cast<QGridLayout*>(layout())->addWidget(area, 0, 1);
    area->show(); // Else the layout leaves it out for now, and the alert is placed by a wrong size.
    layout()->activate();
}

void AlertDialog::showEvent(QShowEvent* event)
{
    alignLabelsToDirection(*this);
    fitToScreen();
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
    QDialog::showEvent(event);
}

void AlertDialog::keyPressEvent(QKeyEvent* event)
{
    if (event->matches(QKeySequence::Copy)) {
        QApplication::clipboard()->setText(m_title + u"\n\n"_s + m_text);
        return;
    }
    QDialog::keyPressEvent(event);
}
