#pragma once

#include "Destination.h"
#include "TableDragging.h"

#include <QObject>

#include <functional>
#include <optional>

class DestinationListing;
class ItemActions;
class QWidget;

/// Files dragged onto the table of the destination folder, and rows dragged out of it. Belongs to the main thread.
class ItemDragging final : public QObject, public TableDragging {
    Q_OBJECT

public:
    /// What the promise of a dragged row holds, as a JSON list of one text: the number of the row.
    static inline const QString promiseFormat = QStringLiteral("application/x-quillbox-promised-files");

    /// What dragging asks of the program that it belongs to.
    struct Application {
        std::function<bool()> alertSendingOrReceiving; ///< Whether a transfer keeps it back; if so, the user knows.
        std::function<void(const QString& title, const QString& text)> showAlert;
        /// With the items that came with them and are no plain files.
        std::function<void(const QStringList& paths, const QStringList& leftOut)> uploadFiles;
    };

    /// All outlive the dragging. @p window has the sheets.
    ItemDragging(QWidget& window, DestinationListing& listing, ItemActions& actions, Application application,
                 QObject* parent = nullptr);

    /// The files of the last drop onto the table that was accepted.
    const QStringList& droppedFiles() const { return m_droppedFiles; }
    void setDroppedFiles(const QStringList& paths) { m_droppedFiles = paths; }
    /// The plain files that @p pasteboard names, in its order.
    static QStringList pasteboardHasFiles(const QMimeData& pasteboard);

    Qt::DropAction validateDrop(const QMimeData& pasteboard, TableDrop& drop) const override;
    bool acceptDrop(const QMimeData& pasteboard, const TableDrop& drop) override;
    bool writeRowsWithIndexes(const QList<int>& rows, QMimeData& pasteboard) override;
    QStringList namesOfPromisedFilesDroppedAtDestination(const QString& destination, const QList<int>& rows) override;
    void makePromisedFile(const ListingEntry& entry, const QString& destination) override;

private:
    QWidget& m_window;
    DestinationListing& m_listing;
    ItemActions& m_actions;
    Application m_application;
    QStringList m_droppedFiles;
    std::optional<Destination> m_dragged; ///< The destination when the drag that is not over yet began.
};
