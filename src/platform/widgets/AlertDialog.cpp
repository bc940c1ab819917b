#include "AlertDialog.h"

#include "ElidedLabel.h"
#include "IconLabel.h"
#include "SheetDetail.h"

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
    , m_column(new QVBoxLayout)
    , m_buttons(new QDialogButtonBox)
    , m_defaultButton(m_buttons->addButton(u"OK"_s, QDialogButtonBox::RejectRole))
{
    QAccessible::installFactory(accessibleAlert); // More than once does no harm.
    setWindowTitle(m_title);
    m_icon->setSide(iconSide);
    setAlertStyle(m_style);
    m_defaultButton->setDefault(true);
    connect(m_defaultButton, &QPushButton::clicked, this, &QDialog::reject);

    auto* const heading = newPlainLabel(m_title);
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);
    heading->setFixedWidth(widthOfText());
    m_column->setSpacing(8);
    m_column->addWidget(heading);
    m_column->addWidget(newText());
    auto* const layout = new QGridLayout(this);
    layout->setContentsMargins(20, 20, 20, 16);
    layout->setHorizontalSpacing(16);
    layout->setVerticalSpacing(18);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(m_icon, 0, 0, Qt::AlignTop);
    layout->addLayout(m_column, 0, 1);
    layout->addWidget(m_buttons, 1, 0, 1, 2);
    m_defaultButton->setFocus();
}

/// As wide as its longest line, within what is good to read.
int AlertDialog::widthOfText() const
{
    const int character = fontMetrics().averageCharWidth();
    const int least = qMax(leastWidth, usualColumns * character);
    const int wanted = fontMetrics().size(0, m_text).width() + character;
    return qBound(least, wanted, qMax(least, mostColumns * character));
}

QWidget* AlertDialog::newText()
{
    auto* const label = newPlainLabel(m_text);
    const int width = widthOfText();
    const int height = label->heightForWidth(width);
    const int mostHeight = mostLines * fontMetrics().lineSpacing();
    if (height <= mostHeight) {
        label->setFixedWidth(width);
        return label;
    }
    auto* const area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setWidgetResizable(true);
    area->setWidget(label);
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
        auto* const name = new QLabel(detail.name + u':');
        QLabel* const value = detail.isCode ? newCode() : new ElidedLabel;
        name->setTextFormat(Qt::PlainText);
        value->setTextFormat(Qt::PlainText);
        value->setText(detail.value);
        value->setAccessibleDescription(detail.name);
        rows->addWidget(name, row, 0, Qt::AlignRight | Qt::AlignTop);
        rows->addWidget(value, row, 1);
    }
    m_column->addLayout(rows);
}

void AlertDialog::showEvent(QShowEvent* event)
{
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
