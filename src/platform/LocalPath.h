#pragma once

#include <QByteArray>
#include <QString>

/// Paths of local files are bytes to the system and texts to people. Bytes that are not UTF-8 stand in the text as
/// halves of surrogate pairs, U+DC80 for the byte 0x80 to U+DCFF for 0xFF, so that every path that comes from the
/// system goes back to it unchanged.
namespace LocalPath {

/// The text of a path, or of a part of one, that consists of @p bytes.
QString fromBytes(const QByteArray& bytes);

/// The bytes that @p path stands for. Null when it is null or holds half a surrogate pair that stands for no byte.
QByteArray toBytes(const QString& path);

/// Whether @p character, half a surrogate pair without its other half, stands for a byte; byteOf() answers which.
constexpr bool isByte(char32_t character)
{
    return character >= 0xdc80 && character <= 0xdcff;
}
constexpr uchar byteOf(char32_t character)
{
    return static_cast<uchar>(character - 0xdc00);
}

} // namespace LocalPath
