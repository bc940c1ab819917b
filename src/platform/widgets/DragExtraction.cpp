#include "DragExtraction.h"

#include "FileURL.h"

#include <QDBusConnection>
#include <QUrl>

#include <utility>

using namespace Qt::StringLiterals;

DragExtraction::DragExtraction(QObject* parent, std::function<void(const QString&)> extract)
    : QObject(parent)
    , m_extract(std::move(extract))
{
    static int count = 0;
    m_path = u"/DndExtract/%1"_s.arg(++count);
    QDBusConnection::sessionBus().registerObject(m_path, this, QDBusConnection::ExportAllSlots);
}

DragExtraction::~DragExtraction()
{
    QDBusConnection::sessionBus().unregisterObject(m_path);
}

QString DragExtraction::service() const
{
    return QDBusConnection::sessionBus().baseService();
}

void DragExtraction::extractSelectedFilesTo(const QString& folder)
{
    const QString path = folder.startsWith(u'/') ? folder : localPath(QUrl(folder));
    if (path.startsWith(u'/')) {
        m_extract(path);
    }
}
