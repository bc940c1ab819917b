#include "PromisedFile.h"

#include "DirectSave.h"
#include "DragExtraction.h"
#include "PathText.h"
#include "RunLoop.h"

#include <QDrag>
#include <QFileInfo>
#include <QPixmap>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <utility>

using namespace Qt::StringLiterals;

struct PromisedFile::Promise {
    QWidget* source;
    Fulfil fulfil; ///< Empty once it has been called.
    bool isDropped = false;

    void keep(const QString& folder)
    {
        if (isDropped && fulfil) {
            RunLoop::dispatchAfter(0, source, [fulfil = std::exchange(fulfil, nullptr), folder] { fulfil(folder); });
        }
    }
};

PromisedFile::PromisedFile(QString name, QWidget& source, Fulfil fulfil)
    : m_name(std::move(name))
    , m_source(source)
    , m_promise(std::make_shared<Promise>(Promise{ &source, std::move(fulfil) }))
{
    if (PathText::isFileName(m_name)) {
        m_extraction
            = new DragExtraction(&source, [promise = m_promise](const QString& folder) { promise->keep(folder); });
        m_service = m_extraction->service().toUtf8();
        m_path = m_extraction->path().toUtf8();
    }
}

PromisedFile::~PromisedFile()
{
    if (!m_isDragged) {
        delete m_extraction;
    }
}

QStringList PromisedFile::protocols() const
{
    QStringList formats;
    if (!PathText::isFileName(m_name)) {
        return formats;
    }
    if (DirectSave::isAvailable()) {
        formats.append(DirectSave::format);
    }
    if (!m_service.isEmpty()) {
        formats.append({ DragExtraction::serviceFormat, DragExtraction::pathFormat });
    }
    return formats;
}

QStringList PromisedFile::formats() const
{
    return protocols() + QMimeData::formats();
}

QVariant PromisedFile::retrieveData(const QString& format, QMetaType type) const
{
    if (!protocols().contains(format)) {
        return QMimeData::retrieveData(format, type);
    }
    if (format == DragExtraction::serviceFormat) {
        return m_service;
    }
    return format == DragExtraction::pathFormat ? m_path : answerDirectSave();
}

QByteArray PromisedFile::answerDirectSave() const
{
    const QString path = m_promise->isDropped ? DirectSave::acceptRequest(m_window) : QString();
    if (path.isNull()) {
        return "E"_ba; // There will be no file.
    }
    m_promise->keep(QFileInfo(path).path());
    return "S"_ba; // There will be.
}

void PromisedFile::setDropped()
{
    m_promise->isDropped = true;
}

void PromisedFile::begin()
{
    for (DragExtraction* old : m_source.findChildren<DragExtraction*>(Qt::FindDirectChildrenOnly)) {
        if (old != m_extraction) {
            delete old; // The last drag's: a target that still asks about that one gets no answer.
        }
    }
    m_isDragged = true;
}

void PromisedFile::drag(std::unique_ptr<PromisedFile> file, const QPixmap& picture)
{
    file->begin();
    const QPointer<PromisedFile> watched = file.get();
    // The window that the drag comes from is known as soon as it runs.
    QTimer::singleShot(0, file.get(), [&file = *file] { file.m_window = DirectSave::announce(file.m_name); });
    auto* const drag = new QDrag(&file->m_source); // Lives until the target has asked for all it wants.
    drag->setPixmap(picture);
    drag->setHotSpot({ -8, -8 });
    drag->setMimeData(file.release());
    if (drag->exec(Qt::CopyAction) != Qt::IgnoreAction && watched != nullptr) {
        watched->setDropped();
    }
}
