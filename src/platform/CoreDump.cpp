#include "CoreDump.h"

#include <fstream>

void keepMemoryOutOfCoreDumps()
{
    // Not by a limit, which does not count for dumps that a program receives; nor by making the process undumpable, for
    // then desktop services cannot look up in /proc who calls them.
    std::ofstream("/proc/self/coredump_filter") << 0;
}
