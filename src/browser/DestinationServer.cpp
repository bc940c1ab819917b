#include "DestinationServer.h"

#include "FTPLocation.h"
#include "TrustedCertificates.h"

#include <QRegularExpression>
#include <QUrl>

using namespace Qt::StringLiterals;

std::shared_ptr<FMServer> serverOfDestination(const QString& destination, const QString& username,
                                              const QString& password)
{
    static const QRegularExpression parts(
        u"^(?<host>ftp://(?:\\[[^\\]]*\\]|[^:/]*))(?::(?<port>\\d+))?(?<path>/.*)?$"_s,
        QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpressionMatch match = parts.match(destination);
    if (!match.hasMatch()) {
        return FMServer::serverWithDestination(destination, username, password);
    }
    // As transfers log in.
    const bool isAnonymous = username.isEmpty() || password.isEmpty();
    const QString path = QUrl::fromPercentEncoding(match.captured(u"path"_s).toUtf8());
    auto server
        = FMServer::serverWithDestination(match.captured(u"host"_s) + path, isAnonymous ? u"anonymous"_s : username,
                                          isAnonymous ? u"anonymous@"_s : password);
    server->setPort(match.hasCaptured(u"port"_s) ? match.captured(u"port"_s).toInt() : 21);
    return server;
}

bool hasIPv6Address(const QString& destination)
{
    return destination.startsWith(u"ftp://["_s);
}

QByteArray trustedFingerprint(const QString& destination)
{
    const std::optional<FTPLocation> location = FTPLocation::fromText(destination);
    return location ? TrustedCertificates::standard().fingerprint(location->host, location->port) : QByteArray();
}
