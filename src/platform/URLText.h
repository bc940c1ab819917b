#pragma once

#include <QByteArray>
#include <QString>

/// Locations as texts. They are never taken apart and put together again by QUrl, which would change the spelling of
/// the host. A null text stands for no location.
namespace URLText {

/// @p component at the end of the path of @p url, with a "/" between them unless there is one already. In the
/// component everything that has no place in a path is percent-escaped as UTF-8, "%" always; a "/" in it stays a
/// separator. Null when @p url is null or the component holds half a surrogate pair.
QString appendingPathComponent(const QString& url, const QString& component);

/// The same for a component of which only the bytes are known.
QString appendingPathComponent(const QString& url, const QByteArray& component);

/// @p text with everything percent-escaped that cannot stand in the path of a URL, "%", "?" and "#" among it; "/" and
/// ";" stay. Null when the text is null or holds half a surrogate pair.
QString addingPercentEscapes(const QString& text);

/// Whether @p text can be read as a URL as it stands: it is not empty, and it holds nothing but the characters of
/// URLs, complete percent escapes, and at most one "#".
bool isURLText(const QString& text);

/// Whether @p url has no authority, or one that can be read: brackets that are closed, and a port that is a number of
/// 16 bits (RFC 3986, section 3.2).
bool hasReadableAuthority(const QString& url);

/// The last component of the path of @p url, its escapes resolved as UTF-8. A "/" at the path's end does not count;
/// the component of the path "/" is "/". Empty when there is no path, null for null.
QString lastPathComponent(const QString& url);

/// @p url for people to read: its escapes resolved, unless one stands for a "/", for no UTF-8, or for what would act
/// unseen (VisibleText); then as it stands.
QString readable(const QString& url);

} // namespace URLText
