#include "FTPManagerAnswers.h"

#include <algorithm>
#include <cstdlib>

/// The first byte says how long the pieces are in which a server's answers come. Judged as text they are as good as
/// their bytes: no line of them begins with 4 or 5.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    if (size < 1) {
        return 0;
    }
    const QByteArrayView bytes(data + 1, static_cast<qsizetype>(size - 1));
    const qsizetype pieceSize = 1 + data[0];
    QByteArray text;
    for (qsizetype at = 0; at < bytes.size(); at += pieceSize) {
        appendAnswer(text, bytes.sliced(at, std::min(pieceSize, bytes.size() - at)));
    }
    bool isGood = true;
    char before = '\n';
    for (const char byte : text) {
        isGood = isGood && !(before == '\n' && (byte == '4' || byte == '5'));
        before = byte;
    }
    if (areGoodAnswers(QString::fromUtf8(text)) != isGood) {
        std::abort();
    }
    return 0;
}
