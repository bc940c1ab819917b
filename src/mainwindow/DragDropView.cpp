#include "DragDropView.h"

#include "DropHint.h"
#include "DroppedFiles.h"
#include "DroppedFolders.h"
#include "PlainToolTip.h"
#include "QueuedFilesView.h"
#include "SheetQueue.h"
#include "ViewController.h"
#include "VisibleText.h"

#include <QAccessibleWidget>
#include <QDragEnterEvent>
#include <QHBoxLayout>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QToolTip>

using namespace Qt::StringLiterals;

namespace {

qreal pathLineWidth = 1.0;

constexpr qreal highlightLineWidth = 5.0;

constexpr int leastMargin = 7; ///< Above and below what is in the view.

/// What a screen reader says of the view: it can be pressed, and holds the list of the queue.
class AccessibleDropArea final : public QAccessibleWidget {
public:
    explicit AccessibleDropArea(DragDropView& view)
        : QAccessibleWidget(&view, QAccessible::Grouping)
        , m_view(view)
    {
    }

    QStringList actionNames() const override { return QStringList{ pressAction() } + QAccessibleWidget::actionNames(); }
    void doAction(const QString& name) override
    {
        if (name == pressAction()) {
            emit m_view.pressed();
        } else {
            QAccessibleWidget::doAction(name);
        }
    }

private:
    DragDropView& m_view;
};

QAccessibleInterface* accessibleDropArea(const QString& /*className*/, QObject* object)
{
    auto* const view = qobject_cast<DragDropView*>(object);
    return view == nullptr ? nullptr : new AccessibleDropArea(*view);
}

} // namespace

DragDropView::DragDropView(QWidget* parent)
    : QFrame(parent)
    , m_textView(new QueuedFilesView(this))
    , m_hint(new DropHint(this))
{
    QAccessible::installFactory(accessibleDropArea); // More than once does no harm.
    setFocusPolicy(Qt::TabFocus);
    m_textView->setObjectName(u"textView"_s);
    m_textView->setAccessibleName(u"Queued files"_s);
    m_textView->setAcceptDrops(false);
    m_textView->viewport()->setAcceptDrops(false); // Drops are the view's, also over the list.
    m_textView->setFrameShape(QFrame::NoFrame);
    m_textView->viewport()->setAutoFillBackground(false);
    m_textView->setVisible(false);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(14, leastMargin, 14, leastMargin);
    layout->setSpacing(14);
    layout->addWidget(m_textView, 3);
    layout->addWidget(m_hint, 2);
    awakeFromNib();
}

void DragDropView::awakeFromNib()
{
    setAcceptDrops(true);
    m_droppedFiles.clear();
}

Qt::DropAction DragDropView::draggingEntered(const QMimeData& pasteboard)
{
    setHighlight(true);
    return namesLocalFiles(pasteboard) ? Qt::CopyAction : Qt::IgnoreAction;
}

void DragDropView::draggingExited()
{
    setHighlight(false);
}

PathList DragDropView::pasteboardHasFiles(const QMimeData& pasteboard) const
{
    return droppedItems(pasteboard, DroppedFolders::areUploaded()).files;
}

bool DragDropView::prepareForDragOperation(const QMimeData& pasteboard)
{
    setHighlight(false);
    const auto [files, others] = droppedItems(pasteboard, DroppedFolders::areUploaded());
    if (files.isEmpty()) {
        if (m_viewController != nullptr && !others.isEmpty()) {
            m_viewController->uploadFiles({}, others);
        }
        showAlert(u"No Files"_s, u"Drop files only."_s);
        return false;
    }
    m_droppedFiles = files;
    m_leftOut = others;
    return true;
}

bool DragDropView::performDragOperation() const
{
    return !m_droppedFiles.isEmpty();
}

void DragDropView::concludeDragOperation()
{
    if (m_viewController != nullptr) {
        m_viewController->uploadFiles(m_droppedFiles, m_leftOut);
    }
}

void DragDropView::displayDroppedFiles(const PathList& files)
{
    m_textView->setFiles(files);
    m_isOfLatestQueue = true;
    setOver(files.isEmpty());
    arrange();
}

void DragDropView::queueBegins()
{
    m_isOfLatestQueue = false;
    setOver(true);
}

void DragDropView::setOver(bool isOver)
{
    const bool isOverNow = isOver || !m_isOfLatestQueue;
    if (isOverNow != m_isOver) {
        m_isOver = isOverNow;
        arrange();
    }
}

void DragDropView::setLow(bool isLow)
{
    if (isLow != m_isLow) {
        m_isLow = isLow;
        arrange();
    }
}

void DragDropView::setServerLost(bool isLost)
{
    if (isLost == m_hint->isServerLost()) {
        return;
    }
    m_hint->setServerLost(isLost);
    if (isLost) {
        m_usualDescription = accessibleDescription();
        setAccessibleDescription(u"Nothing is uploaded: this icon’s settings are gone or cannot be read. "_s
                                 + m_usualDescription);
    } else {
        setAccessibleDescription(m_usualDescription);
    }
}

QSize DragDropView::minimumSizeHint() const
{
    return { layout()->minimumSize().width(), m_textView->heightOfLines(0) + 2 * leastMargin };
}

