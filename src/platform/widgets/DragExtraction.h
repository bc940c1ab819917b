#pragma once

#include <QObject>
#include <QString>

#include <functional>

/// The source's side of KDE's protocol for dragging what does not exist yet as a file: the target calls this object on
/// the session bus and names the folder. Works on X11 and on Wayland. For the main thread.
///
/// The object can be called from its making to its end. Targets call it after they have finished the drag; so it
/// outlives the dragged data.
class DragExtraction final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.ark.DndExtract")

public:
    /// Of the protocol, among the formats of dragged data: the bus name and the path of this object.
    static inline const QString serviceFormat = QStringLiteral("application/x-kde-ark-dndextract-service");
    static inline const QString pathFormat = QStringLiteral("application/x-kde-ark-dndextract-path");

    /// @p extract is called with the absolute path of the folder, inside the target's call.
    DragExtraction(QObject* parent, std::function<void(const QString& folder)> extract);
    ~DragExtraction() override;

    /// This program's name on the bus; empty without a session bus.
    QString service() const;
    const QString& path() const { return m_path; }

public slots: // NOLINT(readability-redundant-access-specifiers): moc tells the two apart
    void extractSelectedFilesTo(const QString& folder);

private:
    std::function<void(const QString&)> m_extract;
    QString m_path;
};
