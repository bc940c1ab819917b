#include "QueuedFilesView.h"

#include "AccessibleQueuedFiles.h"
#include "ElidedPath.h"
#include "LineDelegate.h"
#include "TreePath.h"
#include "VisibleText.h"

#include <QAbstractListModel>
#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

QString lineOf(qsizetype row, const QString& path)
{
    return QString::number(row + 1) + u") "_s + path;
}

/// What a line of @p view leaves free beside its text.
int marginsOf(const QWidget& view)
{
    return 2 * (view.style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, &view) + 1);
}

class QueuedFilesModel final : public QAbstractListModel {
public:
    QueuedFilesModel(const QueuedFilesView& files, QObject* parent)
        : QAbstractListModel(parent)
        , m_view(files)
    {
    }

    template <typename Change> void reset(Change change)
    {
        beginResetModel();
        change();
        endResetModel();
    }

    int rowCount(const QModelIndex& parent) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(m_view.files().size());
    }
    QVariant data(const QModelIndex& index, int role) const override
    {
        return role == Qt::DisplayRole
            ? lineOf(index.row(), visibleText(TreePath::shown(m_view.files().at(index.row()))))
            : QVariant();
    }

private:
    const QueuedFilesView& m_view;
};

/// Cuts paths, and never their numbers.
class QueuedFileDelegate final : public LineDelegate {
public:
    using LineDelegate::LineDelegate;

protected:
    QString shownText(const QStyleOptionViewItem& option) const override
    {
        const QString number = option.text.section(u' ', 0, 0) + u' ';
        const int room = option.rect.width() - marginsOf(*option.widget) - option.fontMetrics.horizontalAdvance(number);
        return number + elidedPath(option.text.mid(number.size()), option.fontMetrics, room);
    }
};

} // namespace

QueuedFilesView::QueuedFilesView(QWidget* parent)
    : QListView(parent)
{
    installAccessibleQueuedFiles();
    setModel(new QueuedFilesModel(*this, this));
    setItemDelegate(new QueuedFileDelegate(this));
    setUniformItemSizes(true);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSelectionMode(QAbstractItemView::ContiguousSelection);
    setTextElideMode(Qt::ElideMiddle);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    auto* const copyAction = new QAction(u"&Copy"_s, this);
    connect(copyAction, &QAction::triggered, this, &QueuedFilesView::copy);
    auto* const selectAllAction = new QAction(u"Select &All"_s, this);
    connect(selectAllAction, &QAction::triggered, this, &QAbstractItemView::selectAll);
    addActions({ copyAction, selectAllAction });
    setContextMenuPolicy(Qt::ActionsContextMenu);
}

void QueuedFilesView::setFiles(const PathList& files)
{
    static_cast<QueuedFilesModel*>(model())->reset([this, &files] { m_files = files; });
    QAccessibleEvent event(this, QAccessible::VisibleDataChanged);
    QAccessible::updateAccessibility(&event);
}

std::pair<int, int> QueuedFilesView::selectedRows() const
{
    const QItemSelection ranges = selectionModel()->selection(); // Of a selection without gaps.
    if (ranges.isEmpty()) {
        return {};
    }
    const auto [first, last] = std::minmax_element(
        ranges.begin(), ranges.end(),
        [](const QItemSelectionRange& left, const QItemSelectionRange& right) { return left.top() < right.top(); });
    return { first->top(), last->bottom() + 1 };
}

QString QueuedFilesView::textOfRows(qsizetype begin, qsizetype end) const
{
    QString text;
    for (qsizetype row = begin; row < end; ++row) {
        text += lineOf(row, wholeVisibleText(TreePath::shown(m_files.at(row)))) + u"\n\n"_s;
    }
    return text;
}

qsizetype QueuedFilesView::offsetOfRow(qsizetype row) const
{
    qsizetype offset = 0;
    for (qsizetype before = 0; before < row; ++before) {
        offset += textOfRows(before, before + 1).size();
    }
    return offset;
}

int QueuedFilesView::rowAtOffset(qsizetype offset) const
{
    qsizetype row = 0;
    for (; row + 1 < m_files.size(); ++row) {
        offset -= textOfRows(row, row + 1).size();
        if (offset < 0) {
            break;
        }
    }
    return m_files.isEmpty() ? -1 : static_cast<int>(row);
}

int QueuedFilesView::heightOfLines(int height) const
{
    const int line = LineDelegate::heightOfLine(fontMetrics());
    return std::max(1, height / line) * line;
}

QString QueuedFilesView::cutPathAt(QPoint position) const
{
    const QModelIndex index = indexAt(position);
    const bool isCut = index.isValid()
        && fontMetrics().horizontalAdvance(index.data().toString()) > visualRect(index).width() - marginsOf(*this);
    return isCut ? visibleText(TreePath::shown(m_files.at(index.row()))) : QString();
}

void QueuedFilesView::copy()
{
    if (const QString text = selectedText(); !text.isEmpty()) {
        QApplication::clipboard()->setText(text);
    }
}

bool QueuedFilesView::event(QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride && static_cast<QKeyEvent*>(event)->matches(QKeySequence::Copy)) {
        event->accept(); // The window's command of that key is about something else.
        return true;
    }
    return QListView::event(event);
}

bool QueuedFilesView::viewportEvent(QEvent* event)
{
    if (event->type() == QEvent::ToolTip) {
        event->ignore(); // It is for the view that this one lies in.
        return false;
    }
    return QListView::viewportEvent(event);
}

void QueuedFilesView::keyPressEvent(QKeyEvent* event)
{
    if (event->matches(QKeySequence::Copy)) {
        copy();
    } else if (event->matches(QKeySequence::SelectAll) || event->text().isEmpty()) {
        QListView::keyPressEvent(event);
    } else {
        event->ignore(); // What is typed looks for nothing here, and is for the view that this one lies in.
    }
}

// Past QListView, which would tell screen readers of items.
// NOLINTBEGIN(bugprone-parent-virtual-call)

void QueuedFilesView::currentChanged(const QModelIndex& current, const QModelIndex& previous)
{
    QAbstractItemView::currentChanged(current, previous);
    if (QAccessible::isActive() && hasFocus()) {
        QAccessibleTextCursorEvent event(this, static_cast<int>(offsetOfRow(qMax(0, current.row()))));
        QAccessible::updateAccessibility(&event);
    }
}

void QueuedFilesView::selectionChanged(const QItemSelection& selected, const QItemSelection& deselected)
{
    QAbstractItemView::selectionChanged(selected, deselected);
}

// NOLINTEND(bugprone-parent-virtual-call)
