#include "FTPManagerStrings.h"

#include "FTPManagerLog.h"
#include "URLText.h"

using namespace Qt::StringLiterals;

namespace quillbox {

QString stringWithoutProtocol(const QString& destination)
{
    constexpr QLatin1String separator("://");
    const qsizetype scheme = destination.indexOf(separator);
    QString address = scheme < 0 ? destination : destination.mid(scheme + separator.size());
    const qsizetype colon = address.indexOf(u':');
    const qsizetype slash = address.indexOf(u'/');
    if (colon >= 0 && (slash < 0 || colon < slash)) {
        qCWarning(ftpManagerLog,
                  "FTPManager warning: there is possibly a port included in your destination url. "
                  "Define the port in FMServer.port instead.");
    }
    return address;
}

QString fmhost(const QString& destination)
{
    const QString address = stringWithoutProtocol(destination);
    const qsizetype slash = address.indexOf(u'/');
    return slash < 0 ? address : address.left(slash);
}

QString fmdir(const QString& destination)
{
    const QString address = stringWithoutProtocol(destination);
    const qsizetype slash = address.indexOf(u'/');
    return slash < 0 ? QString() : u""_s + address.mid(slash + 1);
}

QString ftpURLForPort(const QString& destination, qint32 port)
{
    const QString host = fmhost(destination);
    if (host.contains(u'?') || host.contains(u'#')) {
        return QString(); // The port would be part of the query or fragment, and the login go to that of FTP.
    }
    QString location = u"ftp://"_s + host;
    if (port != 21) {
        location += u':' + QString::number(port);
    }
    const QString folder = fmdir(destination);
    if (!folder.isEmpty()) {
        const QString escaped = URLText::addingPercentEscapes(folder);
        if (escaped.isNull()) {
            return QString();
        }
        location += u'/' + escaped;
    }
    return URLText::isURLText(location) ? location : QString();
}

} // namespace quillbox
