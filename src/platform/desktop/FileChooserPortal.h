#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

class QDBusPendingCallWatcher;

/// The desktop's dialog for choosing files, through the XDG Desktop Portal (org.freedesktop.portal.FileChooser).
/// Nothing blocks. Belongs to the main thread.
class FileChooserPortal final : public QObject {
    Q_OBJECT

public:
    explicit FileChooserPortal(QDBusConnection sessionBus);

    struct Question {
        QString parentWindow; ///< As portals name windows, "x11:2a00007"; empty for none.
        QString title;
        QString acceptLabel = {}; ///< Of the button; empty: the usual one.
        QString folder = {}; ///< Where the dialog begins; empty: where it likes.
        QString nameToSave = {}; ///< Of a file that is to be written; empty: existing files are chosen.
    };
    /// Shows the dialog, for any number of existing files or for one to be written. One that is still open goes.
    void open(const Question& question);

signals:
    /// The user has chosen the files at @p paths (LocalPath) of this machine.
    void filesSelected(const QStringList& paths);
    /// There is no such portal: no dialog is shown. May come from inside open().
    void unavailable();

private slots: // NOLINT(readability-redundant-access-specifiers): moc tells the two apart
    void responded(uint response, const QVariantMap& results, const QDBusMessage& message);

private: // NOLINT(readability-redundant-access-specifiers): these are no slots
    void called(const QDBusPendingCallWatcher& watcher);
    void expectAnswerOf(const QString& request);
    void dismiss();

    QDBusConnection m_bus;
    QString m_portal; ///< Whose dialog is open; null until that has answered.
    QString m_request; ///< The path of the dialog's object; empty: no dialog is open.
    int m_count = 0; ///< Of dialogs so far.
};
