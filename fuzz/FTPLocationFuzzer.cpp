#include "FTPLocation.h"

#include <cstdlib>

/// A location has a host and a port, and its item's name holds no "/".
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    for (const QString& candidate : { text, QStringLiteral("ftp://") + text }) {
        if (const std::optional<FTPLocation> location = FTPLocation::fromText(candidate)) {
            if (location->host.isEmpty() || location->port == 0 || location->name().contains('/')) {
                std::abort();
            }
        }
    }
    return 0;
}