/// Shows the list, the hint, or both, as far as there is room.
void DragDropView::arrange()
{
    using enum DropHint::Shape;
    const bool hasFiles = !m_textView->files().isEmpty();
    m_textView->setForegroundRole(m_isOver ? QPalette::PlaceholderText : QPalette::Text);
    m_textView->setVisible(hasFiles);
    m_hint->setVisible(m_isOver || !hasFiles);
    // What comes has the window laid out at once, and the height may be another one then.
    const bool isOneLine = m_isLow || height() < m_hint->heightInTwoLines() + 2 * leastMargin;
    m_hint->setShape(!isOneLine ? TwoLines : hasFiles ? OneShortLine : OneLine);
    const int margin = height() > 5 * fontMetrics().lineSpacing() ? 12 : leastMargin;
    layout()->setContentsMargins(14, margin, 14, margin);
    const int listHeight = m_textView->heightOfLines(height() - 2 * margin);
    m_textView->setMaximumHeight(listHeight);
    // A lower bar would be two arrows with nothing between them.
    const int leastBar = 2 * style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, m_textView)
        + style()->pixelMetric(QStyle::PM_ScrollBarSliderMin, nullptr, m_textView);
    m_textView->setVerticalScrollBarPolicy(listHeight < leastBar ? Qt::ScrollBarAlwaysOff : Qt::ScrollBarAsNeeded);
}

void DragDropView::resizeEvent(QResizeEvent* event)
{
    QFrame::resizeEvent(event);
    arrange();
}

void DragDropView::showAlert(const QString& title, const QString& text)
{
    if (window()->isVisible()) {
        SheetQueue::of(*window()).raise({ .title = title, .text = text });
    }
}

QString DragDropView::replacementText() const
{
    constexpr qsizetype mostNames = 20;
    const QStringList names = m_viewController == nullptr ? QStringList() : m_viewController->filesToReplace();
    if (names.isEmpty()) {
        return {};
    }
    QString text = u"These files replace those of the same name on the server:"_s;
    for (const QString& name : names.first(qMin(names.size(), mostNames))) {
        text += u'\n' + visibleText(name);
    }
    return names.size() <= mostNames ? text : text + u"\nand %1 more"_s.arg(names.size() - mostNames);
}

bool DragDropView::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip) {
        const QPoint position = static_cast<QHelpEvent*>(event)->globalPos();
        QStringList texts{ m_textView->cutPathAt(m_textView->viewport()->mapFromGlobal(position)), replacementText() };
        texts.removeAll(QString());
        QToolTip::showText(position, plainToolTip(texts.join(u"\n\n"_s)), this);
        return true;
    }
    return QFrame::event(event);
}

qreal DragDropView::defaultLineWidth()
{
    return pathLineWidth;
}

void DragDropView::setHighlight(bool highlight)
{
    m_highlight = highlight;
    update();
}

void DragDropView::paintEvent(QPaintEvent* event)
{
    QFrame::paintEvent(event);
    QPainter painter(this);
    drawFrame(painter); // And what is inside it: outside its round corners the window shows.
    if (m_highlight) {
        // Kept: around what is being redrawn, and the width stays set afterwards.
        pathLineWidth = highlightLineWidth;
        painter.setPen(QPen(palette().color(QPalette::Highlight), pathLineWidth));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(event->rect());
    }
}

void DragDropView::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        emit pressed();
        break;
    default:
        QFrame::keyPressEvent(event);
    }
}

void DragDropView::drawFrame(QPainter& painter) const
{
    painter.setRenderHint(QPainter::Antialiasing);
    QPen pen(palette().color(hasFocus() ? QPalette::Highlight : QPalette::Mid), 1.5, Qt::DashLine);
    pen.setDashPattern({ 4, 3 });
    painter.setPen(pen);
    painter.setBrush(palette().color(QPalette::Base));
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 10, 10);
    painter.setRenderHint(QPainter::Antialiasing, false);
}

void DragDropView::dragEnterEvent(QDragEnterEvent* event)
{
    m_offeredAction = draggingEntered(*event->mimeData());
    // Accepted also without an action: an ignored drag would not tell when it leaves, and the highlight would stay.
    event->setDropAction(m_offeredAction);
    event->accept();
}

void DragDropView::dragMoveEvent(QDragMoveEvent* event)
{
    // What a drag names stays the same while it moves, and may be a list of thousands.
    event->setDropAction(m_offeredAction);
    event->accept();
}

void DragDropView::dragLeaveEvent(QDragLeaveEvent* event)
{
    draggingExited();
    QFrame::dragLeaveEvent(event);
}

void DragDropView::dropEvent(QDropEvent* event)
{
    if (m_offeredAction == Qt::IgnoreAction) {
        draggingExited(); // Some sources drop also where they were offered nothing.
    } else if (prepareForDragOperation(*event->mimeData()) && performDragOperation()) {
        // A copy, whatever was proposed: a move would have the source delete its files.
        event->setDropAction(Qt::CopyAction);
        event->accept();
        concludeDragOperation();
        return;
    }
    event->setDropAction(Qt::IgnoreAction);
    event->ignore();
}
