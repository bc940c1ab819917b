#pragma once

/// Keeps the contents of this program's memory, and so what is secret in it, out of core dumps, from here on and for
/// good; a dump then holds the registers and the names of the mapped files. Programs that it starts inherit that.
void keepMemoryOutOfCoreDumps();
