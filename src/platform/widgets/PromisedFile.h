#pragma once

#include <QMimeData>
#include <QPointer>

#include <cstdint>
#include <functional>
#include <memory>

class DragExtraction;
class QPixmap;
class QWidget;

/// The data of a drag that promises one file: it is made in the folder where it is dropped, once that is known. Targets
/// learn of it by X Direct Save and by KDE's protocol; no other format is offered beside them, since targets that can
/// have the contents or a location take those instead, at once, and wait for them. For the main thread.
class PromisedFile final : public QMimeData {
    Q_OBJECT

public:
    /// Makes the file in that folder, given by its absolute path.
    using Fulfil = std::function<void(const QString& folder)>;

    /// @p name: as targets are to call the file; one for which PathText::isFileName() does not hold is offered to no
    /// target. @p fulfil is called from the main loop, never from inside the target's question, at most once, and only
    /// while @p source lives, which is where the drag comes from.
    PromisedFile(QString name, QWidget& source, Fulfil fulfil);
    ~PromisedFile() override;

    QStringList formats() const override;

    /// Drags @p file, with @p picture at the pointer, until the user lets go. The file is dropped as soon as this
    /// returns; the target's request comes later.
    static void drag(std::unique_ptr<PromisedFile> file, const QPixmap& picture);

    /// The drag begins. Takes the place of the source's last one.
    void begin();
    /// The drag has ended over a target that takes it. Requests count from now on: some targets send them while a drag
    /// hovers.
    void setDropped();

protected:
    QVariant retrieveData(const QString& format, QMetaType type) const override;

private:
    struct Promise;

    QStringList protocols() const;
    QByteArray answerDirectSave() const;

    QString m_name;
    QWidget& m_source;
    std::shared_ptr<Promise> m_promise; ///< Shared with the extraction, which outlives this.
    QPointer<DragExtraction> m_extraction; ///< Once dragged, the source's until its next drag: it may outlive this.
    QByteArray m_service;
    QByteArray m_path; ///< Those two of the extraction.
    bool m_isDragged = false;
    std::uint32_t m_window = 0; ///< That X Direct Save goes through.
};
