#include "AccessibleQueuedFiles.h"

#include "QueuedFilesView.h"

#include <QAccessibleWidget>

namespace {

/// The whole text of the view, to read only; its cursor and selection are whole lines.
class AccessibleQueuedFiles final : public QAccessibleWidget, public QAccessibleTextInterface {
public:
    explicit AccessibleQueuedFiles(QueuedFilesView& view)
        : QAccessibleWidget(&view, QAccessible::EditableText)
        , m_view(view)
    {
    }

    QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.readOnly = true;
        state.multiLine = true;
        state.selectableText = true;
        return state;
    }
    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Value ? m_view.toPlainText() : QAccessibleWidget::text(kind);
    }
    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::TextInterface ? static_cast<QAccessibleTextInterface*>(this)
                                                  : QAccessibleWidget::interface_cast(type);
    }

    QString text(int begin, int end) const override { return m_view.toPlainText().mid(begin, end - begin); }
    int characterCount() const override { return offsetOf(m_view.files().size()); }
    QRect characterRect(int offset) const override
    {
        const QRect line = m_view.visualRect(indexAt(offset));
        return { m_view.viewport()->mapToGlobal(line.topLeft()), line.size() };
    }
    int offsetAtPoint(const QPoint& point) const override
    {
        const QModelIndex index = m_view.indexAt(m_view.viewport()->mapFromGlobal(point));
        return index.isValid() ? offsetOf(index.row()) : -1;
    }
    void scrollToSubstring(int begin, int /*end*/) override { m_view.scrollTo(indexAt(begin)); }
    QString attributes(int /*offset*/, int* begin, int* end) const override
    {
        *begin = 0;
        *end = characterCount();
        return {};
    }

    int cursorPosition() const override { return offsetOf(qMax(0, m_view.currentIndex().row())); }
    void setCursorPosition(int offset) override { m_view.setCurrentIndex(indexAt(offset)); }

    int selectionCount() const override { return m_view.selectionModel()->hasSelection() ? 1 : 0; }
    void selection(int index, int* begin, int* end) const override
    {
        const auto [first, behindLast] = index == 0 ? m_view.selectedRows() : std::pair(0, 0);
        *begin = offsetOf(first);
        *end = offsetOf(behindLast);
    }
    void addSelection(int begin, int end) override { setSelection(0, begin, end); }
    void setSelection(int /*index*/, int begin, int end) override
    {
        m_view.selectionModel()->select({ indexAt(begin), indexAt(qMax(begin, end - 1)) },
                                        QItemSelectionModel::ClearAndSelect);
    }
    void removeSelection(int /*index*/) override { m_view.clearSelection(); }

private:
    int offsetOf(qsizetype row) const { return static_cast<int>(m_view.offsetOfRow(row)); }
    QModelIndex indexAt(int offset) const { return m_view.model()->index(m_view.rowAtOffset(offset), 0); }

    QueuedFilesView& m_view;
};

QAccessibleInterface* accessibleQueuedFiles(const QString& /*className*/, QObject* object)
{
    auto* const view = qobject_cast<QueuedFilesView*>(object);
    return view == nullptr ? nullptr : new AccessibleQueuedFiles(*view);
}

} // namespace

void installAccessibleQueuedFiles()
{
    QAccessible::installFactory(accessibleQueuedFiles);
}
