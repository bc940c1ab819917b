#include "FTPLocation.h"

using namespace Qt::StringLiterals;

namespace {

struct Authority {
    QString host;
    quint16 port = 21;
};

std::optional<Authority> parseAuthority(QStringView text)
{
    const qsizetype at = text.lastIndexOf(u'@');
    if (at >= 0) {
        text = text.sliced(at + 1);
    }
    const bool isBracketed = text.startsWith(u'[');
    const qsizetype hostEnd = isBracketed ? text.indexOf(u']') + 1 : text.indexOf(u':');
    if (isBracketed && hostEnd == 0) {
        return std::nullopt;
    }
    QStringView host = hostEnd >= 0 ? text.first(hostEnd) : text;
    const QStringView portText = text.sliced(host.size());
    Authority authority;
    if (!portText.isEmpty()) {
        bool isNumber = false;
        authority.port = portText.sliced(1).toUShort(&isNumber);
        if (!portText.startsWith(u':') || !isNumber || authority.port == 0) {
            return std::nullopt;
        }
    }
    if (isBracketed) {
        host = host.sliced(1).chopped(1);
    }
    const QByteArray name = QByteArray::fromPercentEncoding(host.toUtf8());
    // The system would look up another host: that before the NUL.
    if (name.isEmpty() || !canBeSent(name)) {
        return std::nullopt;
    }
    authority.host = QString::fromUtf8(name);
    return authority;
}

} // namespace

std::optional<FTPLocation> FTPLocation::fromText(const QString& text)
{
    static constexpr QLatin1StringView scheme("ftp://");
    if (!text.startsWith(scheme, Qt::CaseInsensitive)) {
        return std::nullopt;
    }
    QStringView rest = QStringView(text).sliced(scheme.size());
    const qsizetype fragment = rest.indexOf(u'#');
    if (fragment >= 0) {
        rest = rest.first(fragment);
    }
    const qsizetype slash = rest.indexOf(u'/');
    const std::optional<Authority> authority = parseAuthority(slash < 0 ? rest : rest.first(slash));
    if (!authority) {
        return std::nullopt;
    }
    FTPLocation location{ authority->host, authority->port, {} };
    if (slash >= 0) {
        location.path = QByteArray::fromPercentEncoding(rest.sliced(slash + 1).toUtf8());
    }
    return location;
}

QByteArray FTPLocation::pathWithoutTrailingSlashes() const
{
    qsizetype end = path.size();
    while (end > 1 && path[end - 1] == '/') {
        --end;
    }
    // A lone "/" is the root of the server, and an item at it has no name.
    return path.first(end);
}

QByteArray FTPLocation::folder() const
{
    const QByteArray item = pathWithoutTrailingSlashes();
    const qsizetype slash = item.lastIndexOf('/');
    if (slash < 0) {
        return {};
    }
    return slash == 0 ? QByteArray("/") : item.first(slash);
}

QByteArray FTPLocation::name() const
{
    const QByteArray item = pathWithoutTrailingSlashes();
    return item.sliced(item.lastIndexOf('/') + 1);
}

bool canBeSent(QByteArrayView text)
{
    return !text.contains('\r') && !text.contains('\n') && !text.contains('\0');
}
