#pragma once

#include "PathList.h"

#include <QListView>

#include <utility>

/// A numbered list of files, each in a line. It has no text of its own: only the lines that are seen are made, and the
/// whole text when somebody asks for it. To a screen reader it is a text.
class QueuedFilesView final : public QListView {
    Q_OBJECT

public:
    explicit QueuedFilesView(QWidget* parent = nullptr);

    const PathList& files() const { return m_files; }
    void setFiles(const PathList& files);

    /// "1) path", an empty line, and so on for each file, with everything shown that would act unseen. This and what
    /// follows takes time by the number of files.
    QString toPlainText() const { return textOfRows(0, m_files.size()); }
    /// The part of it that the selected lines are.
    QString selectedText() const { return textOfRows(selectedRows().first, selectedRows().second); }
    /// The first of the selected rows, and the one behind the last; twice the same without any.
    std::pair<int, int> selectedRows() const;
    /// Where the line @p row begins in it. The end of the text for the row behind the last.
    qsizetype offsetOfRow(qsizetype row) const;
    /// The row whose line @p offset is in; the last one for an offset behind them all, -1 without any.
    int rowAtOffset(qsizetype offset) const;

    /// The height of as many whole lines as there is room for in @p height, at least of one.
    int heightOfLines(int height) const;

    /// The path in the line at @p position of the viewport, when the line is too narrow for it; null for none.
    QString cutPathAt(QPoint position) const;

public slots: // NOLINT(readability-redundant-access-specifiers): moc tells the two apart
    /// Puts the selected lines on the clipboard, if there are any.
    void copy();

protected:
    bool event(QEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;

private:
    QString textOfRows(qsizetype begin, qsizetype end) const;

    PathList m_files;
};
