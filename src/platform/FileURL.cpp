#include "FileURL.h"

#include "LocalPath.h"

#include <QSysInfo>
#include <QUrl>

#include <array>
#include <string_view>

using namespace Qt::StringLiterals;

namespace {

/// The characters of a path in a URI that stand for themselves.
constexpr std::array<bool, 256> plainCharacters = [] {
    std::array<bool, 256> plain{};
    for (const char c :
         std::string_view("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~!$&'()*+,;=:@/")) {
        plain[static_cast<uchar>(c)] = true;
    }
    return plain;
}();

/// The value of a hexadecimal digit; -1 for other characters.
int hexValue(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char small = static_cast<char>(c | 0x20);
    return small >= 'a' && small <= 'f' ? small - 'a' + 10 : -1;
}

/// The bytes of the path that @p uri names if it is like "file:///folder/name%20end". Null for all that needs a closer
/// look.
QByteArray pathOfPlainURI(const QByteArray& uri)
{
    constexpr QByteArrayView beginning("file:///");
    if (!uri.startsWith(beginning)) {
        return {};
    }
    QByteArray path;
    path.reserve(uri.size());
    for (qsizetype i = beginning.size() - 1; i < uri.size(); ++i) {
        const char c = uri[i];
        if (plainCharacters[static_cast<uchar>(c)]) {
            path += c;
            continue;
        }
        const int high = i + 2 < uri.size() ? hexValue(uri[i + 1]) : -1;
        const int low = i + 2 < uri.size() ? hexValue(uri[i + 2]) : -1;
        if (c != '%' || high < 0 || low < 0) {
            return {};
        }
        path += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return path;
}

} // namespace

QString localPath(const QUrl& url)
{
    if (!url.isLocalFile()) {
        return {};
    }
    const QString host = url.host();
    const bool isHere = host.isEmpty() || host == u"localhost"_s
        || host.compare(QSysInfo::machineHostName(), Qt::CaseInsensitive) == 0;
    if (!isHere) {
        return {};
    }
    // Not decoded by the URL: it would read bytes that are not UTF-8 as something else.
    return LocalPath::fromBytes(QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()));
}

QString localPath(const QByteArray& uri)
{
    const QByteArray path = pathOfPlainURI(uri);
    return path.isNull() ? localPath(QUrl::fromEncoded(uri)) : LocalPath::fromBytes(path);
}

QString fileURI(const QString& path)
{
    return u"file://"_s + QString::fromLatin1(LocalPath::toBytes(path).toPercentEncoding("/!$&'()*+,:=@"));
}
