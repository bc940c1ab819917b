#include "FileURL.h"

#include "LocalPath.h"

#include <QSysInfo>
#include <QUrl>

#include <array>
#include <cctype>
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

constexpr QByteArrayView plainBeginning("file://");

/// Whether @p uri is like "file:///folder/name%20end"; all others need a closer look.
bool isPlainURI(const QByteArray& uri)
{
    if (!uri.startsWith(plainBeginning) || !QByteArrayView(uri).sliced(plainBeginning.size()).startsWith('/')) {
        return false;
    }
    const auto isHexAt
        = [&uri](qsizetype i) { return i < uri.size() && std::isxdigit(static_cast<uchar>(uri[i])) != 0; };
    for (qsizetype i = plainBeginning.size(); i < uri.size(); ++i) {
        const bool isEscape = uri[i] == '%' && isHexAt(i + 1) && isHexAt(i + 2);
        if (!isEscape && !plainCharacters[static_cast<uchar>(uri[i])]) {
            return false;
        }
    }
    return true;
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
    return LocalPath::fromBytes(localPathBytes(uri));
}

QByteArray localPathBytes(const QByteArray& uri)
{
    if (!isPlainURI(uri)) {
        return LocalPath::toBytes(localPath(QUrl::fromEncoded(uri)));
    }
    const QByteArrayView path = QByteArrayView(uri).sliced(plainBeginning.size());
    return QByteArray::fromPercentEncoding(QByteArray::fromRawData(path.data(), path.size()));
}

QString fileURI(const QString& path)
{
    return u"file://"_s + QString::fromLatin1(LocalPath::toBytes(path).toPercentEncoding("/!$&'()*+,:=@"));
}
