#include "PassiveReply.h"

#include <cstdlib>

/// Ports are never 0, folders always absolute.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QByteArrayView text(data, static_cast<qsizetype>(size));
    const auto extended = portOfExtendedPassiveReply(text);
    const auto plain = portOfPassiveReply(text);
    const auto folder = folderOfReply(text);
    if ((extended && *extended == 0) || (plain && *plain == 0) || (folder && !folder->startsWith('/'))) {
        std::abort();
    }
    return 0;
}
