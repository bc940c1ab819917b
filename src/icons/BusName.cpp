#include "BusName.h"

#include <QCryptographicHash>
#include <QString>

using namespace Qt::StringLiterals;

QString busName(const QString& programName)
{
    QString product = u"io.github.quillbox.Quillbox"_s;
    if (programName == u"Quillbox"_s) {
        return product;
    }
    // Names of files are free; elements of bus names are not.
    const QByteArray hash = QCryptographicHash::hash(programName.toUtf8(), QCryptographicHash::Sha256).toHex();
    return product + u".c"_s + QString::fromLatin1(hash.first(16));
}
