#include "ReplyParser.h"

#include <algorithm>
#include <cstdlib>
#include <tuple>
#include <vector>

namespace {

using Parsed = std::tuple<int, QByteArray, QByteArray>;

std::vector<Parsed> parse(QByteArrayView bytes, qsizetype pieceSize)
{
    ReplyParser parser;
    std::vector<Parsed> replies;
    for (qsizetype at = 0; at < bytes.size(); at += pieceSize) {
        parser.append(bytes.sliced(at, std::min(pieceSize, bytes.size() - at)));
        while (const std::optional<Reply> reply = parser.next()) {
            const bool isCodeRight = reply->code >= 100 && reply->code <= 599;
            const QByteArray& earlier = reply->earlier;
            const bool areLines = earlier.isEmpty() || earlier.endsWith('\n');
            if (!isCodeRight || !areLines || earlier.size() > ReplyParser::earlierLimit) {
                std::abort();
            }
            replies.emplace_back(reply->code, reply->text, earlier);
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
