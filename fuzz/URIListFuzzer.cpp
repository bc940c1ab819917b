#include "DroppedFiles.h"

#include <QFileInfo>
#include <QMimeData>

#include <cstdlib>

/// Whatever is dropped as a list of locations, what is taken from it are absolute paths of files that exist.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    QMimeData dropped;
    dropped.setData(QStringLiteral("text/uri-list"),
                    QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    const QStringList files = droppedItems(dropped).files.toStringList();
    if (!files.isEmpty() && !namesLocalFiles(dropped)) {
        std::abort();
    }
    for (const QString& file : files) {
        const QFileInfo item(file);
        if (!item.isAbsolute() || !item.exists() || item.isDir()) {
            std::abort();
        }
    }
    return 0;
}
