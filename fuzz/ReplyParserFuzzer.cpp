#include "ReplyParser.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace {

std::vector<std::pair<int, QByteArray>> parse(QByteArrayView bytes, qsizetype pieceSize)
{
    ReplyParser parser;
    std::vector<std::pair<int, QByteArray>> replies;
    for (qsizetype at = 0; at < bytes.size(); at += pieceSize) {
        parser.append(bytes.sliced(at, std::min(pieceSize, bytes.size() - at)));
        while (const std::optional<Reply> reply = parser.next()) {
            if (reply->code < 100 || reply->code > 599) {
                std::abort();
            }
            replies.emplace_back(reply->code, reply->text);
        }
    }
    return replies;
}

} // namespace

/// Whole or in pieces, the same bytes are the same replies.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    if (size < 1) {
        return 0;
    }
    const QByteArrayView bytes(data + 1, static_cast<qsizetype>(size - 1));
    if (parse(bytes, std::max<qsizetype>(bytes.size(), 1)) != parse(bytes, 1 + data[0] % 16)) {
        std::abort();
    }
    return 0;
}
