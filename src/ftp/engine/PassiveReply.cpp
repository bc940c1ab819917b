#include "PassiveReply.h"

#include "Reply.h"

#include <array>

namespace {

/// Reads a number of at most @p limit at @p at and moves @p at behind it; std::nullopt when there is none.
std::optional<int> readNumber(QByteArrayView text, qsizetype& at, int limit)
{
    const qsizetype start = at;
    int number = 0;
    while (at < text.size() && isReplyDigit(text[at])) {
        number = number * 10 + (text[at] - '0');
        if (number > limit) {
            return std::nullopt;
        }
        ++at;
    }
    return at > start ? std::optional(number) : std::nullopt;
}

/// Six numbers of a byte each with commas between, from @p at on; answers the port that the last two stand for.
std::optional<quint16> readSixNumbers(QByteArrayView text, qsizetype at)
{
    std::array<int, 6> numbers{};
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (i > 0 && (at >= text.size() || text[at++] != ',')) {
            return std::nullopt;
        }
        const std::optional<int> number = readNumber(text, at, 255);
        if (!number) {
            return std::nullopt;
        }
        numbers.at(i) = *number;
    }
    const int port = numbers[4] * 256 + numbers[5];
    return port > 0 ? std::optional(static_cast<quint16>(port)) : std::nullopt;
}

} // namespace

std::optional<quint16> portOfExtendedPassiveReply(QByteArrayView text)
{
    const qsizetype open = text.indexOf('(');
    if (open < 0 || open + 4 >= text.size()) {
        return std::nullopt;
    }
    const char delimiter = text[open + 1];
    if (text[open + 2] != delimiter || text[open + 3] != delimiter) {
        return std::nullopt;
    }
    qsizetype at = open + 4;
    const std::optional<int> port = readNumber(text, at, 65535);
    if (!port || *port == 0 || at >= text.size() || text[at] != delimiter) {
        return std::nullopt;
    }
    return static_cast<quint16>(*port);
}

std::optional<quint16> portOfPassiveReply(QByteArrayView text)
{
    for (qsizetype at = 0; at < text.size(); ++at) {
        const bool startsNumber = isReplyDigit(text[at]) && (at == 0 || !isReplyDigit(text[at - 1]));
        if (startsNumber) {
            if (const std::optional<quint16> port = readSixNumbers(text, at)) {
                return port;
            }
        }
    }
    return std::nullopt;
}

std::optional<QByteArray> folderOfReply(QByteArrayView text)
{
    if (!text.startsWith("\"/")) {
        return std::nullopt;
    }
    QByteArray folder;
    for (qsizetype at = 1; at < text.size(); ++at) {
        if (text[at] == '"') {
            if (at + 1 >= text.size() || text[at + 1] != '"') {
                return folder;
            }
            ++at;
        }
        folder.append(text[at]);
    }
    return std::nullopt;
}
