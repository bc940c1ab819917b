#pragma once

#include "PathList.h"

#include <QFrame>

class DropHint;
class QMimeData;
class QueuedFilesView;
class ViewController;

/// The drop area of the main window: takes plain files, hands them to the upload queue, and lists the queue.
class DragDropView final : public QFrame {
    Q_OBJECT

public:
    explicit DragDropView(QWidget* parent = nullptr);
    /// Makes the view ready for drops; called once, when it is made.
    void awakeFromNib();

    /// Receives the accepted files. Not owned; null: nobody.
    ViewController* viewController() const { return m_viewController; }
    void setViewController(ViewController* viewController) { m_viewController = viewController; }

    bool highlight() const { return m_highlight; }
    /// The files of the last accepted drop.
    const PathList& droppedFiles() const { return m_droppedFiles; }
    void setDroppedFiles(const PathList& paths) { m_droppedFiles = paths; }
    QueuedFilesView* textView() const { return m_textView; }

    /// A drag has come over the view: highlights it, and answers copy when it names files, otherwise no action.
    Qt::DropAction draggingEntered(const QMimeData& pasteboard);
    void draggingExited();
    /// The plain files that @p pasteboard names, in its order.
    PathList pasteboardHasFiles(const QMimeData& pasteboard) const;
    /// Whether the drop is accepted; without a plain file an alert says that it is not.
    bool prepareForDragOperation(const QMimeData& pasteboard);
    bool performDragOperation() const;
    /// Hands the files over.
    void concludeDragOperation();

    /// Lists @p files as "1) path" and so on, in place of what was listed. The list then stands until the next one.
    void displayDroppedFiles(const PathList& files);
    /// What is listed by now is over, whatever becomes of the queue that begins.
    void queueBegins();
    /// Whether the queue is over: then its list is dimmed, and the hint stands beside it.
    void setOver(bool isOver);
    /// Whether nothing can be uploaded, as an icon has lost the settings of its own server.
    void setServerLost(bool isLost);
    /// Whether there is room for a line only.
    void setLow(bool isLow);

    QSize minimumSizeHint() const override;

    /// A sheet with one button on the view's window; nothing without a window.
    void showAlert(const QString& title, const QString& text);

    /// The width of lines for all drawing of this kind. Kept: it stays as the first highlight leaves it.
    static qreal defaultLineWidth();

    /// Names the waiting files that replace some on the server; empty without any.
    QString replacementText() const;

signals:
    /// Space, Return or a screen reader has pressed the view.
    void pressed();

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void setHighlight(bool highlight);
    void drawFrame(QPainter& painter) const;
    void arrange();

    QueuedFilesView* m_textView;
    DropHint* m_hint;
    QString m_usualDescription; ///< While this icon's server is lost.
    ViewController* m_viewController = nullptr;
    PathList m_droppedFiles;
    QStringList m_leftOut; ///< What came with them and is no plain file.
    bool m_highlight = false;
    bool m_isOver = true;
    bool m_isOfLatestQueue = true; ///< What is listed.
    bool m_isLow = false;
    Qt::DropAction m_offeredAction = Qt::IgnoreAction; ///< To the drag that hovers over the view.
};
