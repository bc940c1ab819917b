#include "LocalPath.h"

#include <QStringDecoder>

#include <algorithm>

namespace {

constexpr char16_t zeroByte = 0xdc00; ///< What a byte that is not UTF-8 is added to.

/// How many bytes the character has in UTF-8 that begins with @p lead; 1 also for what begins none.
qsizetype lengthOfCharacter(uchar lead)
{
    if (lead < 0xc0) {
        return 1;
    }
    return lead < 0xe0 ? 2 : (lead < 0xf0 ? 3 : 4);
}

/// Unlike QString::fromUtf8(), which takes a byte order mark at the beginning away.
QString decoded(QByteArrayView bytes)
{
    return QStringDecoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom)(bytes);
}

} // namespace

QString LocalPath::fromBytes(const QByteArray& bytes)
{
    if (bytes.isNull()) {
        return {};
    }
    if (bytes.isValidUtf8()) {
        return decoded(bytes);
    }
    QString text;
    for (qsizetype i = 0; i < bytes.size();) {
        const auto lead = static_cast<uchar>(bytes[i]);
        const QByteArrayView character
            = QByteArrayView(bytes).sliced(i, std::min(lengthOfCharacter(lead), bytes.size() - i));
        if (character.isValidUtf8()) {
            text += decoded(character);
            i += character.size();
        } else {
            text += QChar(static_cast<char16_t>(zeroByte + lead));
            ++i;
        }
    }
    return text;
}

QByteArray LocalPath::toBytes(const QString& path)
{
    if (path.isNull() || path.isValidUtf16()) {
        return path.toUtf8();
    }
    QByteArray bytes;
    for (qsizetype i = 0; i < path.size(); ++i) {
        const QChar unit = path.at(i);
        if (!unit.isSurrogate()) {
            bytes += QStringView(&unit, 1).toUtf8();
        } else if (i + 1 < path.size() && unit.isHighSurrogate() && path.at(i + 1).isLowSurrogate()) {
            bytes += QStringView(path).sliced(i, 2).toUtf8();
            ++i;
        } else if (isByte(unit.unicode())) {
            bytes += static_cast<char>(byteOf(unit.unicode()));
        } else {
            return {};
        }
    }
    return bytes;
}
