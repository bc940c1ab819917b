#include "OpenedUrls.h"

#include <QDesktopServices>

OpenedUrls::OpenedUrls(const QString& scheme)
    : m_scheme(scheme)
{
    QDesktopServices::setUrlHandler(m_scheme, this, "open");
}

OpenedUrls::~OpenedUrls()
{
    QDesktopServices::unsetUrlHandler(m_scheme);
}

QStringList OpenedUrls::localPaths() const
{
    QStringList paths;
    for (const QUrl& url : m_urls) {
        paths.append(url.toLocalFile());
    }
    return paths;
}
