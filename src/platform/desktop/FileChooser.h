#pragma once

#include "FileChooserPortal.h"

#include <QObject>
#include <QStringList>

#include <functional>

class QWidget;

/// Lets the user choose files, by the desktop's own dialog where there is one and by the toolkit's elsewhere. Nothing
/// blocks. Belongs to the main thread.
class FileChooser final : public QObject {
    Q_OBJECT

public:
    struct Question {
        QString title;
        QString acceptLabel = {}; ///< Of the button; empty: the usual one.
        QString folder = {}; ///< Where the dialog begins; empty: where it likes.
        QString nameToSave = {}; ///< Of the file to be written, with a suffix; empty: existing files are chosen.
    };

    /// The dialogs are those of @p window, which outlives the chooser.
    explicit FileChooser(QWidget& window);

    /// Shows the dialog. The desktop's, if it is still open, goes.
    void open(const Question& question);

    /// Where choosers that are made from now on look for the desktop's dialog; null: on the session bus.
    static void setBusSource(std::function<QDBusConnection()> source);

signals:
    /// The user has chosen the files at @p paths (LocalPath): any number of existing ones, or the one to be written.
    void filesSelected(const QStringList& paths);

private:
    void openHere();

    QWidget& m_window;
    FileChooserPortal m_portal;
    Question m_question; ///< The latest one.
};
